#include "text/LStrTable.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include <platform/base/locks.h>

#include "indep/frame/Guard.h"
#include "text/BirthSteps.h"

namespace
{
typedef std::list<U_LStrCache*> TableList;

// Guards the list and the flag U_LStrCache_Listed of each table. No allocation is made under
// this lock: if the heap refuses a block, a new handler may look texts up itself.
platform::Mutex sListLock;

// Null before birth and after death. The pointer is never destroyed: threads may still look
// texts up while the process exits.
std::unique_ptr<TableList>&
    sLStrCacheList PLATFORM_GUARDED_BY(sListLock) = *new std::unique_ptr<TableList>;

void CleanRow(U_LStrRow& row)
{
    // Several fields may point at one text, which the first field that owns the text frees.
    // All owners are determined before any text is freed.
    const bool ownsLocal = (row.mFlags & U_LStrRow_OwnsLocal) && row.mLocal != row.mZString;
    const bool ownsEnglish = (row.mFlags & U_LStrRow_OwnsEnglish) && row.mEnglish != row.mZString &&
                             row.mEnglish != row.mLocal;
    char* const owned[] = {
        row.mFlags & U_LStrRow_OwnsZString ? row.mZString : nullptr,
        ownsLocal ? row.mLocal : nullptr,
        ownsEnglish ? row.mEnglish : nullptr,
    };
    for (char* text : owned)
    {
        for (char** field : {&row.mZString, &row.mLocal, &row.mEnglish})
        {
            if (*field == text)
                *field = nullptr;
        }
        std::free(text);
    }
}

bool IsToBeListed(U_LStrCache& table)
{
    return !(LoadField(table.mFlags) & (U_LStrCache_HeapCopy | U_LStrCache_Listed));
}

bool ListExists()
{
    const platform::ScLock lock(sListLock);
    return sLStrCacheList != nullptr;
}

void CleanListed(U_LStrCache* table)
{
    if (!IsValidLStrCache(table))
        throw static_cast<int>(U_Err_BadParameter);
    CleanLStrCache(*table);
    // After the next birth a lookup lists the table again.
    RemoveFlags(table->mFlags, U_LStrCache_Listed);
}
} // namespace

void CleanLStrCache(U_LStrCache& table)
{
    for (U_i32 i = 0; i < table.mCount; ++i)
        CleanRow(table.mRows[i]);
    if (!(table.mFlags & U_LStrCache_HeapCopy))
        return;
    delete[] table.mRows;
    table.mRows = nullptr;
    std::free(table.mName);
    table.mName = nullptr;
}

U_Status U_ZBirthLStrCacheList()
{
    return Guarded([] {
        auto list = std::make_unique<TableList>();
        const platform::ScLock lock(sListLock);
        if (!sLStrCacheList)
            sLStrCacheList = std::move(list);
    });
}

U_Status U_ZDeathLStrCacheList()
{
    return Guarded([] {
        const platform::ScLock lock(sListLock);
        const std::unique_ptr<TableList> list = std::move(sLStrCacheList);
        if (list)
            std::for_each(list->begin(), list->end(), &CleanListed);
    });
}

LStrListing::LStrListing(U_LStrCache& table) : mTable(table)
{
    if (IsToBeListed(table) && ListExists())
        mEntry.push_back(&table);
}

void LStrListing::Enter()
{
    if (mEntry.empty())
        return;
    const platform::ScLock lock(sListLock);
    if (!sLStrCacheList || !IsToBeListed(mTable)) // listed by another thread
        return;
    sLStrCacheList->splice(sLStrCacheList->end(), mEntry);
    AddFlags(mTable.mFlags, U_LStrCache_Listed);
}

void UnlistLStrCache(U_LStrCache& table)
{
    const platform::ScLock lock(sListLock);
    if (sLStrCacheList)
        sLStrCacheList->remove(&table);
    RemoveFlags(table.mFlags, U_LStrCache_Listed);
}
