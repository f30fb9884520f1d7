#include "text/LStrList.h"

#include <algorithm>
#include <list>
#include <memory>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "indep/frame/Guard.h"
#include "text/LStrTable.h"

namespace
{
typedef std::list<U_LStrCache*> TableList;

// Guards the list and the flag in each table that says that it is in it. Nothing
// is allocated under it: a new that fails may run a handler that looks texts up
// itself. The list is null before birth and after death. Neither is ever
// destroyed: threads may still look texts up while the process exits.
boost::mutex& sListLock = *new boost::mutex;
std::unique_ptr<TableList>& sLStrCacheList = *new std::unique_ptr<TableList>;

bool IsToBeListed(U_LStrCache& table)
{
    return !(LoadField(table.mFlags) & (U_LStrCache_HeapCopy | U_LStrCache_Listed));
}

bool ThereIsAList()
{
    boost::lock_guard<boost::mutex> lock(sListLock);
    return sLStrCacheList != nullptr;
}

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
        auto list = std::make_unique<TableList>();
        boost::lock_guard<boost::mutex> lock(sListLock);
        if (!sLStrCacheList)
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

LStrListing::LStrListing(U_LStrCache& table) : mTable(table)
{
    if (IsToBeListed(table) && ThereIsAList())
        mEntry.push_back(&table);
}

void LStrListing::Enter()
{
    if (mEntry.empty())
        return;
    boost::lock_guard<boost::mutex> lock(sListLock);
    if (!sLStrCacheList || !IsToBeListed(mTable)) // another thread was first
        return;
    sLStrCacheList->splice(sLStrCacheList->end(), mEntry);
    AddFlags(mTable.mFlags, U_LStrCache_Listed);
}

void UnlistLStrCache(U_LStrCache& table)
{
    boost::lock_guard<boost::mutex> lock(sListLock);
    if (sLStrCacheList)
        sLStrCacheList->remove(&table);
    RemoveFlags(table.mFlags, U_LStrCache_Listed);
}
