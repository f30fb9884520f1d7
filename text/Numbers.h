// The marks in numbers, for birth.

#ifndef TEXT_NUMBERS_H
#define TEXT_NUMBERS_H

#include "U_Types.h"

// Reads the marks of the user's locale for U_DecimalChar and U_ThousandsChar.
// Always 0.
U_Status Up_ReadNumberSeparators();

#endif
