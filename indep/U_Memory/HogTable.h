// The registered hogs and their counts.

#ifndef INDEP_U_MEMORY_HOGTABLE_H
#define INDEP_U_MEMORY_HOGTABLE_H

#include "U_Types.h"

// For birth and death. Birth returns 0, or 4 with no table; death always 0.
U_Status Up_HogBirth();
U_Status Up_TerminateHogs();

// An identifier hides the index, so that a small number that strays in isn't
// taken for one. Each turns into the other.
inline U_u32 HogIndexOrId(U_u32 indexOrId)
{
    return indexOrId ^ 0x31415926;
}

// Whether a hog stands at the index. Takes no lock.
bool IsHog(U_u32 index);

// Adds to the counts of a hog, modulo 2^32.
void CountHog(U_u32 index, U_u32 handles, U_u32 bytes);

// Reports a bad identifier, or a handle that tells none, and returns 2.
U_Status RefuseHog(U_u32 location);

#endif
