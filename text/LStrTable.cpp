#include "text/LStrTable.h"

#include <cstdlib>

namespace
{
void CleanRow(U_LStrRow& row)
{
    // One text may stand in several slots: it is freed once, by the first that
    // owns it. All is told before anything is freed.
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
        for (char** slot : {&row.mZString, &row.mLocal, &row.mEnglish})
        {
            if (*slot == text)
                *slot = nullptr;
        }
        std::free(text);
    }
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
