// The registered hogs and their counts.

#ifndef INDEP_U_MEMORY_HOG_TABLE_H
#define INDEP_U_MEMORY_HOG_TABLE_H

#include "U_Types.h"
#include "indep/U_Memory/HogCounts.h"

// For birth and death. Birth returns 0, or 4 with no table.
U_Status Up_HogBirth();
void Up_TerminateHogs();

// An identifier hides the index, so that a small number that strays in isn't
// taken for one. Each turns into the other.
inline U_u32 HogIndexOrId(U_u32 indexOrId)
{
    return indexOrId ^ 0x31415926;
}

// Whether a hog stands at the index. Takes no lock.
bool IsHog(U_u32 index);

// Adds to what lives of a hog under the table's lock.
void CountWithoutCell(U_u32 index, HogTally more);

// Count what has been made of a hog, and what has gone: handles, and bytes of their
// data. Take no lock, but for a thread's first handles and where it has no memory for
// a share of the counts.
[[gnu::always_inline]] inline void CountMade(U_u32 index, U_u64 handles, U_u64 bytes)
{
    if (HogCell* const cell = MyHogCell(index))
        cell->AddMade(TallyOf(handles, bytes));
    else
        CountWithoutCell(index, TallyOf(handles, bytes));
}

[[gnu::always_inline]] inline void CountGone(U_u32 index, U_u64 handles, U_u64 bytes)
{
    if (HogCell* const cell = MyHogCell(index))
        cell->AddGone(TallyOf(handles, bytes));
    else
        CountWithoutCell(index, 0 - TallyOf(handles, bytes));
}

// Reports a bad identifier, or a handle that tells none, and returns 2.
U_Status RefuseHog(U_u32 location);

#endif
