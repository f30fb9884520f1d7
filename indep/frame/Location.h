// Where in the library a report comes from.

#ifndef INDEP_FRAME_LOCATION_H
#define INDEP_FRAME_LOCATION_H

#include "U_Types.h"

// The library in location codes; a place within it goes into the low half.
const U_u32 kModule = 0x170000;

#endif
