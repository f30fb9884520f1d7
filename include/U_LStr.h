// LStr caches: tables of ZStrings whose texts stay.
//
// For code that wants a const char* that stays valid and costs nothing the
// second time. A table stands in a module's data; each row is resolved on its
// first lookup and then holds its text, also when the language changes, until
// the library dies or the table is unregistered. Texts are in the code page
// that was active when the row was resolved.
//
// Any thread may look rows up, also before birth and after death, but not during them;
// a table that has had all its texts before a birth holds them over death, too. A table is
// registered and unregistered while no other thread uses it. A table must stay
// in memory from its first lookup until the library's death; a module that
// unloads earlier registers its table and unregisters the copy.

#ifndef U_LSTR_H
#define U_LSTR_H

#include "U_Types.h"

// Flags of a table.
enum : U_u32
{
    U_LStrCache_HeapCopy = 2, // made by U_ZRegisterLStrCache
    U_LStrCache_Listed = 4    // cleaned when the library dies; never of a copy
};

// Flags of a row. Owned texts are from malloc.
enum : U_u32
{
    // mLocal is the text itself, in any language. Once looked up it belongs to
    // the table, and goes when the library dies.
    U_LStrRow_Literal = 1,
    U_LStrRow_OwnsZString = 2,
    U_LStrRow_OwnsLocal = 4,
    U_LStrRow_OwnsEnglish = 8
};

struct U_LStrRow
{
    char* mZString;
    char* mLocal;   // in the current language; null until resolved
    char* mEnglish; // null until resolved; a table may come with it filled in
    U_u32 mFlags;
};

struct U_LStrCache
{
    char* mName;
    U_i32 mCount; // with the last row, which has a null mZString and no flags
    U_LStrRow* mRows;
    U_u32 mFlags;
};

// A table that is null, lacks the last row or is both a copy and listed isn't
// valid: each operation then gives 3 and does nothing.

// Stores the number of rows, without the last one. A null length does nothing.
U_EXPORT U_Status U_ZGetLengthLStrCache(U_LStrCache* table, int* length);

// The text of a row, never null: in English if english isn't 0 or no language
// has been chosen yet. "[?]" for an index out of range and for a row without a
// text; *error is 0 then. "[?]" with the code in *error for a table that isn't
// valid and for a text that can't be resolved or stored; the next lookup tries
// again. error may be null. The text belongs to the table. The exception
// that only catch (...) has passes through as U_ZString.h tells.
U_EXPORT const char* U_ZLookupLStrCache(U_LStrCache* table, int index, unsigned short english,
                                        int* error);

// Replaces *table by a heap copy with no row resolved, which its owner gives to
// U_ZUnregisterLStrCache. English texts that the table came with aren't copied.
// What the old table owns is freed, so its rows may be empty afterwards; it
// leaves the list of tables, and one that was a heap copy itself goes altogether.
// Returns 0, or the code of a failure with *table as it was. A null argument does
// nothing.
U_EXPORT U_Status U_ZRegisterLStrCache(U_LStrCache** table);

// Frees a heap copy with its texts and nulls *table. Returns 0, or 3 for any
// other table. A null argument does nothing.
U_EXPORT U_Status U_ZUnregisterLStrCache(U_LStrCache** table);

#endif
