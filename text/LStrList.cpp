#include "text/LStrList.h"

#include <algorithm>
#include <memory>
#include <vector>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <quiet_new.h>

#include "indep/frame/Guard.h"
#include "text/LStrTable.h"

namespace
{
typedef std::vector<U_LStrCache*> TableList;

const std::size_t kFirstRoom = 1000; // tables

// Guards the list and the flag in each table that says that it is in it. Null
// before birth and after death. Neither is ever destroyed: threads may still
// look texts up while the process exits.
boost::mutex& sListLock = *new boost::mutex;
std::unique_ptr<TableList>& sLStrCacheList = *new std::unique_ptr<TableList>;

void CleanListed(U_LStrCache* table)
{
    if (!IsValidLStrCache(table))
        throw static_cast<int>(U_Err_BadParameter);
    CleanLStrCache(*table);
    // The next life lists it anew.
    RemoveFlags(table->mFlags, U_LStrCache_Listed);
}
} // namespace

U_Status U_ZBirthLStrCacheList()
{
    return Guarded([] {
        const platform::ScQuietLock<boost::mutex> lock(sListLock);
        if (sLStrCacheList)
            return;
        auto list = std::make_unique<TableList>();
        list->reserve(kFirstRoom);
        sLStrCacheList = std::move(list);
    });
}

U_Status U_ZDeathLStrCacheList()
{
    return Guarded([] {
        boost::lock_guard<boost::mutex> lock(sListLock);
        const std::unique_ptr<TableList> list = std::move(sLStrCacheList);
        if (list)
            std::for_each(list->begin(), list->end(), &CleanListed);
    });
}

void ListLStrCache(U_LStrCache& table)
{
    const U_u32 kDone = U_LStrCache_HeapCopy | U_LStrCache_Listed;
    if (LoadField(table.mFlags) & kDone)
        return;
    const platform::ScQuietLock<boost::mutex> lock(sListLock);
    if (!sLStrCacheList || (LoadField(table.mFlags) & kDone)) // another thread was first
        return;
    sLStrCacheList->push_back(&table);
    AddFlags(table.mFlags, U_LStrCache_Listed);
}

void UnlistLStrCache(U_LStrCache& table)
{
    boost::lock_guard<boost::mutex> lock(sListLock);
    if (sLStrCacheList)
        sLStrCacheList->erase(std::remove(sLStrCacheList->begin(), sLStrCacheList->end(), &table),
                              sLStrCacheList->end());
    RemoveFlags(table.mFlags, U_LStrCache_Listed);
}
