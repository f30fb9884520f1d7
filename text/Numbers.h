// The marks in numbers, for birth.

#ifndef TEXT_NUMBERS_H
#define TEXT_NUMBERS_H

// Reads the marks of the user's locale for U_DecimalChar and U_ThousandsChar.
void Up_ReadNumberSeparators();

#endif
