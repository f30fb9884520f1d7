#include "exchange/taker.h"

#include <utility>

#include <hollin/Dictionary.h>

#include "exchange/exchange_text.h"
#include "images/text_output.h"
#include "messages.h"

namespace
{
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
    if (!IsWanted(entry))
        return;
    if (entry.mNote.HasFlag(kObsoleteFlag))
        mObsoleteEntries.push_back(std::move(entry));
    else
        Take(entry);
}

void Taker::Finish()
{
    if (!mEntries)
        throw Failure{kFaulty, mFile, "it has no entries"};
    for (const CatalogueEntry& entry : mObsoleteEntries)
        Take(entry);
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

void Taker::Take(const CatalogueEntry& entry)
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
    const bool isEmpty = entry.mTranslation == kEmptyTranslation;
    if (!isEmpty && !FromExchange(entry.mTranslation, &text))
        return Fail(entry, "two halves of a surrogate pair follow each other");
    if (HasNote(text))
        return Fail(entry, "the translation holds " + kEmptyTranslation);
    if (mOptions.mNotes)
        text = JoinNote(text, NoteOf(entry));
    if (text.Length() > hollin::kLongestRun / 2)
        return Fail(entry, "the translation and its note are longer than " +
                               Counted(hollin::kLongestRun / 2, "character") + " (see --no-notes)");
    mOnText(key, text);
}

std::vector<std::string> Taker::KeysOf(const CatalogueEntry& entry)
{
    for (const std::string& reference : entry.mNote.mReferences)
    {
        if (mEnglish.Find(reference) != hollin::kNoId)
            return {reference};
    }
    const std::vector<std::string>& keys = KeysOfText(entry.mEnglish);
    if (keys.empty())
        Fail(entry, mEnglish.Slots()
                        ? "the key is missing, and no English text is " + Quoted(entry.mEnglish)
                        : "the key is missing (see --english)");
    return keys;
}

const std::vector<std::string>& Taker::KeysOfText(const std::string& text)
{
    if (mKeysByText.empty())
    {
        for (const std::uint32_t id : mEnglish.Entries())
            mKeysByText[ToExchange(SplitNote(ToZString(mEnglish.Text(id))).mText)].emplace_back(
                mEnglish.Key(id));
    }
    return mKeysByText[text];
}

void Taker::Fail(const CatalogueEntry& entry, const std::string& what)
{
    if (++mFaults <= kMostReports)
        Report(At(mFile, entry.mPlace), what);
}

void Taker::ReportCount(std::size_t count, const char* thing, const char* option) const
{
    if (count)
        Report(mFile, Counted(count, thing) + " left out (see " + option + ")");
}
