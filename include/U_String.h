// Zero-terminated multibyte text in the active code page.
//
// No operation but U_MakeDBCSSafeStr cuts a character in two or finds a match inside
// one. Sizes are
// in bytes and include the terminator, unless told otherwise; a text too long
// for its buffer is cut at a character, which is no error. Pointers mustn't be
// null. Source and destination of a copy may overlap. The calls have C linkage,
// apart from U_CopyStringW, and may be made on any thread.

#ifndef U_STRING_H
#define U_STRING_H

#include <stddef.h>

#include "U_Types.h"

extern "C"
{
    // Copies src with its terminator. A size of 0 writes nothing. Always 0.
    U_EXPORT int U_CopyString(const char* src, size_t size, char* dst);

    // The same for a source of length bytes without a terminator.
    U_EXPORT int U_CopyStringLen(const char* src, size_t length, size_t size, char* dst);

    // Appends src to the text in dst; size is the whole capacity of dst. Always 0.
    U_EXPORT int U_ConcatString(const char* src, size_t size, char* dst);

    // Cuts text to at most length bytes, without the terminator; a negative
    // length counts as 0. Always 0.
    U_EXPORT int U_TruncateString(int length, char* text);

    // Stores the offset of the next character behind the one at offset, or
    // behind the byte at offset if that begins none. Always 0.
    U_EXPORT int U_CharNextByte(const char* text, unsigned int offset, unsigned int* next);

    // Change the case of ASCII letters in place, as the runtime's default locale
    // does, by way of UTF-16. The terminator stays where it is: a result that
    // would be longer is cut, behind a shorter one old bytes remain. Always 0.
    // Throw an int as U_UTF16ToMBString does.
    U_EXPORT int U_StringToLower(char* text);
    U_EXPORT int U_StringToUpper(char* text);

    // The first and the last place of a byte or a text, null if there is none.
    // The byte 0 is found at the terminator. The occurrences that U_strrstr
    // chooses from don't overlap: the last "aa" of "aaa" is at 0. The empty text
    // is first at the start and last at the terminator.
    U_EXPORT char* U_strchr(const char* text, int ch);
    U_EXPORT char* U_strrchr(const char* text, int ch);
    U_EXPORT char* U_strstr(const char* text, const char* needle);
    U_EXPORT char* U_strrstr(const char* text, const char* needle);

    // Negative, 0 or positive. Compares as UTF-16, unit by unit, and throws what
    // U_MBToUTF16String does. If the first bytes differ and both are upper-case
    // ASCII letters, lower-case ones or digits, their difference is the result.
    U_EXPORT int U_strcmp(const char* a, const char* b);

    // Compares by characters, a single byte without regard to ASCII case, a
    // longer character by its bytes and behind all single ones. Letters beyond
    // ASCII, full-width ones too, differ by their case.
    U_EXPORT int U_stricmp(const char* a, const char* b);

    // Writes text with the bytes 0x99, 0xA9, 0xB0, 0xB7 and 0xBC spelled in
    // ASCII: "TM", "(C)", "dgr", "*" and "d". U_CleanTo7BitOnly also puts
    // replacement in the place of every other character beyond ASCII. With a
    // replacement of 0, as in U_MakeDBCSSafeStr, such characters stay, and text
    // is taken as single-byte text that a double-byte system would misread: each
    // byte counts alone, but a cut leaves no lead byte at the end. *changed tells whether anything
    // was replaced. A size of 0 writes nothing. Always 0.
    U_EXPORT int U_MakeDBCSSafeStr(const char* text, unsigned int size, char* out, bool* changed);
    U_EXPORT int U_CleanTo7BitOnly(const char* text, char replacement, unsigned int size, char* out,
                                   bool* changed);
}

// As U_CopyString for UTF-16; size is in units. Returns 0, or 4 without memory for a
// text that has to be copied aside.
U_EXPORT U_Status U_CopyStringW(const U_u16* src, size_t size, U_u16* dst);

#endif
