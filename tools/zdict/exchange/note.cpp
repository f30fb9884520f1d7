#include "exchange/note.h"

#include <algorithm>
#include <cstring>

#include <hollin/Dictionary.h>
#include <hollin/Markers.h>

#include "images/text_output.h"

const char* const kFuzzyFlag = "fuzzy";
const char* const kObsoleteFlag = "obsolete";

namespace
{
const char kMarkerStart[] = "{{";
const char kBlanks[] = " \t";
const std::string kOpen = "\u2068"; // of a file name with a blank
const std::string kClose = "\u2069";

// Returns the letter of a line's prefix, or 0 for a line of the translator.
char PrefixOf(const std::string& line)
{
    const bool isPrefix = line.size() >= 2 && line[0] == '#' && std::strchr(":.,|", line[1]) &&
                          line[1] && (line.size() == 2 || line[2] == ' ');
    return isPrefix ? line[1] : '\0';
}

bool IsProtected(const std::string& line)
{
    return line.compare(0, 2, "# ") == 0;
}

std::vector<std::string> Split(const std::string& text, const char* separators)
{
    std::vector<std::string> parts;
    for (std::size_t begin = 0;;)
    {
        const std::size_t end = text.find_first_of(separators, begin);
        parts.push_back(text.substr(begin, end - begin));
        if (end == std::string::npos)
            return parts;
        begin = end + 1;
    }
}

// Reads the backslashes of "{{\*", and writes one more or one less.
std::string ChangeMarkers(const std::string& text, int change)
{
    std::string changed;
    std::size_t done = 0;
    for (std::size_t at = 0; (at = text.find(kMarkerStart, at)) != std::string::npos; ++at)
    {
        const std::size_t first = at + 2;
        const std::size_t star = text.find_first_not_of('\\', first);
        if (star == std::string::npos || text[star] != '*')
            continue;
        changed.append(text, done, first - done);
        const std::size_t count = star - first;
        changed.append(change < 0 && count == 0 ? 0 : count + static_cast<std::size_t>(change),
                       '\\');
        done = star;
    }
    return changed.append(text, done);
}

void AddReferences(const std::string& line, std::vector<std::string>* references)
{
    for (std::size_t at = 0; (at = line.find_first_not_of(kBlanks, at)) != std::string::npos;)
    {
        std::string reference;
        const std::size_t close =
            line.compare(at, kOpen.size(), kOpen) == 0 ? line.find(kClose, at) : std::string::npos;
        if (close != std::string::npos)
        {
            at += kOpen.size();
            reference = line.substr(at, close - at);
            at = close + kClose.size();
        }
        const std::size_t end = std::min(line.find_first_of(kBlanks, at), line.size());
        references->push_back(reference + line.substr(at, end - at));
        at = end;
    }
}

std::string FormatReference(const std::string& reference)
{
    if (reference.find_first_of(kBlanks) == std::string::npos)
        return reference;
    const Reference parts = SplitReference(reference);
    return kOpen + parts.mFile + kClose + (parts.mLine.empty() ? "" : ":" + parts.mLine);
}

void AddFlags(const std::string& line, Note* note)
{
    for (const std::string& part : Split(line, ","))
    {
        const std::size_t begin = part.find_first_not_of(kBlanks);
        if (begin != std::string::npos)
            note->SetFlag(part.substr(begin, part.find_last_not_of(kBlanks) + 1 - begin), true);
    }
}

// Appends a line to lines that have no line feed at the end.
void AddLine(const std::string& line, bool isFirst, std::string* lines)
{
    if (!isFirst)
        *lines += '\n';
    *lines += line;
}

void FormatLines(const char* prefix, const std::string& text, std::string* note)
{
    for (const std::string& line : Split(text, "\n"))
        *note += line.empty() ? std::string(prefix) + "\n" : prefix + (" " + line) + "\n";
}

void FormatList(const char* prefix, const std::vector<std::string>& parts, const char* separator,
                std::string* note)
{
    if (parts.empty())
        return;
    *note += prefix;
    for (std::size_t i = 0; i < parts.size(); ++i)
        *note += (i ? separator : " ") + parts[i];
    *note += '\n';
}
} // namespace

bool Note::IsEmpty() const
{
    return mReferences.empty() && mExtracted.empty() && mFlags.empty() && !mOldEnglish &&
           mTranslator.empty();
}

bool Note::HasFlag(const std::string& flag) const
{
    return std::find(mFlags.begin(), mFlags.end(), flag) != mFlags.end();
}

void Note::SetFlag(const std::string& flag, bool isSet)
{
    if (!isSet)
        mFlags.erase(std::remove(mFlags.begin(), mFlags.end(), flag), mFlags.end());
    else if (!HasFlag(flag))
        mFlags.push_back(flag);
}

bool operator==(const Note& left, const Note& right)
{
    return left.mReferences == right.mReferences && left.mExtracted == right.mExtracted &&
           left.mFlags == right.mFlags && left.mOldEnglish == right.mOldEnglish &&
           left.mTranslator == right.mTranslator;
}

Reference SplitReference(const std::string& reference)
{
    const std::size_t colon = reference.find_last_not_of("0123456789");
    const bool hasLine =
        colon != std::string::npos && reference[colon] == ':' && colon + 1 < reference.size();
    return {reference.substr(0, hasLine ? colon : reference.size()),
            hasLine ? reference.substr(colon + 1) : std::string()};
}

Note ParseNote(const std::string& comment)
{
    Note note;
    bool hasExtracted = false;
    bool hasTranslator = false;
    for (const std::string& line : Split(ChangeMarkers(comment, -1), "\n"))
    {
        const char prefix = PrefixOf(line);
        const std::string rest = line.substr(std::min<std::size_t>(line.size(), 3));
        switch (prefix)
        {
        case ':':
            AddReferences(rest, &note.mReferences);
            break;
        case '.':
            AddLine(rest, !hasExtracted, &note.mExtracted);
            hasExtracted = true;
            break;
        case ',':
            AddFlags(rest, &note);
            break;
        case '|':
            note.mOldEnglish = note.mOldEnglish ? *note.mOldEnglish + "\n" + rest : rest;
            break;
        default:
            AddLine(IsProtected(line) ? line.substr(2) : line, !hasTranslator, &note.mTranslator);
            hasTranslator = true;
        }
    }
    return note;
}

std::string FormatNote(const Note& note)
{
    std::string lines;
    std::vector<std::string> references;
    for (const std::string& reference : note.mReferences)
        references.push_back(FormatReference(reference));
    FormatList("#:", references, " ", &lines);
    if (!note.mExtracted.empty())
        FormatLines("#.", note.mExtracted, &lines);
    FormatList("#,", note.mFlags, ", ", &lines);
    if (note.mOldEnglish)
        FormatLines("#|", *note.mOldEnglish, &lines);
    if (!note.mTranslator.empty())
    {
        for (const std::string& line : Split(note.mTranslator, "\n"))
            lines += (PrefixOf(line) || IsProtected(line) ? "# " + line : line) + "\n";
    }
    if (!lines.empty())
        lines.pop_back(); // the last line feed
    return ChangeMarkers(lines, 1);
}

bool HasNote(const hollin::ZString& text)
{
    return hollin::FindComment(ViewOf(text)) != UnitView::npos;
}

NotedText SplitNote(const hollin::ZString& text)
{
    const UnitView units = ViewOf(text);
    const std::size_t at = hollin::FindComment(units);
    if (at == UnitView::npos)
        return {text, Note()};
    const UnitView comment = units.substr(at + hollin::kCommentMarker.size());
    return {ToZString(units.substr(0, at)), ParseNote(ToUTF8(ToZString(comment)))};
}

Note FittingNote(Note note, std::size_t room)
{
    const auto fits = [&] { return JoinNote(hollin::ZString(), note).Length() <= room; };
    while (!note.mReferences.empty() && !fits())
        note.mReferences.resize(note.mReferences.size() / 2);
    if (!fits())
        note.mExtracted.clear();
    if (!fits())
        note.mOldEnglish.reset();
    if (!fits())
        note.mTranslator.clear();
    if (!fits())
        note.mFlags.clear();
    return note;
}

hollin::ZString JoinNote(const hollin::ZString& text, const Note& note)
{
    if (note.IsEmpty())
        return text;
    const std::string comment = std::string(hollin::kCommentMarker) + FormatNote(note);
    const hollin::ZString units(comment.data(), static_cast<std::uint32_t>(comment.size()),
                                &hollin::kEncodingUTF8);
    Units joined(ViewOf(text).begin(), ViewOf(text).end());
    joined.insert(joined.end(), ViewOf(units).begin(), ViewOf(units).end());
    return ToZString(ViewOf(joined));
}
