#include "extract/update.h"

#include <algorithm>

#include <hollin/Limits.h>
#include <hollin/TextFormReader.h>

#include "images/text_output.h"
#include "messages.h"

namespace
{
// A line with its end.
struct Line
{
    std::string mBytes;
    std::string mKey; // without "$$$"; empty if the line is empty
    hollin::ZString mText;

    std::string End() const { return mBytes.substr(mBytes.find_last_not_of("\r\n") + 1); }
};

// Returns the end of the line that begins at an offset, after its line feed or carriage return.
std::size_t EndOfLine(const std::string& text, std::size_t begin)
{
    const std::size_t end = text.find_first_of("\r\n", begin);
    if (end == std::string::npos)
        return text.size();
    return text.compare(end, 2, "\r\n") == 0 ? end + 2 : end + 1;
}

std::vector<Line> LinesOf(const std::string& text)
{
    std::vector<Line> lines;
    for (std::size_t begin = 0; begin < text.size();)
    {
        const std::size_t end = EndOfLine(text, begin);
        Line line;
        line.mBytes = text.substr(begin, end - begin);
        const std::size_t size = line.mBytes.size() - line.End().size();
        hollin::TextFormReader reader(reinterpret_cast<const unsigned char*>(line.mBytes.data()),
                                      size);
        hollin::TextLine entry;
        if (size && reader.Next(&entry))
        {
            line.mKey = entry.mKey;
            line.mText = entry.mText;
        }
        lines.push_back(line);
        begin = end;
    }
    return lines;
}

// Throws: Failure for a text that leaves no room for the mark of a fuzzy one.
std::string LineOf(const std::string& key, const NotedText& text, const std::string& end)
{
    const std::size_t longest = hollin::kLongestRun / sizeof(std::uint16_t);
    const std::size_t length = text.mText.Length();
    const Note note = FittingNote(text.mNote, longest - std::min(longest, length));
    if (note.IsFuzzy() != text.mNote.IsFuzzy())
        throw Failure{kFaulty, std::string(),
                      "the text of " + Quoted(key) + " can't be marked as fuzzy: it has " +
                          Counted(length, "character") + ", and an image holds " +
                          std::to_string(longest)};
    Units units;
    AppendLine(key, JoinNote(text.mText, note), &units);
    units.pop_back(); // the line feed
    return ToUTF8(ToZString(ViewOf(units))) + end;
}

class Updater
{
public:
    Updater(const EnglishTexts& english, const EnglishTexts* old, const UpdateRules& rules)
        : mEnglish(english), mOld(old), mRules(rules)
    {
        for (const std::string& key : english.Keys())
        {
            const Note& note = english.Find(key)->mNote;
            mHasReferences |= !note.mReferences.empty();
            mHasComments |= !note.mExtracted.empty();
        }
    }

    Updated Update(const std::string& translation)
    {
        const std::vector<Line> lines = LinesOf(translation);
        for (std::size_t i = 0; i < lines.size(); ++i)
            mLast[lines[i].mKey] = i;
        for (std::size_t i = 0; i < lines.size(); ++i)
            Take(lines[i], i + 1);
        if (!mResult.mText.empty() &&
            mResult.mText.find_last_of("\r\n") + 1 != mResult.mText.size())
            mResult.mText += '\n';
        for (const std::string& key : mEnglish.Keys())
        {
            if (!mLast.count(key))
                AddNew(key, lines.empty() || lines[0].End().empty() ? "\n" : lines[0].End());
        }
        return std::move(mResult);
    }

private:
    void Tell(std::uint64_t line, const char* what, const std::string& key,
              const std::string& more = std::string())
    {
        mResult.mChanges.push_back({line, std::string(what) + ": $$$" + key + more});
    }

    void Take(const Line& line, std::uint64_t number)
    {
        if (line.mKey.empty())
        {
            mResult.mText += line.mBytes;
            return;
        }
        if (mLast[line.mKey] + 1 != number)
            return Tell(number,
                        ("replaced by line " + std::to_string(mLast[line.mKey] + 1)).c_str(),
                        line.mKey);
        const NotedText* const english = mEnglish.Find(line.mKey);
        if (english)
            return Translate(line, number, *english);
        ++mResult.mObsolete;
        Tell(number, "obsolete", line.mKey);
        if (mRules.mKeepObsolete)
            mResult.mText += line.mBytes;
    }

    void Translate(const Line& line, std::uint64_t number, const NotedText& english)
    {
        NotedText text = SplitNote(line.mText);
        const Note before = text.mNote;
        const std::string now = ToUTF8(english.mText);
        const NotedText* const old = mOld ? mOld->Find(line.mKey) : nullptr;
        mResult.mUnknown += !before.mOldEnglish && !old;
        const std::string made = before.mOldEnglish ? *before.mOldEnglish
                                 : old              ? ToUTF8(old->mText)
                                                    : now;
        if (made != now)
        {
            text.mNote.SetFlag(kFuzzyFlag, true);
            text.mNote.mOldEnglish = made;
        }
        UpdateSourceNote(english.mNote, &text.mNote);
        mResult.mText += text.mNote == before ? line.mBytes : LineOf(line.mKey, text, line.End());
        ++(made == now ? mResult.mKept : mResult.mChanged);
        if (made != now)
            Tell(number, "changed", line.mKey, " was " + Quoted(made) + ", is " + Quoted(now));
    }

    // English texts that were extracted without references or comments say nothing about those.
    void UpdateSourceNote(const Note& english, Note* note) const
    {
        if (note->mReferences.empty() && note->mExtracted.empty())
            return;
        if (mHasReferences)
            note->mReferences = english.mReferences;
        if (mHasReferences || mHasComments)
            note->mExtracted = english.mExtracted;
    }

    void AddNew(const std::string& key, const std::string& end)
    {
        NotedText text = *mEnglish.Find(key);
        ++mResult.mNew;
        Tell(0, "new", key, "=" + ToUTF8(text.mText));
        if (!mRules.mAddNew)
            return;
        text.mNote.SetFlag(kFuzzyFlag, true);
        mResult.mText += LineOf(key, text, end);
    }

    const EnglishTexts& mEnglish;
    const EnglishTexts* const mOld;
    const UpdateRules mRules;
    bool mHasReferences = false; // any of the English texts
    bool mHasComments = false;
    std::unordered_map<std::string, std::size_t> mLast; // index of the last line of a key
    Updated mResult;
};
} // namespace

EnglishTexts::EnglishTexts(const Entries& entries)
{
    for (const Entry& entry : entries)
    {
        NotedText text = SplitNote(entry.mText);
        if (entry.mComment.Length())
            text.mNote = ParseNote(ToUTF8(entry.mComment));
        mKeys.push_back(entry.mKey);
        mTexts.emplace(entry.mKey, text);
    }
}

const NotedText* EnglishTexts::Find(const std::string& key) const
{
    const auto found = mTexts.find(key);
    return found == mTexts.end() ? nullptr : &found->second;
}

Updated UpdateTranslation(const std::string& translation, const EnglishTexts& english,
                          const EnglishTexts* old, const UpdateRules& rules)
{
    return Updater(english, old, rules).Update(translation);
}
