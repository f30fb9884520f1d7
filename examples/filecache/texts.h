// The texts that a person reads.
//
// Each is written where it is used, as a ZString: one literal with a key and the
// English text, such as "$$$/QX/FileCache/Figure/FilesRead=files read". Where the
// dictionary in use has the key, its text is shown instead. Values go into the
// places ^1 to ^9, which a literal spells ^^1. A text of the dictionary that has other
// places than the English text is not used. Everything here is UTF-8, and may be called
// on any thread.

#ifndef FILECACHE_TEXTS_H
#define FILECACHE_TEXTS_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <U_Types.h>

// What there is to tell, before its text is looked up: much of what goes wrong
// is found before a dictionary is in use.
struct Message
{
    Message() = default;
    Message(const char* theText, std::vector<std::string> theValues = {})
        : zstring(theText), values(std::move(theValues))
    {
    }
    explicit operator bool() const { return zstring != nullptr; }

    const char* zstring = nullptr; // null if there is nothing to tell
    std::vector<std::string> values;
};

// The text in the language of the dictionary in use, with its values.
std::string Text(const Message& message);

// Puts the values into their places. Places without a value stay, as does what
// looks like a place inside a value.
std::string Fill(const std::string& text, const std::vector<std::string>& values);

// What can't be converted becomes U+FFFD.
std::string ToUTF8(const U_UTF16String& text);
U_UTF16String ToUTF16(const std::string& text);

// Columns that the text takes on a terminal.
size_t DisplayWidth(const std::string& text);

// Cuts the text to at most that many columns; a character stays whole or goes.
std::string CutToWidth(const std::string& text, size_t columns);

// Messages that several parts of the program have.
Message CantRead(const std::string& path, const std::string& reason);
Message CantWrite(const std::string& path, const std::string& reason);

#endif
