// Conversions between UTF-16, UTF-8 and multibyte text in the active code page,
// and cuts that keep characters whole.
//
// Multibyte text carries U+2206 (increment), which the common code pages lack,
// as U+00BC, or as U+2020 if the active code page is 1251: a U+00BC of its own
// comes back as U+2206. Code page 65001 has the character and needs no
// substitute. The substitute goes by the code page that is active at the time:
// text kept over a change of it may come back with another sign for U+2206.
//
// A character that the target of a conversion lacks becomes its best fit, the nearest
// character in the system's tables, or else the default character.
//
// A conversion that the system refuses throws its error code as an int
// (1 if the system gave none): 87 for a text that is too long, its result being
// counted in signed 32 bits, or for an unknown code page; 8 if there is no memory
// for the tables of a code page that is used for the first time. It is reported
// first, as a problem at 0x17002E, but for one inside the report of another and
// one on a thread that has no memory left to mark that. A result that there is no
// memory for throws std::bad_alloc.
//
// Pointers mustn't be null. All operations may be called on any thread.

#ifndef U_ENCODING_H
#define U_ENCODING_H

#include <cstddef>
#include <string>
#include <vector>

#include "U_Types.h"

U_EXPORT U_UTF16String U_MBToUTF16String(const std::string& text);
U_EXPORT U_UTF16String U_MBToUTF16String(const char* text);

// exact: a character that the code page lacks throws the int 10, whether or not the
// character has a best fit. Code page 65001 has all, apart from half a surrogate pair,
// which becomes U+FFFD.
U_EXPORT std::string U_UTF16ToMBString(const U_UTF16String& text, bool exact);
U_EXPORT std::string U_UTF16ToMBString(const U_u16* text, bool exact);

// Invalid sequences and halves of surrogate pairs become U+FFFD.
U_EXPORT U_UTF16String U_UTF8To16String(const U_UTF8String& text);
U_EXPORT U_UTF8String U_UTF16To8String(const U_UTF16String& text);

// One unit a byte, for 7-bit text. Bytes from 0x80 on give 0xFF80 to 0xFFFF.
U_EXPORT U_UTF16String U_AsciiToUTF16String(const char* text);

// From code page 1252 to the active one.
U_EXPORT std::string U_ConvertEnglishEncodedTextToCurrentEncoding(const std::string& text);

// From the code page `encoding` (0 for the active one), or with isCodePage 0
// from a Macintosh text encoding: 0 Roman, 1 Japanese, 7 Cyrillic, 1056, 1280 and
// 1282 for the code pages 932, 1252 and 1251; any other gives the empty text.
U_EXPORT U_UTF16String U_ConvertEncodedStringToUnicode(unsigned char isCodePage,
                                                       unsigned int encoding, const char* text);

// The active code page.
U_EXPORT unsigned int U_GetPlatformSpecificCurrentTextEncodingForSerialization();

// Whether texts are kept to characters that double-byte scripts have: the
// system's script is one, and no translation is in use. The answer is kept until
// the library is born or dies, a dictionary is loaded, also in vain, or English
// is chosen.
U_EXPORT bool U_DoubleByteSafeMode();

// The type of the byte at an offset, in bytes: 0 for a character of its own, -1
// for a character's first byte, 1 for its last, 2 for one between. Only bytes up
// to that one are looked at.
U_EXPORT int U_CharByte(const char* text, int offset);

// The same in the encoding of a Macintosh script number.
U_EXPORT int U_CharByteFromScript(const char* text, int offset, short script);

// Cut *text to at most count units, or to bytes; a character stays whole or
// goes, in UTF-8 by its sequence, in UTF-16 by its surrogate pair. In UTF-8 that
// has to be cut what is no character becomes U+FFFD.
U_EXPORT void U_TruncateStringToNumChars(U_UTF16String* text, unsigned int count);
U_EXPORT void U_TruncateStringToByteSize(U_UTF16String* text, unsigned int bytes);
U_EXPORT void U_TruncateStringToByteSize(U_UTF8String* text, unsigned int bytes);

// Writes text as UTF-8 with a terminator, cut at a character to fit size bytes.
// A size of 0 writes nothing.
U_EXPORT void U_CopyToUTF8Buf(const U_UTF16String& text, size_t size, unsigned char* out);

// Appends the pieces of text between the occurrences of separator, both of which may be
// among the parts. Empty pieces count: there is always one more than occurrences. An
// empty separator, which a caller shouldn't give, occurs nowhere.
U_EXPORT void U_SplitUTF16String(const U_UTF16String& text, const U_UTF16String& separator,
                                 std::vector<U_UTF16String>& parts);

#endif
