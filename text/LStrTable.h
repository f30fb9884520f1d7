// Tables of LStr caches: what makes one valid, and how one is cleaned.

#ifndef TEXT_LSTR_TABLE_H
#define TEXT_LSTR_TABLE_H

#include <boost/atomic/atomic_ref.hpp>

#include "U_LStr.h"

// Slots and flags are plain fields of a module's data that several threads read
// and fill.
template <class Field> Field LoadField(Field& field)
{
    return boost::atomic_ref<Field>(field).load(boost::memory_order_acquire);
}

inline void AddFlags(U_u32& flags, U_u32 added)
{
    boost::atomic_ref<U_u32>(flags).fetch_or(added, boost::memory_order_release);
}

inline void RemoveFlags(U_u32& flags, U_u32 removed)
{
    boost::atomic_ref<U_u32>(flags).fetch_and(~removed, boost::memory_order_release);
}

inline bool IsValidLStrCache(U_LStrCache* table)
{
    const U_u32 kUnusable = U_LStrCache_HeapCopy | U_LStrCache_Listed;
    if (!table || !table->mRows || table->mCount < 1 ||
        (LoadField(table->mFlags) & kUnusable) == kUnusable)
        return false;
    const U_LStrRow& last = table->mRows[table->mCount - 1];
    return !last.mZString && !last.mFlags;
}

// Frees what the table's rows own, and of a heap copy the rows and the name.
void CleanLStrCache(U_LStrCache& table);

#endif
