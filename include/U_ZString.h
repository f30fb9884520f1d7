// ZStrings and the language.
//
// A ZString is one literal with a key and the English text, such as
// "$$$/QX/U/ByteSizeFormat/GigaBytes=GB". To resolve it is to look the key up
// in the dictionary of the current language, to take the English text (UTF-8)
// if it isn't there, and to expand the notations of that text: ^ and \ escapes,
// #{name} and #{U+20AC} characters, and the markers {{*MSWindows*}},
// {{*COMMENT*}} and {{*CopyYear*}}. A dictionary's text has been expanded when its
// dictionary was made, apart from the markers. A text never fails to resolve: without a
// default it is empty, as are those of null, of "" and of what begins with "$" but not
// with "$$$". Parameters such as ^1, written ^^1, stay for U_SubString. On a system with a
// double-byte script U+2206 gives way to U+0394, unless a language other than English is in use.
//
// Any thread may resolve, also before birth and after death. The language is
// chosen on one thread while no other resolves, and birth and death run so, too.

#ifndef U_ZSTRING_H
#define U_ZSTRING_H

#include <cstddef>
#include <string>

#include "U_Types.h"

// Resolves, in the current language or in English. All but U_ZStringToMBRaw throw
// std::bad_alloc.
U_EXPORT U_UTF16String U_ZStringToUTF16String(const char* zstring);
U_EXPORT U_UTF16String U_ZStringToEnglishUTF16String(const char* zstring);

// The same in the active code page. Throw an int as U_UTF16ToMBString does.
U_EXPORT std::string U_ZStringToMBString(const char* zstring);
U_EXPORT std::string U_ZStringToEnglishMBString(const char* zstring);

// The same into a buffer of size bytes; a text that is too long is cut at a
// character. U_ZStringToMBRaw returns 0, or the code of a failure with out
// untouched. If the system refuses to convert a default text, which takes one
// beyond 2 GiB, an exception of a type that no header declares passes through all of
// these: catch (...) has it.
U_EXPORT void U_ZStringToCStr(const char* zstring, unsigned int size, char* out);
U_EXPORT U_Status U_ZStringToMBRaw(const char* zstring, unsigned int size, char* out);

// Whether text begins with "$$$".
U_EXPORT bool U_IsZstr(const std::string& text);

// Loads a dictionary, size bytes of binary or text form, over the one in use: keys that
// both have get the new text. The text form is UTF-16 with a byte-order mark, or else in
// the active code page. Keys of old binary forms aren't copied, so data must stay as
// long as the library lives. Forms don't mix freely: an image of version 2 hides all
// texts of other forms from before, for good, and one of version 1 behind it has no
// effect. Text goes over either.
//
// Returns 0, also without a locale, and for a damaged image (none, or one of 2 GiB
// and more, counts as one). That is a choice of language all the same. Of version 2
// nothing of it is taken, of version 1 what stands in front of the damage, of text
// all but the damaged lines.
//
// Returns the code of a failure if memory runs out, which isn't told: what had been replaced or
// added by then stays, and no language has been chosen by it. So does text in the
// active code page that the system refuses to convert, which throws as above.
U_EXPORT U_Status U_ZStringSetCurrentDictionary(U_u16* data, size_t size);

// Compressed images aren't supported: always 1.
U_EXPORT U_Status U_ZStringSetCurrentDictionaryCompressed(void* data, size_t size);

// Chooses English, for good. Always 0.
U_EXPORT U_Status U_ZStringSetEnglish();

// Whether a language has been chosen.
U_EXPORT bool U_ZLocaleAlive();

// Makes and destroys the locale object, as birth and death do, while no other thread
// resolves; a second call does nothing. Always 0; without memory the first throws std::bad_alloc.
U_EXPORT U_Status U_ZLocaleBirth();
U_EXPORT U_Status U_ZLocaleDeath();

// For close neighbours.

// To the active code page, as U_UTF16ToMBString without exact.
U_EXPORT std::string Up_HDT_ConvertToMB(const U_UTF16String& text);

// Reports a text without a location, as U_ReportError does.
U_EXPORT void Up_HDT_ReportErr(unsigned short severity, const U_UTF16String& text);

// For debugging: whether zstring begins as one, with "$". Logs one that doesn't
// under the tag "Invalid ZString". False, without a line, for null.
U_EXPORT bool Up_IsValidZString(const char* zstring);

#endif
