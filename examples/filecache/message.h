// The texts that a person reads, in UTF-8.
//
// Each text is a ZString at its place of use: one literal with a key and the English text,
// such as "$$$/QX/FileCache/Figure/FilesRead=files read". If the dictionary in use has the
// key, its text is shown. Values replace the places ^1 to ^9, which a literal spells ^^1. A
// text of the dictionary whose places differ from those of the English text is not used.
//
// Thread safety: any thread.

#ifndef FILECACHE_MESSAGE_H
#define FILECACHE_MESSAGE_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <U_Types.h>

// A message whose text is not looked up yet: many faults are found before a dictionary is in
// use.
struct Message
{
    Message() = default;
    Message(const char* theText, std::vector<std::string> theValues = {})
        : zstring(theText), values(std::move(theValues))
    {
    }
    explicit operator bool() const { return zstring != nullptr; }

    const char* zstring = nullptr; // null: no message
    std::vector<std::string> values;
};

// The text in the language of the dictionary in use, with its values.
std::string Text(const Message& message);

// Replaces the places by the values. A place without a value is kept, and so is a place
// inside a value.
std::string Fill(const std::string& text, const std::vector<std::string>& values);

// Characters that cannot be converted become U+FFFD.
std::string ToUTF8(const U_UTF16String& text);
U_UTF16String ToUTF16(const std::string& text);

// Returns the width of the text on a terminal, in columns.
size_t DisplayWidth(const std::string& text);

// Returns the text cut to at most that many columns, at a character boundary.
std::string CutToWidth(const std::string& text, size_t columns);

// Messages of several parts of the program.
Message CantRead(const std::string& path, const std::string& reason);
Message CantWrite(const std::string& path, const std::string& reason);

#endif
