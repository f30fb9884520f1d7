// Tables of LStr caches: validity, cleaning, and the list of tables that death cleans.

#ifndef TEXT_LSTR_TABLE_H
#define TEXT_LSTR_TABLE_H

#include <list>

#include <boost/atomic/atomic_ref.hpp>

#include "U_LStr.h"

// The fields of rows and tables are plain data of a module that several threads read and
// write at once.
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

// Frees the texts that the rows of a table own. Of a heap copy frees the rows and the name too.
// REQUIRES: no other thread uses the table.
void CleanLStrCache(U_LStrCache& table);

// Puts a table on the list of tables that death cleans, once, unless the table is a heap copy
// or no list exists. The constructor allocates, so that Enter cannot fail. Thread-safe.
class LStrListing
{
public:
    // Throws: std::bad_alloc.
    explicit LStrListing(U_LStrCache& table);

    void Enter();

private:
    U_LStrCache& mTable;
    std::list<U_LStrCache*> mEntry; // empty if the table needs no entry
};

// Removes a table from the list, if the table is on the list. Thread-safe.
void UnlistLStrCache(U_LStrCache& table);

#endif
