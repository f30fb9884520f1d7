// Have ZStrings the texts that a plain model has, after any images and choices of a language, in
// three code pages?

#include <list>
#include <map>
#include <string>

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
        Renew();
    }

    ~Language() { Renew(); }

    // Loads version 2.7 of either byte order, 1.0, 1.5, a text in UTF-16 or in the active code
    // page.
    void Load(Choices& choices)
    {
        const std::size_t sort = choices.Below(6);
        const bool isText = sort >= 4;
        const bool isDamaged = choices.Below(8) == 7 && !isText;
        ImageForm image;
        image.mLayout = sort < 2    ? ImageForm::kFlat
                        : sort == 2 ? ImageForm::kEntries
                                    : ImageForm::kLengthTable;
        image.mBigEndian = sort == 1;
        image.mSlots.push_back({"/other", "", "", false});
        Text lines = Wide("$/damaged=b\r\n");
        mIsFlat = mIsFlat || (sort < 2 && !isDamaged);
        for (const char* const key : kKeys)
        {
            const std::size_t choice = choices.Below(2 * std::size(kForms));
            if (choice >= std::size(kForms) - (sort == 5))
                continue;
            const Form& form = kForms[choice];
            image.mSlots.push_back({key, Bytes(form.mForm, sort == 1), "", false});
            const Text line = Wide("\"$$$" + std::string(key) + "=") + Units(form.mForm);
            lines += line + Wide("\"\r\n");
            Text text = Units(isText ? form.mOfText : form.mOfBinary);
            if (sort == 5 && choice == 3)
                text[0] = mPage.Decode(mPage.Encode(text.substr(0, 1)).mBytes)[0];
            if (!isDamaged)
                mStores[isText ? mIsFlat : sort < 2][key] = text;
        }
        for (std::uint32_t slot = 0; slot < image.mSlots.size(); ++slot)
            image.AddToBucket(slot);
        const std::u16string units(lines.begin(), lines.end());
        mImages.push_back(sort < 4    ? WriteForm(image).Image()
                          : sort == 4 ? Bytes(u"\xFEFF" + units)
                                      : mPage.Encode(lines).mBytes);
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

    void Check()
    {
        CheckTexts();
        for (const char* const key : kKeys)
        {
            const std::string zstring = ZString(key);
            const std::string text = mPage.Encode(Resolved(key, false)).mBytes;
            char out[64] = "old";
            Require(U_ZStringToMBString(zstring.c_str()) == text);
            Require(U_ZStringToMBRaw(zstring.c_str(), sizeof out, out) == 0 && out == text);
            Require(U_ZStringToEnglishMBString(zstring.c_str()) ==
                    mPage.Encode(Resolved(key, true)).mBytes);
        }
        Require(U_ZLocaleAlive() == mIsChosen);
    }

    void CheckTexts() const
    {
        for (const char* const key : kKeys)
        {
            const std::string zstring = ZString(key);
            Require(U_ZStringToUTF16String(zstring.c_str()) == Resolved(key, false));
            Require(U_ZStringToEnglishUTF16String(zstring.c_str()) == Resolved(key, true));
        }
    }

private:
    static void Renew() { Require(U_ZLocaleDeath() == 0 && U_ZLocaleBirth() == 0); }

    std::string ZString(const std::string& key) const
    {
        return "$$$" + key + "=" + BytesOf(Units(mForm->mForm));
    }

    // Version 2 hides the texts of all other forms.
    Text Resolved(const std::string& key, bool isEnglish) const
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
    std::map<std::string, Text> mStores[2]; // of version 2, and of the other forms before
    bool mIsFlat = false;
    bool mIsChosen = false;
    bool mIsEnglish = false;
    const Form* mForm = kForms;
    std::list<std::string> mImages; // each too long for the place in the string
};

void (Language::*const kCalls[])(Choices&) = {&Language::Load, &Language::SetEnglish,
                                              &Language::TakeForm};
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    BeBorn();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Page sPages[] = {Page(1252), Page(932), Page(65001)};
    static SecondThread sSecond;
    Choices choices(data, size);
    const std::size_t page = choices.Below(std::size(sPages));
    platform::SetActiveCodePage(kPages[page]);
    Language language(sPages[page], choices.Flag());
    RunCalls(choices, language, kCalls);
    const auto check = [&] { language.CheckTexts(); };
    sSecond.RunBoth(check, check);
    return 0;
}
