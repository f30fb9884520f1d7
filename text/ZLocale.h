// The locale: the dictionaries that ZStrings are resolved with.

#ifndef TEXT_ZLOCALE_H
#define TEXT_ZLOCALE_H

#include <boost/thread/recursive_mutex.hpp>

#include "U_Types.h"
#include "hollin/Dictionary.h"

struct U_ZLocale
{
    hollin::Dictionary mCurrent;       // the current language
    const hollin::Dictionary mEnglish; // stays empty: the texts carry their English
    bool mAlive = false;               // a language has been chosen
    bool mEnglishMode = false;         // it is English; never set back

    // Held while a text is looked up in either dictionary. The fields above
    // change only while no other thread resolves.
    boost::recursive_mutex mLock;
};

// Null before birth and after death.
U_ZLocale* ZLocale();

// Changes whenever a text may resolve to another one: at birth and death, and with
// each choice of a language. Any thread.
U_u32 ZLocaleGeneration();

#endif
