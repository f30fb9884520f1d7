// The list of tables that are cleaned when the library dies.

#ifndef TEXT_LSTR_LIST_H
#define TEXT_LSTR_LIST_H

#include <list>

#include "U_LStr.h"

// Makes and destroys the list, as birth and death do. Making it again does
// nothing. Death cleans the listed tables; one that is no longer valid stops
// that and gives 3: its module is gone, and so may others be.
U_Status U_ZBirthLStrCacheList();
U_Status U_ZDeathLStrCacheList();

// Lists a table once, unless it is a heap copy or there is no list. In two steps, so
// that nothing fails behind the first. Any thread.
class LStrListing
{
public:
    // Throws std::bad_alloc.
    explicit LStrListing(U_LStrCache& table);

    void Enter();

private:
    U_LStrCache& mTable;
    std::list<U_LStrCache*> mEntry; // empty if there is nothing to list
};

// Takes a table off the list, if it is in it. Any thread.
void UnlistLStrCache(U_LStrCache& table);

#endif
