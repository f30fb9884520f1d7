// Have dictionaries the texts, identifiers and comments that a plain model has, after any calls?
// Two dictionaries are set, copied, written and loaded over each other.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "load.h"
#include "model.h"
#include "store_model.h"

namespace
{
using hollin::Dictionary;

const std::uint32_t kDomain = 1; // of the default dictionary
const std::size_t kCrowd = 100;  // keys of one bucket

// The second and third key are in one bucket. The last two are long.
const std::string kKeys[] = {"/a",
                             "/0bbbbbbbb",
                             "/1bbbbbbbb",
                             "/c",
                             "k",
                             "/a/",
                             std::string(kLongestMergedKey, 'm'),
                             std::string(kLongestMergedKey + 1, 'n')};

// A key of a crowded bucket: the files hash every second one of ten bytes.
std::string CrowdedKey(std::size_t number)
{
    std::string key = "a0b0c0d0e0";
    key[1] = static_cast<char>('0' + number % 10);
    key[3] = static_cast<char>('0' + number / 10);
    return key;
}

// A text in a literal or in a line, and as a look-up returns the text: in UTF-8, and in the active
// code page if that differs.
struct SourceText
{
    const char* mForm;
    Text mText;
    Text mActive = mText;
};
const SourceText kTexts[] = {{"b", u"b"},
                             {"#{eacute}", u"\xE9"},
                             {"^^1", u"^1"},
                             {"x=y", u"x=y"},
                             {"", u""},
                             {"two\\nlines", u"two\nlines"},
                             {"\\\"q\\\"", u"\"q\""},
                             {"wide text", u"wide text"},
                             {"\xC3\xA9", u"\xE9", u"\xC3\xA9"}};

const std::uint16_t* Units(const Text& text)
{
    return reinterpret_cast<const std::uint16_t*>(text.data());
}

std::uint32_t ByteLength(const Text& text)
{
    return static_cast<std::uint32_t>(2 * text.size());
}

Text TextOf(const hollin::ZString& text)
{
    return Text(text.Data(), text.Data() + text.Length());
}

void RequireText(const hollin::ZString& text, const Text& expected)
{
    Require(text.Length() == expected.size() &&
            std::equal(expected.begin(), expected.end(), text.Data()));
}

Text TakeText(Choices& choices)
{
    const std::size_t choice = choices.Below(2 * std::size(kTexts));
    if (choice < std::size(kTexts))
        return kTexts[choice].mText;
    return Text(choices.Below(8), static_cast<char16_t>('A' + choice));
}

// A dictionary and its model.
struct Pair
{
    std::size_t Size() const { return mFlat ? mFlat->Size() : mHash.size(); }

    // A line of a text.
    void SetText(const std::string& key, const Text& text)
    {
        if (mFlat)
            mFlat->Set(key, text, nullptr);
        else
            mHash[key] = text;
    }

    std::unique_ptr<Dictionary> mReal;
    std::map<std::string, Text> mHash; // before the store is flat
    std::shared_ptr<Store> mFlat;      // shared by copies
    std::string mLanguage;
    bool mIsGood = true;
};

Dictionary& Fallback()
{
    static Dictionary& sFallback = []() -> Dictionary& {
        Dictionary::ForDomain(kDomain) = Dictionary(true);
        Dictionary& made = Dictionary::SetDefaultDictionary(kDomain);
        made.SetString("/c", Units(u"default"), 14, Units(u"note"), 8); // of no other dictionary
        return made;
    }();
    return sFallback;
}
const Text kFallbackText = u"default"; // of "/c", with the identifier 0

class Dictionaries
{
public:
    explicit Dictionaries(bool mayTakeLong) : mEntriesLeft(mayTakeLong ? 3 * kCrowd : kCrowd / 2)
    {
        Fallback();
        for (Pair& pair : mPairs)
            Renew(pair, true);
    }

    void Make(Choices& choices) { Renew(Take(choices), choices.Flag()); }

    void Set(Choices& choices)
    {
        Pair& pair = Take(choices);
        TakeKey(choices);
        const Text text = TakeText(choices);
        const Text comment = TakeText(choices);
        const bool hasComment = choices.Flag();
        const bool adds = choices.Flag() && !pair.mReal->HasString(mLiteral.c_str());
        const auto set = adds ? &Dictionary::AddString : &Dictionary::SetString;
        const std::uint32_t id =
            (*pair.mReal.*set)(mLiteral.c_str(), Units(text), ByteLength(text),
                               hasComment ? Units(comment) : nullptr, ByteLength(comment));
        Require(id == (pair.mFlat ? pair.mFlat->Set(mKey, text, hasComment ? &comment : nullptr)
                                  : kNoId));
    }

    // Fills the first block of entries that are set at run time, in one bucket.
    void Fill(Choices& choices)
    {
        Pair& pair = Take(choices);
        if (choices.Byte() % 8 != 1 || !pair.mFlat || mEntriesLeft < kCrowd)
            return;
        mEntriesLeft -= kCrowd;
        for (std::size_t i = 0; pair.mFlat->Size() < kRunTimeBlock - 1 && i < kCrowd; ++i)
        {
            const std::string key = CrowdedKey(i);
            if (pair.mFlat->Find(key) == kNoId)
                Require(pair.mReal->AddString(key.c_str(), Units(u"m"), 2) ==
                        pair.mFlat->Add(key, u"m"));
        }
        for (std::size_t i = 0; i < kCrowd; i += 9)
            Require(pair.mReal->GetId(CrowdedKey(i).c_str()) == pair.mFlat->Find(CrowdedKey(i)));
    }

    void Refuse(Choices& choices)
    {
        static const std::vector<std::uint16_t> kTooLong(hollin::kLongestRun / 2 + 1, 'l');
        Pair& pair = Take(choices);
        Require(pair.mReal->SetString("/long", kTooLong.data(), hollin::kLongestRun + 1) == kNoId);
        Require(pair.mReal->SetString("$/a", kTooLong.data(), 2) == kNoId);
        Require(pair.mReal->GetString("$/a=b") == hollin::ZString());
    }

    void Remove(Choices& choices)
    {
        Pair& pair = Take(choices);
        TakeKey(choices);
        Require(pair.mReal->RemoveString(mLiteral.c_str()) ==
                (pair.mFlat ? pair.mFlat->Remove(mKey) : kNoId));
    }

    void SetLanguage(Choices& choices)
    {
        static const char* const kNames[] = {"de_DE", "en_US", "", nullptr};
        Pair& pair = Take(choices);
        const char* const name = choices.Of(kNames);
        pair.mReal->SetLanguage(name);
        if (pair.mFlat && name && *name)
            pair.mLanguage = name;
    }

    void Copy(Choices& choices)
    {
        Pair& from = Take(choices);
        Pair& to = Take(choices);
        if (choices.Flag())
        {
            Pair copy;
            copy.mReal = std::make_unique<Dictionary>(*from.mReal);
            copy.mFlat = from.mFlat;
            copy.mLanguage = from.mLanguage;
            to = std::move(copy);
            return;
        }
        *to.mReal = *from.mReal;
        if (!from.mFlat)
            return;
        to.mFlat = from.mFlat;
        to.mLanguage = from.mLanguage;
    }

    // Loads the image or the text form of one dictionary into one.
    void LoadImage(Choices& choices)
    {
        Pair& from = Take(choices);
        Pair& to = Take(choices);
        const std::size_t sort = choices.Byte() % 8;
        const bool isKeyed = sort % 4;
        const bool isText = sort == 7;
        const bool isHash = !from.mFlat;
        const std::size_t entries = from.Size() + to.Size();
        if (entries > mEntriesLeft)
            return;
        mEntriesLeft -= entries;
        const std::size_t bases[] = {0, 0, to.mFlat ? to.mFlat->Size() : 0, 1};
        const std::size_t base = choices.Of(bases);
        std::ostringstream written;
        Require(from.mReal->Serialize(written,
                                      isText    ? Dictionary::kText
                                      : isKeyed ? Dictionary::kBinary
                                                : Dictionary::kBinaryWithoutKeys,
                                      nullptr, choices.Flag(), static_cast<std::uint32_t>(base)));
        const Store file = *ContentOf(from);
        Load(to, written.str(), choices.Byte() % 4 == 3);
        for (std::size_t id = 0; isText && id < file.Size(); ++id)
        {
            if (file.At(id) && !file.At(id)->mKey.empty())
                to.SetText(file.At(id)->mKey, file.At(id)->mText);
        }
        if (isText)
            return;
        if (!to.mFlat)
            to.mFlat = std::make_shared<Store>();
        const bool hasKeys = isHash || (isKeyed && file.HasKeyedBlock());
        if (to.mFlat->Load(file, hasKeys, isHash ? 0 : base))
            to.mLanguage = from.mLanguage.empty() ? "en_US" : from.mLanguage;
        else
            to.mIsGood = false;
    }

    void LoadText(Choices& choices)
    {
        Pair& pair = Take(choices);
        std::string lines;
        for (std::size_t count = choices.Below(3) + 1; count; --count)
        {
            const std::size_t choice = choices.Below(std::size(kTexts) + 1);
            TakeKey(choices);
            if (choice == std::size(kTexts))
            {
                lines += "$/damaged=b\n";
                pair.mIsGood = false;
                continue;
            }
            lines += "x\"$$$" + mKey + "=" + kTexts[choice].mForm + "\" y\r\n";
            pair.SetText(mKey, kTexts[choice].mActive);
        }
        Load(pair, lines, choices.Byte() % 4 == 3);
    }

    // The entry of the last key, and that of an identifier.
    void Look(Choices& choices)
    {
        TakeKey(choices);
        mId = static_cast<std::uint32_t>(choices.Below(8));
    }

    // Of the dictionary that was last used.
    void Check()
    {
        CheckKey(*mUsed);
        CheckId(*mUsed, mId);
        Require(mUsed->mReal->IsGood() == mUsed->mIsGood);
    }

    void CheckAll()
    {
        for (Pair& pair : mPairs)
        {
            for (const std::string& key : kKeys)
                Require(pair.mReal->HasString(key.c_str()) == (FindIn(pair, key) != nullptr));
            for (std::uint32_t id = 0; pair.mFlat && id <= pair.mFlat->Size(); ++id)
                RequireText(pair.mReal->GetCommentById(id), pair.mFlat->CommentOf(id));
            ContentOf(pair);
            RequireText(pair.mReal->GetLanguage(),
                        Text(pair.mLanguage.begin(), pair.mLanguage.end()));
        }
    }

private:
    static void Renew(Pair& pair, bool isFlat)
    {
        pair = Pair();
        pair.mReal = std::make_unique<Dictionary>(isFlat);
        if (isFlat)
            pair.mFlat = std::make_shared<Store>();
    }

    Pair& Take(Choices& choices)
    {
        mUsed = &mPairs[choices.Below(std::size(mPairs))];
        return *mUsed;
    }

    void TakeKey(Choices& choices)
    {
        const std::size_t key = choices.Below(64);
        mKey = kKeys[key % (std::size(kKeys) - 2)];
        if (key >= 40)
            mKey = CrowdedKey(key - 40);
        if (key >= 56 && choices.MayTakeLong())
            mKey = kKeys[std::size(kKeys) - 2 + key % 2];
        const std::size_t form = choices.Below(2 + std::size(kTexts));
        mDefault = &kTexts[form < 2 ? 4 : form - 2];
        mLiteral = (form % 2 ? "$$$" : "") + mKey + (form < 2 ? "" : "=") + mDefault->mForm;
        mChecked = "$$$" + mKey + "=" + mDefault->mForm;
    }

    static void Load(Pair& pair, const std::string& bytes, bool fromStream)
    {
        if (fromStream)
        {
            std::istringstream stream(bytes);
            pair.mReal->LoadFromStream(stream);
            return;
        }
        pair.mReal->LoadFromMemory(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                   static_cast<std::int32_t>(bytes.size()), true);
    }

    // Walks the dictionary. Returns the flat store that its image has.
    static std::shared_ptr<const Store> ContentOf(Pair& pair)
    {
        const auto walked = std::make_shared<Store>();
        std::uint32_t id = 0;
        std::size_t next = 0;
        pair.mReal->ResetIterator();
        while (pair.mReal->NextId(&id))
        {
            const std::string key = CurrentKey(*pair.mReal);
            const Text text = TextOf(pair.mReal->CurrentText());
            if (!pair.mFlat)
            {
                const auto found = pair.mHash.find(key);
                Require(found != pair.mHash.end() && found->second == text && id == next++);
                walked->Set(key, text, nullptr);
                continue;
            }
            for (; next != id; ++next) // the first slot is walked even if it was removed
                Require(next && !pair.mFlat->At(next));
            const Store::Slot* const slot = pair.mFlat->At(next++);
            Require(slot ? slot->mKey == key && slot->mText == text : key.empty() && text.empty());
        }
        Require(pair.mFlat || walked->Size() == pair.mHash.size());
        for (; pair.mFlat && next < pair.mFlat->Size(); ++next)
            Require(!pair.mFlat->At(next));
        return pair.mFlat ? pair.mFlat : walked;
    }

    static const Text* FindIn(const Pair& pair, const std::string& key)
    {
        if (pair.mFlat)
        {
            const Store::Slot* const slot = pair.mFlat->At(pair.mFlat->Find(key));
            return slot ? &slot->mText : nullptr;
        }
        const auto found = pair.mHash.find(key);
        return found == pair.mHash.end() ? nullptr : &found->second;
    }

    void CheckKey(const Pair& pair) const
    {
        const char* const literal = mChecked.c_str();
        const Dictionary& real = *pair.mReal;
        const Text* const own = FindIn(pair, mKey);
        const std::uint32_t id = own && pair.mFlat ? pair.mFlat->Find(mKey) : kNoId;
        const Text* const known = own || mKey != "/c" ? own : &kFallbackText;
        RequireText(real.GetString(literal), known ? *known : mDefault->mActive);
        RequireText(real.GetString(literal, &hollin::kEncodingUTF8),
                    known ? *known : mDefault->mText);
        Require(real.HasString(literal) == (own != nullptr));
        Require(real.GetId(literal) == id);
        RequireText(real.GetComment(literal), id == kNoId ? Text() : pair.mFlat->CommentOf(id));
        RequireRaw(own, [&](const std::uint16_t** units, std::uint32_t* length) {
            return real.GetRawString(literal, units, length);
        });
    }

    static void CheckId(const Pair& pair, std::uint32_t id)
    {
        const Dictionary& real = *pair.mReal;
        const Store::Slot* const slot = pair.mFlat ? pair.mFlat->At(id) : nullptr;
        const Text* const own = slot ? &slot->mText : nullptr;
        RequireText(real.GetStringById(id), own ? *own : id ? Text() : kFallbackText);
        RequireText(real.GetCommentById(id), pair.mFlat ? pair.mFlat->CommentOf(id) : Text());
        RequireRaw(own, [&](const std::uint16_t** units, std::uint32_t* length) {
            return real.GetRawStringById(id, units, length);
        });
    }

    template <typename Find> static void RequireRaw(const Text* text, const Find& find)
    {
        const std::uint16_t* units = nullptr;
        std::uint32_t length = 0;
        Require(find(&units, &length) == (text != nullptr));
        Require((units != nullptr) == (text != nullptr));
        Require(length == (text ? text->size() : 0) &&
                (!text || std::equal(text->begin(), text->end(), units)));
    }

    Pair mPairs[2];
    Pair* mUsed = mPairs;
    std::size_t mEntriesLeft; // of fills and loads, since loads over itself double a store
    std::string mKey = kKeys[0];
    const SourceText* mDefault = &kTexts[0];
    std::string mLiteral;
    std::string mChecked = "$$$/a=b"; // with a default text
    std::uint32_t mId = 0;
};

void (Dictionaries::*const kCalls[])(Choices&) = {
    &Dictionaries::Set,      &Dictionaries::Set,  &Dictionaries::Remove, &Dictionaries::LoadImage,
    &Dictionaries::LoadText, &Dictionaries::Copy, &Dictionaries::Look,   &Dictionaries::SetLanguage,
    &Dictionaries::Make,     &Dictionaries::Fill, &Dictionaries::Refuse};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices choices(data, size);
    Dictionaries dictionaries(choices.MayTakeLong());
    RunCalls(choices, dictionaries, kCalls);
    dictionaries.CheckAll();
    return 0;
}
