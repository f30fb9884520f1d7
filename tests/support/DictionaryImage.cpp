#include "tests/support/DictionaryImage.h"

#include <algorithm>

namespace
{
std::string UnitBytes(const std::u16string& text, bool bigEndian)
{
    return ImageBuilder(bigEndian).Units(text).Image();
}

ImageBuilder BuildLegacy(const std::vector<ImageEntry>& entries, ImageForm::Layout layout,
                         std::uint8_t textFlag)
{
    ImageForm form;
    form.mLayout = layout;
    form.mTextFlag = textFlag;
    for (const ImageEntry& entry : entries)
    {
        const std::string value = textFlag ? std::string(entry.value.begin(), entry.value.end())
                                           : UnitBytes(entry.value, false);
        form.mSlots.push_back({entry.key, value, {}, false});
        form.AddToBucket(static_cast<std::uint32_t>(form.mSlots.size() - 1));
    }
    return WriteForm(form);
}
} // namespace

ImageBuilder BuildFlat(const std::vector<ImageEntry>& entries, ImageForm options)
{
    for (const ImageEntry& entry : entries)
    {
        options.mSlots.push_back({entry.key, UnitBytes(entry.value, options.mBigEndian),
                                  UnitBytes(entry.comment, options.mBigEndian),
                                  !entry.comment.empty()});
        if (!entry.key.empty())
            options.AddToBucket(static_cast<std::uint32_t>(options.mSlots.size() - 1));
    }
    return WriteForm(options);
}

ImageBuilder BuildEntries(const std::vector<ImageEntry>& entries, std::uint8_t textFlag)
{
    return BuildLegacy(entries, ImageForm::kEntries, textFlag);
}

ImageBuilder BuildLengthTable(const std::vector<ImageEntry>& entries, std::uint8_t textFlag)
{
    return BuildLegacy(entries, ImageForm::kLengthTable, textFlag);
}

std::string TextBytes(const std::u16string& text, bool bigEndian)
{
    return UnitBytes(u"\xFEFF" + text, bigEndian);
}

DictionaryImage::DictionaryImage(const std::string& image)
    : units((image.size() + 1) / 2), size(image.size())
{
    std::copy(image.begin(), image.end(), reinterpret_cast<char*>(units.data()));
}

DictionaryImage BinaryImage(const std::vector<ImageEntry>& entries)
{
    return DictionaryImage(BuildFlat(entries, {7, false, "de_DE"}).Image());
}

DictionaryImage TextImage(const std::u16string& lines)
{
    return DictionaryImage(TextBytes(lines));
}
