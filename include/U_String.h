// Null-terminated multibyte text in the active code page.
//
//     char path[16];
//     U_CopyString("movie.", sizeof(path), path);
//     U_ConcatString("project", sizeof(path), path);
//     const char* extension = U_strrchr(path, '.');
//     bool isProject = extension && U_stricmp(extension, ".PROJECT") == 0;
//
// No function but U_MakeDBCSSafeStr divides a character, and no search finds a match inside a
// character. Sizes are in bytes and include the terminator, unless a comment says otherwise. A
// text that is too long for its buffer is cut at a character, which is no error. Pointers must
// not be null. Source and destination of a copy may overlap.
//
// The functions have C linkage, apart from U_CopyStringW.
//
// Thread safety: thread-safe.

#ifndef U_STRING_H
#define U_STRING_H

#include <stddef.h>

#include "U_Types.h"

extern "C"
{
    // Copies `src` with its terminator. If `size` is 0, nothing is written.
    //
    // Returns: always 0.
    U_EXPORT int U_CopyString(const char* src, size_t size, char* dst);

    // Copies a source of `length` bytes without a terminator, as U_CopyString does.
    U_EXPORT int U_CopyStringLen(const char* src, size_t length, size_t size, char* dst);

    // Appends `src` to the text in `dst`. `size` is the whole capacity of `dst`.
    //
    // Returns: always 0.
    U_EXPORT int U_ConcatString(const char* src, size_t size, char* dst);

    // Cuts text to at most `length` bytes, without the terminator. A negative length counts
    // as 0.
    //
    // Returns: always 0.
    U_EXPORT int U_TruncateString(int length, char* text);

    // Stores the offset of the next character after the character at `offset`. If no character
    // begins at `offset`, stores the offset of the next character after that byte.
    //
    // Returns: always 0.
    U_EXPORT int U_CharNextByte(const char* text, unsigned int offset, unsigned int* next);

    // Return the first or the last occurrence of a byte or a text, or null.
    //
    // - The byte 0 is found at the terminator.
    // - The occurrences that U_strrstr counts do not overlap: the last "aa" of "aaa" is at 0.
    // - The empty text is found first at the start and last at the terminator.
    U_EXPORT char* U_strchr(const char* text, int ch);
    U_EXPORT char* U_strrchr(const char* text, int ch);
    U_EXPORT char* U_strstr(const char* text, const char* needle);
    U_EXPORT char* U_strrstr(const char* text, const char* needle);

    // Compares two texts as UTF-16, unit by unit.
    //
    // Returns: a negative number, 0, or a positive number. If the first bytes differ and are
    //   both upper-case ASCII letters, both lower-case ones or both digits, the difference of
    //   these bytes.
    // Throws: as U_MBToUTF16String does.
    U_EXPORT int U_strcmp(const char* a, const char* b);

    // Compares two texts by characters. Single bytes are compared without regard to ASCII case.
    // A longer character is compared by its bytes and comes after all single bytes. Letters
    // beyond ASCII, also full-width ones, differ by their case.
    //
    // Returns: -1, 0 or 1.
    U_EXPORT int U_stricmp(const char* a, const char* b);

    // Change the case of ASCII letters in place, through UTF-16, as the runtime does in its
    // default locale. The terminator keeps its position: a longer result is cut, and a shorter
    // result leaves old bytes after it.
    //
    // Returns: always 0.
    // Throws: as U_MBToUTF16String and U_UTF16ToMBString do.
    U_EXPORT int U_StringToLower(char* text);
    U_EXPORT int U_StringToUpper(char* text);

    // Write `text` with the bytes 0x99, 0xA9, 0xB0, 0xB7 and 0xBC spelled in ASCII: "TM", "(C)",
    // "dgr", "*" and "d". *changed is true if a character was replaced. If `size` is 0, nothing
    // is written to `out`.
    //
    // - U_CleanTo7BitOnly also replaces every other character beyond ASCII by `replacement`.
    // - U_MakeDBCSSafeStr is U_CleanTo7BitOnly with the replacement 0, which keeps such
    //   characters. It takes `text` as single-byte text that a double-byte system would
    //   misread: each byte is handled alone, but a cut leaves no lead byte at the end.
    //
    // Returns: always 0.
    U_EXPORT int U_MakeDBCSSafeStr(const char* text, unsigned int size, char* out, bool* changed);
    U_EXPORT int U_CleanTo7BitOnly(const char* text, char replacement, unsigned int size, char* out,
                                   bool* changed);
}

// Copies UTF-16 text as U_CopyString does. `size` is in units, and a cut keeps surrogate pairs
// whole.
//
// Returns: 0; or 4 if there is no memory for the temporary copy that a cut needs.
U_EXPORT U_Status U_CopyStringW(const U_u16* src, size_t size, U_u16* dst);

#endif
