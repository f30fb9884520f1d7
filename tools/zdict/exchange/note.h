// The note of a text: the comments, references and flags that the road from the source code to
// the translators keeps beside it.
//
// A note is a part of the text itself, after the marker {{*COMMENT*}}, where look-ups drop it. Its
// lines are separated by line feeds and begin with the prefixes of PO:
//
//     "$$$/App/Title=Hallo, ^^1{{*COMMENT*}}#: src/a.cpp:12\n#. Title of the window\n#, fuzzy"
//
// - "#: " references to the source code, separated by blanks. A file name with a blank is
//   enclosed in U+2068 and U+2069.
// - "#. " a line of the programmer's comment for translators.
// - "#, " flags, separated by commas.
// - "#| " a line of the English text that the translation was made of.
// - Any other line belongs to the translator's own comment. Such a line that begins with one of
//   the prefixes, or with "# ", is written after "# ".
// - "{{*" is written as "{{\*", since look-ups apply a marker of a platform even in a note. A
//   sequence with backslashes gets one more.
//
// A formatted note parses to an equal note. All strings are UTF-8.

#ifndef ZDICT_EXCHANGE_NOTE_H
#define ZDICT_EXCHANGE_NOTE_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <hollin/ZString.h>

extern const char* const kFuzzyFlag;    // "fuzzy"
extern const char* const kObsoleteFlag; // "obsolete", of a key that English lacks

struct Note
{
    std::vector<std::string> mReferences;   // as "src/a.cpp:12", in one line
    std::string mExtracted;                 // lines, without a line feed at the end
    std::vector<std::string> mFlags;        // without blanks and commas
    std::optional<std::string> mOldEnglish; // without its own note
    std::string mTranslator;                // lines, as mExtracted

    bool IsEmpty() const;
    bool HasFlag(const std::string& flag) const;
    bool IsFuzzy() const { return HasFlag(kFuzzyFlag); }

    // Adds a flag once, or removes the flag.
    void SetFlag(const std::string& flag, bool isSet);
};

bool operator==(const Note& left, const Note& right);

struct Reference
{
    std::string mFile;
    std::string mLine; // digits, or empty
};

Reference SplitReference(const std::string& reference);

// Reads and writes the part after the marker, also as the comment of an entry of an image.
Note ParseNote(const std::string& comment);
std::string FormatNote(const Note& note); // empty for an empty note

struct NotedText
{
    hollin::ZString mText; // in front of the note
    Note mNote;
};

// Returns whether a text has the marker of a note.
bool HasNote(const hollin::ZString& text);

// Splits an expanded text as a look-up does: the marker counts that follows the marker of a
// platform, if the text has such a marker.
NotedText SplitNote(const hollin::ZString& text);

// Returns the note without the parts for which a text has no room: first the references, then the
// comments of programmers, the old English text, the translator's comment, and the flags.
//
// `room` is in UTF-16 units, for the note and its marker.
Note FittingNote(Note note, std::size_t room);

// Returns the text with its note. No marker is added for an empty note.
//
// REQUIRES: !HasNote(text).
hollin::ZString JoinNote(const hollin::ZString& text, const Note& note);

#endif
