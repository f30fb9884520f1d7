// Damage to the library's record. The library must detect it before it uses the record.

#ifndef TESTS_SUPPORT_DAMAGED_RECORD_H
#define TESTS_SUPPORT_DAMAGED_RECORD_H

#include <vector>

#include "U_Types.h"

// Returns the addresses of the magic numbers at both ends of the record; none between death and
// birth.
std::vector<U_u32*> FindMagicNumbers();

// Changes one of the magic numbers until the scope ends.
class ScDamagedRecord
{
public:
    explicit ScDamagedRecord(U_u32* magicNumber) : mNumber(magicNumber) { *mNumber ^= 1; }
    ~ScDamagedRecord() { *mNumber ^= 1; }
    ScDamagedRecord(const ScDamagedRecord&) = delete;
    ScDamagedRecord& operator=(const ScDamagedRecord&) = delete;

private:
    U_u32* mNumber;
};

#endif
