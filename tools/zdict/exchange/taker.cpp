#include "exchange/taker.h"

#include <utility>

#include <hollin/Dictionary.h>

#include "exchange/exchange_text.h"
#include "images/text_output.h"
#include "messages.h"

namespace
{
const std::size_t kLongestText = hollin::kLongestRun / 2;

// The text names the English text that it was made of.
Note NoteOf(const CatalogueEntry& entry)
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
} // namespace

Taker::Taker(const std::string& file, const EntryTable& english, const TakeOptions& options,
             const OnText& onText)
    : mFile(file), mEnglish(english), mOptions(options), mOnText(onText)
{
}

void Taker::Add(CatalogueEntry entry)
{
    ++mEntries;
    if (entry.mKey.empty())
        entry.mKey = ReferredKey(entry);
    const bool isObsolete = entry.mNote.HasFlag(kObsoleteFlag);
    if (entry.mKey.empty() && !isObsolete)
    {
        ++SameTextOf(entry).mEntries;
        mKeylessEntries.push_back(std::move(entry));
    }
    else if (!IsWanted(entry))
        return;
    else if (isObsolete)
        mObsoleteEntries.push_back(std::move(entry));
    else
        Take(entry, entry.mKey);
}

void Taker::Finish()
{
    if (!mEntries)
        throw Failure{kFaulty, mFile, "it has no entries"};
    for (const CatalogueEntry& entry : mKeylessEntries)
        TakeKeyless(entry);
    for (const CatalogueEntry& entry : mObsoleteEntries)
        TakeObsolete(entry);
    if (mFaults)
        throw Failure{kFaulty, mFile, "nothing is imported, " + Counted(mFaults, "fault")};
    ReportCount(mFuzzy, "fuzzy translation", "--fuzzy");
    ReportCount(mObsolete, "obsolete translation", "--obsolete");
}

bool Taker::IsWanted(const CatalogueEntry& entry)
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

// REQUIRES: the entries of the text are counted.
void Taker::TakeKeyless(const CatalogueEntry& entry)
{
    SameText& same = SameTextOf(entry);
    const std::size_t index = same.mTaken++;
    if (!IsWanted(entry))
        return;
    const std::vector<std::string>& keys = KeysOf(entry);
    if (keys.size() > 1 && same.mEntries == keys.size())
        return Take(entry, keys[index]);
    if (same.mIsSpread && entry.mTranslation == same.mTranslation)
        return;
    if (same.mIsSpread)
        return Fail(entry, "the keys of " + Quoted(entry.mEnglish) +
                               " have another translation already, and " +
                               Counted(keys.size(), "key") + " don't fit " +
                               std::to_string(same.mEntries) + " entries");
    same.mIsSpread = !keys.empty();
    same.mTranslation = entry.mTranslation;
    for (const std::string& key : keys)
        Take(entry, key);
}

void Taker::TakeObsolete(const CatalogueEntry& entry)
{
    if (!entry.mKey.empty())
        return Take(entry, entry.mKey);
    for (const std::string& key : KeysOf(entry))
        Take(entry, key);
}

void Taker::Take(const CatalogueEntry& entry, const std::string& key)
{
    const char* const keyProblem = KeyProblem(key);
    if (keyProblem)
        return Fail(entry, "the key " + Quoted(key) + " " + keyProblem);
    const std::uint32_t id = mKeys.FindOrAdd(key);
    const bool isNew = id == mPlaces.size();
    if (!isNew && entry.mNote.HasFlag(kObsoleteFlag))
        return;
    if (!isNew)
        return Fail(entry, "the key " + Quoted(key) + " has a translation already, at " +
                               At(mFile, mPlaces[id]));
    mPlaces.push_back(entry.mPlace);

    hollin::ZString text;
    const bool isEmpty = entry.mTranslation == kEmptyOnPurpose;
    if (!isEmpty && !FromExchange(entry.mTranslation, &text))
        return Fail(entry, "two halves of a surrogate pair follow each other");
    if (HasNote(text))
        return Fail(entry, "the translation holds " + kEmptyOnPurpose);
    const bool isLong = text.Length() > kLongestText;
    if (mOptions.mNotes)
        text = JoinNote(text, NoteOf(entry));
    if (text.Length() > kLongestText)
        return Fail(entry, (isLong ? "the translation is longer than "
                                   : "the translation and its note are longer than ") +
                               Counted(kLongestText, "character") +
                               (isLong ? "" : " (see --no-notes)"));
    mOnText(key, text);
}

// Returns the key that is one of the references, or an empty text.
std::string Taker::ReferredKey(const CatalogueEntry& entry) const
{
    for (const std::string& reference : entry.mNote.mReferences)
    {
        if (mEnglish.Find(reference) != hollin::kNoId)
            return reference;
    }
    return std::string();
}

const std::vector<std::string>& Taker::KeysOf(const CatalogueEntry& entry)
{
    const std::vector<std::string>& keys = SameTextOf(entry).mKeys;
    if (keys.empty())
        Fail(entry, mEnglish.Slots()
                        ? "the key is missing, and no English text is " + Quoted(entry.mEnglish)
                        : "the key is missing (see --english)");
    return keys;
}

Taker::SameText& Taker::SameTextOf(const CatalogueEntry& entry)
{
    if (mByText.empty())
    {
        for (const std::uint32_t id : mEnglish.Entries())
            mByText[ToExchange(SplitNote(ToZString(mEnglish.Text(id))).mText)].mKeys.emplace_back(
                mEnglish.Key(id));
    }
    return mByText[entry.mEnglish];
}

void Taker::Fail(const CatalogueEntry& entry, const std::string& what)
{
    if (++mFaults <= kMostReports)
        ReportAt(mFile, entry.mPlace, what);
}

void Taker::ReportCount(std::size_t count, const char* thing, const char* option) const
{
    if (count)
        Report(mFile, Counted(count, thing) + " left out (see " + option + ")");
}
