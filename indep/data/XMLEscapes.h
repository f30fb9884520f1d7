// The tables of escaped characters, for birth.

#ifndef INDEP_DATA_XML_ESCAPES_H
#define INDEP_DATA_XML_ESCAPES_H

#include "U_Types.h"

// Fills the tables, which stay for good. Returns 0; throws std::bad_alloc.
U_Status Up_MakeXMLEscapes();

#endif
