// Have ZStrings the texts that a plain model has, after any images and choices of a language, in
// three code pages?

#include <array>
#include <list>
#include <map>
#include <string>
#include <tuple>

#include <platform/control.h>

#include "U_ZString.h"
#include "image_form.h"
#include "library.h"
#include "model.h"
#include "page_model.h"
#include "second_thread.h"

namespace
{
const char* const kKeys[] = {"/a", "/b", "/c"};

// A text in an image or a literal, and as a look-up returns it: from a binary image, and from a
// text or a literal.
struct Form
{
    std::u16string mForm;
    std::u16string mOfBinary;
    std::u16string mOfText;
};
const std::u16string kMarked = u"one{{*MSWindows*}}two{{*COMMENT*}}note";
const Form kForms[] = {{u"b", u"b", u"b"},
                       {u"^^1\\n", u"^^1\\n", u"^1\n"},
                       {u"", u"", u""},
                       {u"\u3042#{eacute}", u"\u3042#{eacute}", u"\u3042\xE9"},
                       {u"x#{U+2206}", u"x#{U+2206}", u"x\u2206"},
                       {kMarked, u"two", u"two"},
                       {u"\u2206", u"\u2206", u"\u2206"}}; // not in text of a code page

typedef std::array<std::size_t, std::size(kKeys)> Forms; // of each key, too high for none

Text Units(const std::u16string& text)
{
    return Text(text.begin(), text.end());
}

std::string Bytes(const std::u16string& text, bool isBigEndian = false)
{
    std::string bytes;
    for (const char16_t unit : text)
    {
        bytes += static_cast<char>(isBigEndian ? unit >> 8 : unit);
        bytes += static_cast<char>(isBigEndian ? unit : unit >> 8);
    }
    return bytes;
}

class Language
{
public:
    Language(const Page& page, bool isDoubleByte) : mPage(page), mIsDoubleByte(isDoubleByte)
    {
        platform::SetDoubleByteScript(isDoubleByte);
        Require(U_ZLocaleBirth() == 0);
    }

    ~Language() { Require(U_ZLocaleDeath() == 0); }

    // Loads version 2.7 of either byte order, 1.0, 1.5, a text in UTF-16 or in the active code
    // page.
    void Load(Choices& choices)
    {
        const std::size_t sort = choices.Below(6);
        const bool isText = sort >= 4;
        const bool isDamaged = choices.Below(8) == 7 && !isText;
        mIsFlat = mIsFlat || (sort < 2 && !isDamaged);
        Forms forms;
        for (std::size_t key = 0; key < std::size(kKeys); ++key)
        {
            const std::size_t choice = choices.Below(2 * std::size(kForms));
            forms[key] = std::min(choice, std::size(kForms) - (sort == 5));
            if (isDamaged || choice >= std::size(kForms) - (sort == 5))
                continue;
            const Form& form = kForms[choice];
            Text text = Units(isText ? form.mOfText : form.mOfBinary);
            if (sort == 5 && choice == 3)
                text[0] = mPage.Decode(mPage.Encode(text.substr(0, 1)).mBytes)[0];
            mStores[isText ? mIsFlat : sort < 2][key] = text;
        }
        mImages.push_back(ImageOf(sort, forms));
        std::string& bytes = mImages.back(); // until the death of the locale
        if (isDamaged)
            bytes.resize(30); // no entry is left
        Require(U_ZStringSetCurrentDictionary(reinterpret_cast<U_u16*>(&bytes[0]), bytes.size()) ==
                0);
        mIsChosen = true;
    }

    void SetEnglish(Choices& choices)
    {
        if (choices.Below(4) != 3)
            return;
        Require(U_ZStringSetEnglish() == 0);
        mIsEnglish = mIsChosen = true;
    }

    void TakeForm(Choices& choices) { mForm = &choices.Of(kForms); }

    // Compares one result. The results of all keys are compared at the end of an input.
    void Check()
    {
        CheckResult(mChecks % kResults, mChecks % std::size(kKeys));
        ++mChecks;
        Require(U_ZLocaleAlive() == mIsChosen);
    }

    void CheckAll(std::size_t results) const
    {
        for (std::size_t i = 0; i < results * std::size(kKeys); ++i)
            CheckResult(i / std::size(kKeys), i % std::size(kKeys));
    }

    static const std::size_t kResults = 5;

private:
    // The bytes of an image with a form, or none, for each key. Each image is written once.
    const std::string& ImageOf(std::size_t sort, const Forms& forms) const
    {
        static std::map<std::tuple<std::size_t, Forms, const Page*>, std::string> sKnown;
        std::string& known = sKnown[{sort, forms, sort == 5 ? &mPage : nullptr}];
        if (!known.empty())
            return known;
        ImageForm image;
        image.mLayout = sort < 2    ? ImageForm::kFlat
                        : sort == 2 ? ImageForm::kEntries
                                    : ImageForm::kLengthTable;
        image.mBigEndian = sort == 1;
        image.mSlots.push_back({"/other", "", "", false});
        Text lines = Wide("$/damaged=b\r\n");
        for (std::size_t key = 0; key < std::size(kKeys); ++key)
        {
            if (forms[key] >= std::size(kForms) - (sort == 5))
                continue;
            const std::u16string& form = kForms[forms[key]].mForm;
            image.mSlots.push_back({kKeys[key], Bytes(form, sort == 1), "", false});
            const Text line = Wide("\"$$$" + std::string(kKeys[key]) + "=") + Units(form);
            lines += line + Wide("\"\r\n");
        }
        for (std::uint32_t slot = 0; slot < image.mSlots.size(); ++slot)
            image.AddToBucket(slot);
        const std::u16string units(lines.begin(), lines.end());
        return known = sort < 4    ? WriteForm(image).Image()
                       : sort == 4 ? Bytes(u"\xFEFF" + units)
                                   : mPage.Encode(lines).mBytes;
    }

    // The bytes of one of the few texts in the code page.
    const std::string& Encoded(const Text& text) const
    {
        static std::map<std::pair<const Page*, Text>, std::string> sKnown;
        const auto known = sKnown.try_emplace({&mPage, text});
        if (known.second)
            known.first->second = mPage.Encode(text).mBytes;
        return known.first->second;
    }

    void CheckResult(std::size_t result, std::size_t key) const
    {
        const std::string literal = ZString(key);
        const char* const zstring = literal.c_str();
        const Text text = Resolved(key, result == 1 || result == 4);
        char out[64] = "old";
        switch (result)
        {
        case 0:
            return Require(U_ZStringToUTF16String(zstring) == text);
        case 1:
            return Require(U_ZStringToEnglishUTF16String(zstring) == text);
        case 2:
            return Require(U_ZStringToMBString(zstring) == Encoded(text));
        case 3:
            return Require(U_ZStringToMBRaw(zstring, sizeof out, out) == 0 && out == Encoded(text));
        default:
            return Require(U_ZStringToEnglishMBString(zstring) == Encoded(text));
        }
    }

    std::string ZString(std::size_t key) const
    {
        return "$$$" + std::string(kKeys[key]) + "=" + BytesOf(Units(mForm->mForm));
    }

    // Version 2 hides the texts of all other forms.
    Text Resolved(std::size_t key, bool isEnglish) const
    {
        const auto found = mStores[mIsFlat].find(key);
        Text text = Units(mForm->mOfText);
        if (!isEnglish && !mIsEnglish && found != mStores[mIsFlat].end())
            text = found->second;
        if (mIsDoubleByte && (!mIsChosen || mIsEnglish))
            std::replace(text.begin(), text.end(), U_u16(0x2206), U_u16(0x394));
        return text;
    }

    const Page& mPage;
    const bool mIsDoubleByte;
    std::map<std::size_t, Text> mStores[2]; // of version 2, and of the other forms before
    bool mIsFlat = false;
    bool mIsChosen = false;
    bool mIsEnglish = false;
    const Form* mForm = kForms;
    std::size_t mChecks = 0;
    std::list<std::string> mImages; // each too long for the place in the string
};

void (Language::*const kCalls[])(Choices&) = {&Language::Load, &Language::SetEnglish,
                                              &Language::TakeForm};
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    BeBorn();
    Require(U_ZLocaleDeath() == 0); // each input has a locale of its own
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Page sPages[] = {Page(1252), Page(932), Page(65001)};
    static SecondThread sSecond;
    Choices choices(data, size);
    const std::size_t first = choices.Below(8 * std::size(sPages));
    const std::size_t page = first % std::size(sPages);
    const bool isShared = first < std::size(sPages); // an eighth, since a change of threads is slow
    platform::SetActiveCodePage(kPages[page]);
    Language language(sPages[page], choices.Flag());
    RunCalls(choices, language, kCalls);
    const auto check = [&] { language.CheckAll(2); }; // the model of bytes is of one thread
    if (isShared)
        sSecond.RunBoth(check, check);
    language.CheckAll(Language::kResults);
    return 0;
}
