// LStr caches: tables of ZStrings that are resolved once and then stay valid.
//
// For code that needs a const char* which remains valid and costs nothing on later uses. A
// table is static data of a module. Each row is resolved on its first lookup and keeps its
// text, also when the language changes, until the library dies or the table is unregistered.
// Texts are in the code page that was active when the row was resolved.
//
//     static char name[] = "Host", ready[] = "$$$/Host/Ready=Ready";
//     static U_LStrRow rows[] = {{ready, nullptr, nullptr, 0}, {nullptr, nullptr, nullptr, 0}};
//     static U_LStrCache table = {name, 2, rows, 0};
//     const char* text = U_ZLookupLStrCache(&table, 0, 0, nullptr); // "Ready"
//
// A table must stay in memory from its first lookup until the library's death. A module that
// unloads earlier registers its table, uses the copy, and unregisters the copy.
//
// Thread safety: any thread may look rows up, also before birth and after death, but not during
// birth or death. A table is registered and unregistered while no other thread uses the table.

#ifndef U_LSTR_H
#define U_LSTR_H

#include "U_Types.h"

// Flags of a table.
enum : U_u32
{
    U_LStrCache_HeapCopy = 2, // made by U_ZRegisterLStrCache
    U_LStrCache_Listed = 4    // cleaned at the library's death; never set in a heap copy
};

// Flags of a row. Owned texts are allocated by malloc.
enum : U_u32
{
    // mLocal is the text itself, for every language. The first lookup that finds mEnglish null
    // replaces mLocal by an owned copy, which death frees and sets to null.
    U_LStrRow_Literal = 1,
    U_LStrRow_OwnsZString = 2,
    U_LStrRow_OwnsLocal = 4,
    U_LStrRow_OwnsEnglish = 8
};

// One text of a table.
struct U_LStrRow
{
    char* mZString; // the key and the English text; null in the last row
    char* mLocal;   // in the current language; null until resolved
    char* mEnglish; // null until resolved; a module may fill in the English text
    U_u32 mFlags;   // of U_LStrRow_Literal and its neighbours
};

// A table of texts.
struct U_LStrCache
{
    char* mName;      // of the module, for people who debug
    U_i32 mCount;     // rows, with the last row, whose mZString is null and which has no flags
    U_LStrRow* mRows; // as many as mCount
    U_u32 mFlags;     // of U_LStrCache_HeapCopy and its neighbour
};

// A table is invalid if it is null, lacks the last row, or is both a heap copy and listed. Each
// function then reports the code 3 to its caller and has no other effect, unless a null pointer
// makes the call do nothing.

// Returns the text of a row, which is never null: in English if `english` is not 0 or no
// language has been chosen, otherwise in the current language. *error is set to 0 or to an
// error code; `error` may be null.
//
// Ownership: the text belongs to the table. A table whose rows were all resolved before a birth
// keeps its texts over the next death.
// Returns: "[?]", with 0 in *error, for an index out of range and for a row without a text.
// Failures:
// - "[?]", with a code in *error, for an invalid table and for a text that cannot be resolved
//   or stored. The next lookup of the row tries again.
// - The exception that U_ZStringToMBRaw describes passes through.
U_EXPORT const char* U_ZLookupLStrCache(U_LStrCache* table, int index, unsigned short english,
                                        int* error);

// Stores the number of rows, without the last row.
//
// Returns: 0, also if `length` is null, which has no effect.
U_EXPORT U_Status U_ZGetLengthLStrCache(U_LStrCache* table, int* length);

// Replaces *table by a heap copy in which no row is resolved. English texts that the module
// filled in are not copied. The owner of the copy passes it to U_ZUnregisterLStrCache.
//
// Texts that the old table owns are freed, so its rows may be empty afterwards. Death no longer
// cleans the old table. If the old table is a heap copy, the table itself is freed too.
//
// Returns: 0, also if `table` is null, which has no effect; or an error code, with *table
//   unchanged.
U_EXPORT U_Status U_ZRegisterLStrCache(U_LStrCache** table);

// Frees a heap copy with its texts and sets *table to null.
//
// Returns: 0, also if `table` is null, which has no effect; 3 for a table that is no heap copy.
U_EXPORT U_Status U_ZUnregisterLStrCache(U_LStrCache** table);

#endif
