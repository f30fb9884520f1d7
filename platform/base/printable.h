// Text for a terminal or for a line of a log, without bytes that control the terminal or forge
// a line. File names and texts of dictionaries may hold such bytes.
//
//     const std::string path = "caf\xE9";
//     std::fprintf(stderr, "host: %s\n", platform::Printable(path).c_str());
//
// Thread safety: all functions may be called on any thread.

#ifndef PLATFORM_BASE_PRINTABLE_H
#define PLATFORM_BASE_PRINTABLE_H

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

#include "export.h"

namespace platform
{
// Returns whether a Unicode character is a control character.
inline bool IsControl(unsigned int character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

// Returns UTF-8 text with an escape in place of
// - each byte of a control character, except those listed in `unescaped`; "\r" stays as it is
//   before "\n" only, since any other carriage return lets a line overwrite itself;
// - each byte of U+2028 and U+2029, which end a line;
// - each byte that is not part of well-formed UTF-8.
//
// The escapes are \n, \r and \t, and \x1B for any other byte, here 27. A backslash stays
// as it is.
//
// Throws: std::bad_alloc.
// REQUIRES: `unescaped` is ASCII.
PLATFORM_EXPORT std::string Printable(std::string_view text, std::string_view unescaped = {});

// The pieces of Printable(text, unescaped), one after the other. Allocates nothing.
class PLATFORM_EXPORT PrintablePieces
{
public:
    // REQUIRES: both texts stay valid as long as the object.
    explicit PrintablePieces(std::string_view text, std::string_view unescaped = {});

    // Returns the next piece, empty at the end. A piece is valid until the next call.
    std::string_view Next();

private:
    std::string_view Escaped(unsigned char byte);

    std::string_view mText; // the rest
    std::string_view mUnescaped;
    std::size_t mRefused = 0; // bytes at the head of the rest that need an escape
    char mEscape[4];
};

// Writes text to stderr at once and in one call, without escapes. Allocates nothing. An
// interruption or a write of a part loses no byte. Waits for a full pipe, also if stderr does not
// block.
//
// Failures: the rest of the text is lost. A broken pipe sends no SIGPIPE.
PLATFORM_EXPORT void WriteToStderr(std::string_view text);

// Calls `write` with each piece of Printable(text, unescaped), for writers that must not allocate.
template <class Write>
void WritePrintable(std::string_view text, std::string_view unescaped, const Write& write)
{
    PrintablePieces pieces(text, unescaped);
    for (std::string_view piece = pieces.Next(); !piece.empty(); piece = pieces.Next())
        write(piece);
}

// Writes Printable(text, unescaped) to an open file. Allocates nothing. Text for stderr is written
// by WriteToStderr. After a failure of another file std::ferror returns non-zero.
PLATFORM_EXPORT void WritePrintable(std::FILE* file, std::string_view text,
                                    std::string_view unescaped = {});
} // namespace platform

#endif
