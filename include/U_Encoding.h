// Conversions between UTF-16, UTF-8 and multibyte text in the active code page, and cuts that
// keep characters whole.
//
//     U_UTF16String wide = U_MBToUTF16String("caf\xE9"); // in code page 1252
//     U_UTF8String utf8 = U_UTF16To8String(wide);        // five bytes
//     U_TruncateStringToByteSize(&utf8, 4);              // "caf"
//     std::string narrow = U_UTF16ToMBString(U_UTF8To16String(utf8), false);
//
// A character that the target lacks becomes its best fit, the nearest character in the system's
// tables, or else the default character.
//
// U+2206 (increment) is missing in the common code pages. Multibyte text carries U+00BC in its
// place, or U+2020 if the active code page is 1251:
//
// - A U+00BC of the text's own becomes U+2206 on the way back.
// - The substitute depends on the code page that is active at the time of the conversion. If
//   the active code page changes, an older text may be converted back with another character for
//   U+2206.
// - Code page 65001 has U+2206 and needs no substitute.
//
// Pointers must not be null.
//
// Thread safety: thread-safe.
//
// Failures: a conversion that the system refuses is reported as a problem at 0x17002E, then
// throws the system's error code as an int, or 1 if the system has none. A result that does not
// fit in memory throws std::bad_alloc.
//
// - 87: the text, or the largest result that it may have, is too long for the system's counts of
//   signed 32 bits; or the code page is unknown.
// - 8: no memory for the tables of a code page that is used for the first time.
// - The failure is not reported if it happens inside the report of another one, or on a thread
//   that has no memory left to record that a report is in progress.

#ifndef U_ENCODING_H
#define U_ENCODING_H

#include <cstddef>
#include <string>
#include <vector>

#include "U_Types.h"

// Convert from the active code page.
U_EXPORT U_UTF16String U_MBToUTF16String(const std::string& text);
U_EXPORT U_UTF16String U_MBToUTF16String(const char* text);

// Convert to the active code page.
//
// Throws: with `exact`, the int 10, reported, for a character that the code page lacks, whether
//   or not the character has a best fit. Code page 65001 lacks none: half of a surrogate pair
//   becomes U+FFFD.
U_EXPORT std::string U_UTF16ToMBString(const U_UTF16String& text, bool exact);
U_EXPORT std::string U_UTF16ToMBString(const U_u16* text, bool exact);

// Convert between UTF-8 and UTF-16. Invalid sequences and halves of surrogate pairs become
// U+FFFD.
U_EXPORT U_UTF16String U_UTF8To16String(const U_UTF8String& text);
U_EXPORT U_UTF8String U_UTF16To8String(const U_UTF16String& text);

// Cut *text to at most `count` units, or to at most `bytes` bytes. A character that does not fit
// whole is dropped: in UTF-8 its whole sequence, in UTF-16 its surrogate pair. If UTF-8 has to
// be cut, invalid sequences become U+FFFD first.
U_EXPORT void U_TruncateStringToNumChars(U_UTF16String* text, unsigned int count);
U_EXPORT void U_TruncateStringToByteSize(U_UTF16String* text, unsigned int bytes);
U_EXPORT void U_TruncateStringToByteSize(U_UTF8String* text, unsigned int bytes);

// Writes text as UTF-8 with a terminator into a buffer of `size` bytes. A text that is too long
// is cut at a character. If `size` is 0, nothing is written.
U_EXPORT void U_CopyToUTF8Buf(const U_UTF16String& text, size_t size, unsigned char* out);

// Appends to `parts` the pieces of `text` between the occurrences of `separator`. Empty pieces
// are appended too, so that there is always one piece more than occurrences. `text` and
// `separator` may be elements of `parts`. An empty separator, which callers should not pass,
// occurs nowhere.
U_EXPORT void U_SplitUTF16String(const U_UTF16String& text, const U_UTF16String& separator,
                                 std::vector<U_UTF16String>& parts);

// Converts 7-bit text, one unit for each byte. Bytes from 0x80 on become 0xFF80 to 0xFFFF.
U_EXPORT U_UTF16String U_AsciiToUTF16String(const char* text);

// Converts from code page 1252 to the active code page.
U_EXPORT std::string U_ConvertEnglishEncodedTextToCurrentEncoding(const std::string& text);

// Converts from another encoding. If `isCodePage` is not 0, `encoding` is a code page, or 0 for
// the active one. Otherwise `encoding` is a Macintosh text encoding: 0 Roman, 1 Japanese,
// 7 Cyrillic; 1056, 1280 and 1282 for the code pages 932, 1252 and 1251. Any other Macintosh
// text encoding returns the empty text.
U_EXPORT U_UTF16String U_ConvertEncodedStringToUnicode(unsigned char isCodePage,
                                                       unsigned int encoding, const char* text);

// Returns the active code page.
U_EXPORT unsigned int U_GetPlatformSpecificCurrentTextEncodingForSerialization();

// Returns true if resolved texts are kept to characters that double-byte scripts have: the
// system's script is a double-byte one, and no translation is in use. The answer is stored until
// the library's birth or death, until English is chosen, or until a dictionary is loaded,
// whether or not the load succeeds.
U_EXPORT bool U_DoubleByteSafeMode();

// Returns the type of the byte at an offset: 0 for a character of one byte; otherwise -1 for the
// first byte of a character, 1 for the last byte, and 2 for a byte between. No byte after
// `offset` is read.
U_EXPORT int U_CharByte(const char* text, int offset);

// Returns the same for text in the encoding of a Macintosh script number.
U_EXPORT int U_CharByteFromScript(const char* text, int offset, short script);

#endif
