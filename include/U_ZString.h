// ZStrings and the language of texts.
//
// A ZString is one literal with a key and the English text, such as
// "$$$/QX/U/ByteSizeFormat/GigaBytes=GB". Resolving a ZString returns the text that the
// dictionary of the current language stores for the key. If the dictionary lacks the key, the
// result is the English text.
//
//     static char16_t german[] = u"\uFEFF$$$/Host/Ready=Bereit\n"; // read from a file
//     U_ZStringSetCurrentDictionary(reinterpret_cast<U_u16*>(german),
//                                   sizeof(german) - sizeof(char16_t));
//     U_UTF16String translated = U_ZStringToUTF16String("$$$/Host/Ready=Ready"); // "Bereit"
//     std::string english = U_ZStringToMBString("$$$/Host/Quit=Quit");           // "Quit"
//
// The English text is UTF-8 with notations that are expanded:
//
// - ^ and \ begin escapes. A parameter of U_SubString such as ^1 is written ^^1.
// - #{eacute} and #{U+20AC} are characters by name and by number.
// - {{*MSWindows*}} drops itself and the text before it.
// - {{*COMMENT*}} drops itself and the text after it.
// - {{*CopyYear*}} becomes the year of the library's build.
//
// A dictionary stores texts that are expanded already, apart from the three markers. On a
// system with a double-byte script U+2206 becomes U+0394, unless a language other than English
// is in use.
//
// A ZString never fails to resolve. The result is empty for null, for "", for a text that
// begins with "$" but not with "$$$", and if neither the dictionary nor the ZString has a text.
//
// Thread safety: any thread may resolve, also before birth and after death. A language is
// chosen, and the locale created and destroyed, while no other thread resolves.

#ifndef U_ZSTRING_H
#define U_ZSTRING_H

#include <cstddef>
#include <string>

#include "U_Types.h"

// Resolve a ZString in the current language or in English.
//
// Throws: std::bad_alloc.
U_EXPORT U_UTF16String U_ZStringToUTF16String(const char* zstring);
U_EXPORT U_UTF16String U_ZStringToEnglishUTF16String(const char* zstring);

// Resolve a ZString to multibyte text in the active code page.
//
// Throws: std::bad_alloc; int as U_UTF16ToMBString does.
U_EXPORT std::string U_ZStringToMBString(const char* zstring);
U_EXPORT std::string U_ZStringToEnglishMBString(const char* zstring);

// Resolve a ZString into a buffer of `size` bytes, in the current language and the active code
// page. A text that is too long is cut at a character, which is no error.
//
// Returns: U_ZStringToMBRaw returns 0, or an error code; then `out` is unchanged.
// Throws: U_ZStringToCStr throws as U_ZStringToMBString does.
// Failures: if the system refuses to convert the English text, an exception of a type that no
//   header declares passes through these two functions and all functions above. Only a text
//   beyond 2 GiB is refused. Catch the exception by catch (...).
U_EXPORT void U_ZStringToCStr(const char* zstring, unsigned int size, char* out);
U_EXPORT U_Status U_ZStringToMBRaw(const char* zstring, unsigned int size, char* out);

// Returns true if `text` begins with "$$$".
U_EXPORT bool U_IsZstr(const std::string& text);

// Loads a dictionary image of `size` bytes and chooses its language. The image is in binary or
// text form. The text form is UTF-16 with a byte-order mark, or else multibyte text in the
// active code page. If an earlier image has the same key, the new text replaces the old one.
//
// Ownership: `data` must stay valid and unchanged until the library's death. Keys of old binary
// forms are not copied.
//
// Returns: 0, also if no locale exists, and for a damaged image.
//
// Forms do not mix freely:
// - The first image of version 2 permanently hides the texts of other forms that were loaded
//   before it. Later images of version 2 merge with all texts in use.
// - An image of version 1 has no effect after an image of version 2.
// - The text form may be loaded over any form.
//
// Failures:
// - A damaged image chooses a language too. Version 2 loads nothing, version 1 the texts
//   before the damage, the text form all but the damaged lines. No image, and an image of
//   2 GiB or more, count as damaged.
// - If memory runs out, the result is an error code, which is not reported. Texts loaded until
//   then are kept, and no language is chosen.
// - If the system refuses to convert text in the active code page, the exception described at
//   U_ZStringToMBRaw is thrown. Texts loaded until then are kept, and no language is chosen.
U_EXPORT U_Status U_ZStringSetCurrentDictionary(U_u16* data, size_t size);

// Compressed images are not supported. Returns: always 1.
U_EXPORT U_Status U_ZStringSetCurrentDictionaryCompressed(void* data, size_t size);

// Chooses English until the library's death. Dictionaries are loaded but not used from then
// on. Does nothing if no locale exists.
//
// Returns: always 0.
U_EXPORT U_Status U_ZStringSetEnglish();

// Returns true if a language has been chosen since birth.
U_EXPORT bool U_ZLocaleAlive();

// Create and destroy the locale object. Birth and death call these functions. A second call
// does nothing.
//
// Returns: always 0.
// Throws: U_ZLocaleBirth throws std::bad_alloc.
U_EXPORT U_Status U_ZLocaleBirth();
U_EXPORT U_Status U_ZLocaleDeath();

// For close neighbours.

// Converts to the active code page, as U_UTF16ToMBString does without `exact`.
U_EXPORT std::string Up_HDT_ConvertToMB(const U_UTF16String& text);

// Reports a text without a location, as U_ReportError does.
U_EXPORT void Up_HDT_ReportErr(unsigned short severity, const U_UTF16String& text);

// For debugging. Returns true if `zstring` begins with "$". Any other text is logged under the
// tag "Invalid ZString". Null returns false and is not logged.
U_EXPORT bool Up_IsValidZString(const char* zstring);

#endif
