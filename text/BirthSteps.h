// The steps of birth and death for texts.

#ifndef TEXT_BIRTH_STEPS_H
#define TEXT_BIRTH_STEPS_H

#include "U_Types.h"

// Create and destroy the list of LStr tables that death cleans. A second birth does nothing.
// Death stops at the first table that is no longer valid and returns 3: the module of that
// table is unloaded, and the modules of the tables after it may be unloaded too.
U_Status U_ZBirthLStrCacheList();
U_Status U_ZDeathLStrCacheList();

// Looks up the system function that lists date formats, which a system may lack.
void Up_DateBirth();

// Reads the marks of the user's locale for U_DecimalChar and U_ThousandsChar.
void Up_ReadNumberSeparators();

#endif
