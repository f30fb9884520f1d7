// The locale, and the resolution of ZStrings inside the library.

#ifndef TEXT_ZSTRING_H
#define TEXT_ZSTRING_H

#include "U_Types.h"

#include "hollin/Dictionary.h"

// Thread safety: any number of threads may look texts up at once, since a look-up at most adds an
// index of keys to a bucket, in one atomic step. The fields and the dictionary's texts change only
// while no thread resolves.
struct U_ZLocale
{
    hollin::Dictionary mCurrent;       // the current language
    const hollin::Dictionary mEnglish; // always empty: a ZString carries its English text
    bool mAlive = false;               // a language has been chosen
    bool mEnglishMode = false;         // English has been chosen; never reset
};

// Returns null before birth and after death.
U_ZLocale* ZLocale();

// Changes whenever a ZString may resolve to another text: at birth, at death and with each
// choice of a language. Thread-safe.
U_u32 ZLocaleGeneration();

// Resolves a ZString, which may be null, in the current language or in English. Thread-safe,
// also before birth and after death.
U_UTF16String ResolveZString(const char* zstring, bool forceEnglish);

// Resolves a ZString in the current language through a cache of the calling thread: a ZString
// that the thread has resolved before in the same language takes no lock. Without memory for
// a cache entry the text is resolved each time. A failure of operator new is not reported.
//
// Thread safety: thread-safe, also before birth and after death.
// REQUIRES: `zstring` is a literal. The cache compares addresses.
U_UTF16String CachedText(const char* zstring);

#endif
