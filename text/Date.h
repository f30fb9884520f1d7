// What birth does for dates.

#ifndef TEXT_DATE_H
#define TEXT_DATE_H

#include "U_Types.h"

// Looks up what lists the system's forms of dates, which it may lack. Always 0.
U_Status Up_DateBirth();

#endif
