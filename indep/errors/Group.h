// What the report path needs to know of grouped messages.

#ifndef INDEP_ERRORS_GROUP_H
#define INDEP_ERRORS_GROUP_H

#include <cstddef>

#include "U_Types.h"

// Whether the tag of grouped messages stands anywhere in the text, and where it
// first does. position may be null; it stays without a tag. Throws nothing for want
// of memory.
bool Up_HasGroupTag(const U_UTF16String& text, std::size_t* position = nullptr);

#endif
