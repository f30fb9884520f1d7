// Damage to the library's record, which is to be found before it is used.

#ifndef TESTS_SUPPORT_DAMAGED_RECORD_H
#define TESTS_SUPPORT_DAMAGED_RECORD_H

#include <vector>

#include "U_Types.h"

// The places of the magic numbers at both ends of the record. Empty if the
// library isn't alive.
std::vector<U_u32*> FindMagicNumbers();

// Spoils one of the magic numbers, and mends it when the scope ends.
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
