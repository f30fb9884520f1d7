// The registered hogs and their counts.

#ifndef INDEP_U_MEMORY_HOG_TABLE_H
#define INDEP_U_MEMORY_HOG_TABLE_H

#include "U_Types.h"

// For birth and death. Birth returns 0, or 4 with no table.
U_Status Up_HogBirth();
void Up_TerminateHogs();

// Converts an index to an identifier, and an identifier to an index. No small number is an
// identifier, so a stray number is refused.
inline U_u32 HogIndexOrId(U_u32 indexOrId)
{
    return indexOrId ^ 0x31415926;
}

// Returns whether a hog is registered at the index. Takes no lock.
bool IsHog(U_u32 index);

// Adds to the live handles of a hog and to the bytes of their data. Takes no lock.
void CountHog(U_u32 index, U_i64 handles, U_i64 bytes);

// Reports a bad identifier, or a handle without one, and returns 2.
U_Status RefuseHog(U_u32 location);

#endif
