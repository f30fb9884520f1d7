// The parts of a PO file that gettext's library does not report: the places of the messages, and
// the flags that it has no function for.

#ifndef ZDICT_EXCHANGE_PO_PLACES_H
#define ZDICT_EXCHANGE_PO_PLACES_H

#include <string>
#include <vector>

#include "exchange/catalogue.h"

struct POMessagePlace
{
    Place mPlace;       // of the keyword msgid
    std::string mFlags; // separated by commas
};

struct POPlaces
{
    std::vector<POMessagePlace> mMessages; // in the order of the file, with the header
    Place mDomain;                         // of the first directive "domain"
};

// Finds the messages of a PO file in an ASCII-compatible charset. The content need not be sound.
POPlaces FindMessages(const std::vector<unsigned char>& bytes);

#endif
