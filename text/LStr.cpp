#include "U_LStr.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "U_ZString.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"
#include "text/LStrTable.h"

namespace
{
const char kNoText[] = "[?]";

struct FreeText
{
    void operator()(char* text) const { std::free(text); }
};
typedef std::unique_ptr<char, FreeText> OwnedText;

struct FreeTable
{
    void operator()(U_LStrCache* table) const
    {
        CleanLStrCache(*table);
        delete table;
    }
};
typedef std::unique_ptr<U_LStrCache, FreeTable> HeapCopy;

// Allocated by malloc: a module may own texts of its table too, and those are freed alike.
OwnedText Copy(const char* text)
{
    const std::size_t size = std::strlen(text) + 1;
    OwnedText copy(static_cast<char*>(std::malloc(size)));
    if (!copy)
        throw std::bad_alloc();
    std::memcpy(copy.get(), text, size);
    return copy;
}

// Stores a text in a field that is null. If several threads store at once, the first one wins.
// Returns the text that the field holds afterwards.
char* Publish(char*& field, char* text)
{
    char* present = nullptr;
    return boost::atomic_ref<char*>(field).compare_exchange_strong(
               present, text, boost::memory_order_acq_rel, boost::memory_order_acquire)
               ? text
               : present;
}

// Publishes a copy of a text, which the row owns.
char* PublishCopy(U_LStrRow& row, char*& field, const char* text, U_u32 ownerFlag)
{
    OwnedText copy = Copy(text);
    char* const present = Publish(field, copy.get());
    if (present != copy.get())
        return present;
    AddFlags(row.mFlags, ownerFlag);
    return copy.release();
}

// Both text fields of a literal row hold one copy of the literal.
char* ResolveLiteral(U_LStrRow& row)
{
    const bool owned = LoadField(row.mFlags) & U_LStrRow_OwnsLocal;
    char* const literal = LoadField(row.mLocal);
    if (!literal)
        return nullptr;
    if (owned)
    {
        char* const present = Publish(row.mEnglish, literal);
        AddFlags(row.mFlags, U_LStrRow_OwnsEnglish);
        return present;
    }
    OwnedText copy = Copy(literal);
    char* const present = Publish(row.mEnglish, copy.get());
    if (present != copy.get())
        return present;
    // The module's literal is not freed, so threads that loaded it earlier may go on using it.
    boost::atomic_ref<char*>(row.mLocal).store(copy.release(), boost::memory_order_release);
    AddFlags(row.mFlags, U_LStrRow_OwnsLocal | U_LStrRow_OwnsEnglish);
    return present;
}

// Returns null for a row without a text.
char* ResolveRow(U_LStrRow& row, bool english)
{
    if (LoadField(row.mFlags) & U_LStrRow_Literal)
        return ResolveLiteral(row);
    if (!row.mZString)
        return nullptr;
    if (english)
        return PublishCopy(row, row.mEnglish, U_ZStringToEnglishMBString(row.mZString).c_str(),
                           U_LStrRow_OwnsEnglish);
    return PublishCopy(row, row.mLocal, U_ZStringToMBString(row.mZString).c_str(),
                       U_LStrRow_OwnsLocal);
}

// The first lookup of a row. Out of line, so that later lookups do not pay for its frame.
[[gnu::noinline]] const char* ResolveAndStore(U_LStrCache& table, U_LStrRow& row, bool english,
                                              int* error)
{
    const char* text = nullptr;
    const U_Status failure = Guarded([&] {
        LStrListing listing(table); // a stored text must be cleaned at death
        text = ResolveRow(row, english);
        if (text)
            listing.Enter();
    });
    if (error)
        *error = failure;
    return text ? text : kNoText;
}

void CopyRow(const U_LStrRow& source, U_LStrRow& copy)
{
    copy.mFlags = source.mFlags;
    if (source.mZString)
    {
        copy.mZString = Copy(source.mZString).release();
        copy.mFlags |= U_LStrRow_OwnsZString;
    }
    if ((source.mFlags & U_LStrRow_Literal) && source.mLocal)
    {
        copy.mLocal = Copy(source.mLocal).release();
        copy.mFlags |= U_LStrRow_OwnsLocal;
    }
}

HeapCopy CopyTable(const U_LStrCache& source)
{
    HeapCopy copy(new U_LStrCache());
    copy->mFlags = (source.mFlags & ~U_LStrCache_Listed) | U_LStrCache_HeapCopy;
    copy->mRows = new U_LStrRow[static_cast<std::size_t>(source.mCount)]();
    copy->mCount = source.mCount;
    if (source.mName)
        copy->mName = Copy(source.mName).release();
    for (U_i32 i = 0; i < source.mCount; ++i)
        CopyRow(source.mRows[i], copy->mRows[i]);
    return copy;
}
} // namespace

U_Status U_ZGetLengthLStrCache(U_LStrCache* table, int* length)
{
    if (!length)
        return 0;
    if (!IsValidLStrCache(table))
        return BadArgument("U_ZGetLengthLStrCache: not a table");
    *length = table->mCount - 1;
    return 0;
}

const char* U_ZLookupLStrCache(U_LStrCache* table, int index, unsigned short english, int* error)
{
    const U_Status failure =
        IsValidLStrCache(table) ? 0 : BadArgument("U_ZLookupLStrCache: not a table");
    if (error)
        *error = failure;
    if (failure || index < 0 || index >= table->mCount - 1)
        return kNoText;
    U_LStrRow& row = table->mRows[index];
    const bool useEnglish = english || !U_ZLocaleAlive();
    if (const char* text = LoadField(useEnglish ? row.mEnglish : row.mLocal))
        return text;
    return ResolveAndStore(*table, row, useEnglish, error);
}

U_Status U_ZRegisterLStrCache(U_LStrCache** table)
{
    if (!table)
        return 0;
    if (!IsValidLStrCache(*table))
        return BadArgument("U_ZRegisterLStrCache: not a table");
    return Guarded([&] {
        U_LStrCache* const old = *table;
        *table = CopyTable(*old).release();
        if (old->mFlags & U_LStrCache_HeapCopy)
        {
            FreeTable()(old);
            return;
        }
        // The module of the old table may unload from now on.
        UnlistLStrCache(*old);
        CleanLStrCache(*old);
    });
}

U_Status U_ZUnregisterLStrCache(U_LStrCache** table)
{
    if (!table)
        return 0;
    if (!IsValidLStrCache(*table) || !((*table)->mFlags & U_LStrCache_HeapCopy))
        return BadArgument("U_ZUnregisterLStrCache: not a registered table");
    const HeapCopy ended(std::exchange(*table, nullptr));
    return 0;
}
