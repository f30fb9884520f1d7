#include "exchange/catalogue.h"

#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <hollin/Dictionary.h>
#include <hollin/Markers.h>

#include "exchange/exchange_text.h"
#include "images/text_output.h"
#include "messages.h"

const std::string kEmptyTranslation(hollin::kCommentMarker);

namespace
{
const std::size_t kLongestText = hollin::kLongestRun / 2;

hollin::ZString FromUTF8(const std::string& text)
{
    return hollin::ZString(text.data(), static_cast<std::uint32_t>(text.size()),
                           &hollin::kEncodingUTF8);
}

// Catalogues have no NULs, and a note is no text of the application.
std::string WithoutNul(std::string text)
{
    for (std::size_t at = 0; (at = text.find('\0', at)) != std::string::npos;)
        text.replace(at, 1, "\uFFFD");
    return text;
}

// The comment of an image's entry is a note, too.
NotedText Split(const Entry& entry)
{
    NotedText split = SplitNote(entry.mText);
    if (split.mNote.IsEmpty() && entry.mComment.Length())
        split.mNote = ParseNote(ToUTF8(entry.mComment));
    for (std::string* const lines : {&split.mNote.mExtracted, &split.mNote.mTranslator})
        *lines = WithoutNul(std::move(*lines));
    for (std::string& reference : split.mNote.mReferences)
        reference = WithoutNul(std::move(reference));
    return split;
}

// Throws: Failure.
void RequireKeys(const Entries& entries, const std::string& file)
{
    std::size_t faults = 0;
    for (const Entry& entry : entries)
    {
        const char* const problem = KeyProblem(entry.mKey);
        if (problem)
            Report(file, "the key " + Quoted(entry.mKey) + " " + problem);
        faults += problem != nullptr;
    }
    if (faults)
        throw Failure{kFaulty, file, std::string()};
}

std::string TranslationOf(const hollin::ZString& text)
{
    const std::string translation = ToExchange(text);
    return translation.empty() ? kEmptyTranslation : translation;
}

// Adds the source code's part of a note to the translation's.
void AddSourceNote(const Note& english, Note* note)
{
    if (!english.mReferences.empty())
        note->mReferences = english.mReferences;
    // A remark in the text of the source code is for translators.
    const char* const between =
        english.mExtracted.empty() || english.mTranslator.empty() ? "" : "\n";
    const std::string extracted = english.mExtracted + between + english.mTranslator;
    if (!extracted.empty())
        note->mExtracted = extracted;
    for (const std::string& flag : english.mFlags)
    {
        if (flag != kFuzzyFlag && flag != kObsoleteFlag)
            note->SetFlag(flag, true);
    }
}

CatalogueEntry MakeEntry(const Entry& english, const Entry* translation)
{
    const NotedText source = Split(english);
    CatalogueEntry entry;
    entry.mKey = english.mKey;
    entry.mEnglish = ToExchange(source.mText);
    if (translation)
    {
        NotedText target = Split(*translation);
        entry.mTranslation = TranslationOf(target.mText);
        entry.mNote = std::move(target.mNote);
    }
    entry.mNote.SetFlag(kObsoleteFlag, false);
    if (entry.mNote.mOldEnglish == ToUTF8(source.mText))
        entry.mNote.mOldEnglish.reset();
    if (entry.mNote.mOldEnglish)
    {
        entry.mNote.SetFlag(kFuzzyFlag, true);
        entry.mNote.mOldEnglish = ToExchange(FromUTF8(*entry.mNote.mOldEnglish));
    }
    AddSourceNote(source.mNote, &entry.mNote);
    return entry;
}

CatalogueEntry MakeObsolete(const Entry& translation)
{
    NotedText target = Split(translation);
    CatalogueEntry entry;
    entry.mKey = translation.mKey;
    entry.mTranslation = TranslationOf(target.mText);
    entry.mNote = std::move(target.mNote);
    entry.mNote.SetFlag(kObsoleteFlag, true);
    entry.mEnglish = ToExchange(FromUTF8(entry.mNote.mOldEnglish.value_or(std::string())));
    entry.mNote.mOldEnglish.reset();
    return entry;
}

// Collects the translations of one catalogue as texts.
class Taker
{
public:
    Taker(const std::string& file, const Entries& english, const TakeOptions& options)
        : mFile(file), mOptions(options), mHasEnglish(!english.empty())
    {
        for (const Entry& entry : english)
        {
            mKeys.insert(entry.mKey);
            mKeysByText[ToExchange(SplitNote(entry.mText).mText)].push_back(entry.mKey);
        }
    }

    void Add(const CatalogueEntry& entry)
    {
        const std::string key = entry.mKey.empty() ? ReferredKey(entry) : entry.mKey;
        if (key.empty())
            mKeyless[entry.mEnglish].mEntries += !entry.mNote.HasFlag(kObsoleteFlag);
        else if (IsWanted(entry))
            Add(entry, key);
    }

    // Adds an entry without a key, after all entries were counted by Add.
    void AddKeyless(const CatalogueEntry& entry)
    {
        if (!entry.mKey.empty() || !ReferredKey(entry).empty())
            return;
        Keyless& same = mKeyless[entry.mEnglish];
        const bool isObsolete = entry.mNote.HasFlag(kObsoleteFlag);
        const std::size_t index = isObsolete ? 0 : same.mTaken++;
        if (!IsWanted(entry))
            return;
        const std::vector<std::string> keys = KeysOf(entry);
        if (isObsolete)
        {
            for (const std::string& key : keys)
                Add(entry, key);
            return;
        }
        if (keys.size() > 1 && same.mEntries == keys.size())
            return Add(entry, keys[index]);
        if (same.mIsSpread && entry.mTranslation == same.mTranslation)
            return;
        if (same.mIsSpread)
            return Fail(entry, "the keys of " + Quoted(entry.mEnglish) +
                                   " have another translation already, and " +
                                   Counted(keys.size(), "key") + " don't fit " +
                                   std::to_string(same.mEntries) + " entries");
        same.mIsSpread = true;
        same.mTranslation = entry.mTranslation;
        for (const std::string& key : keys)
            Add(entry, key);
    }

    // Throws: Failure.
    Entries Finish()
    {
        if (mFaults)
            throw Failure{kFaulty, mFile, "nothing is imported, " + Counted(mFaults, "fault")};
        ReportCount(mFuzzy, "fuzzy translation", "--fuzzy");
        ReportCount(mObsolete, "obsolete translation", "--obsolete");
        return std::move(mEntries);
    }

private:
    bool IsWanted(const CatalogueEntry& entry)
    {
        if (entry.mTranslation.empty())
            return false;
        if (entry.mNote.HasFlag(kObsoleteFlag) && !mOptions.mObsolete)
            ++mObsolete;
        else if (entry.mNote.IsFuzzy() && !mOptions.mFuzzy)
            ++mFuzzy;
        else
            return true;
        return false;
    }

    // The entries without a key of one English text.
    struct Keyless
    {
        std::size_t mEntries = 0;
        std::size_t mTaken = 0;
        bool mIsSpread = false;   // over all keys
        std::string mTranslation; // which is spread
    };

    // Returns the key that is one of the references, or an empty text.
    std::string ReferredKey(const CatalogueEntry& entry) const
    {
        for (const std::string& reference : entry.mNote.mReferences)
        {
            if (mKeys.count(reference))
                return reference;
        }
        return std::string();
    }

    std::vector<std::string> KeysOf(const CatalogueEntry& entry)
    {
        const auto keys = mKeysByText.find(entry.mEnglish);
        if (keys != mKeysByText.end())
            return keys->second;
        Fail(entry, mHasEnglish
                        ? "the key is missing, and no English text is " + Quoted(entry.mEnglish)
                        : "the key is missing (see --english)");
        return {};
    }

    void Add(const CatalogueEntry& entry, const std::string& key)
    {
        const char* const keyProblem = KeyProblem(key);
        if (keyProblem)
            return Fail(entry, "the key " + Quoted(key) + " " + keyProblem);
        const auto [earlier, isNew] = mPlaces.emplace(key, entry.mPlace);
        if (!isNew && entry.mNote.HasFlag(kObsoleteFlag))
            return;
        if (!isNew)
            return Fail(entry, "the key " + Quoted(key) + " has a translation already, at " +
                                   At(mFile, earlier->second));

        hollin::ZString text;
        const bool isEmpty = entry.mTranslation == kEmptyTranslation;
        if (!isEmpty && !FromExchange(entry.mTranslation, &text))
            return Fail(entry, "two halves of a surrogate pair follow each other");
        if (HasNote(text))
            return Fail(entry, "the translation holds " + kEmptyTranslation);
        const bool isLong = text.Length() > kLongestText;
        if (mOptions.mNotes)
            text = JoinNote(text, NoteOf(entry));
        if (text.Length() > kLongestText)
            return Fail(entry, (isLong ? "the translation is longer than "
                                       : "the translation and its note are longer than ") +
                                   Counted(kLongestText, "character") +
                                   (isLong ? "" : " (see --no-notes)"));
        mEntries.push_back({key, text, hollin::ZString()});
    }

    // The text names the English text that it was made of.
    static Note NoteOf(const CatalogueEntry& entry)
    {
        Note note = entry.mNote;
        const bool isKnown = !entry.mEnglish.empty() || !note.HasFlag(kObsoleteFlag);
        if (isKnown && (!note.IsFuzzy() || !note.mOldEnglish))
            note.mOldEnglish = entry.mEnglish;
        hollin::ZString old;
        if (note.mOldEnglish && FromExchange(*note.mOldEnglish, &old))
            note.mOldEnglish = ToUTF8(old);
        return note;
    }

    void Fail(const CatalogueEntry& entry, const std::string& what)
    {
        if (++mFaults <= kMostReports)
            Report(At(mFile, entry.mPlace), what);
    }

    void ReportCount(std::size_t count, const char* thing, const char* option) const
    {
        if (count)
            Report(mFile, Counted(count, thing) + " left out (see " + option + ")");
    }

    const std::string mFile;
    const TakeOptions mOptions;
    const bool mHasEnglish;
    std::unordered_set<std::string> mKeys; // of the English texts
    std::unordered_map<std::string, std::vector<std::string>> mKeysByText;
    std::unordered_map<std::string, Keyless> mKeyless; // by English text
    std::unordered_map<std::string, Place> mPlaces;    // by key
    Entries mEntries;
    std::size_t mFaults = 0;
    std::size_t mFuzzy = 0;
    std::size_t mObsolete = 0;
};
} // namespace

std::string At(const std::string& file, Place place)
{
    if (!place.mLine)
        return file;
    const std::string line = file + ":" + std::to_string(place.mLine);
    return place.mColumn ? line + ":" + std::to_string(place.mColumn) : line;
}

Catalogue MakeCatalogue(const Entries& english, const std::string& englishFile,
                        const Entries& translations, const std::string& translationFile)
{
    RequireKeys(english, englishFile);
    RequireKeys(translations, translationFile);
    std::unordered_map<std::string, const Entry*> byKey;
    for (const Entry& entry : translations)
        byKey.emplace(entry.mKey, &entry);

    Catalogue catalogue;
    catalogue.mEnglishFile = englishFile.substr(englishFile.find_last_of("/\\") + 1);
    catalogue.mTranslationFile = translationFile;
    std::unordered_set<std::string> used;
    for (const Entry& entry : english)
    {
        const auto found = byKey.find(entry.mKey);
        catalogue.mEntries.push_back(
            MakeEntry(entry, found == byKey.end() ? nullptr : found->second));
        used.insert(entry.mKey);
    }
    for (const Entry& entry : translations)
    {
        if (!used.count(entry.mKey))
            catalogue.mEntries.push_back(MakeObsolete(entry));
    }
    return catalogue;
}

Entries TakeTranslations(const Catalogue& catalogue, const std::string& file,
                         const Entries& english, const TakeOptions& options)
{
    if (catalogue.mEntries.empty())
        throw Failure{kFaulty, file, "it has no entries"};
    Taker taker(file, english, options);
    // Of a key that is obsolete and in use, the one in use counts.
    for (const bool isObsolete : {false, true})
    {
        for (const CatalogueEntry& entry : catalogue.mEntries)
        {
            if (entry.mNote.HasFlag(kObsoleteFlag) == isObsolete)
                taker.Add(entry);
        }
    }
    for (const bool isObsolete : {false, true})
    {
        for (const CatalogueEntry& entry : catalogue.mEntries)
        {
            if (entry.mNote.HasFlag(kObsoleteFlag) == isObsolete)
                taker.AddKeyless(entry);
        }
    }
    return taker.Finish();
}
