// The literal that names a text in the source, such as "$$$/QX/Greeting=Hello".

#ifndef HOLLIN_PRIVATE_ZSTRING_LITERAL_H
#define HOLLIN_PRIVATE_ZSTRING_LITERAL_H

#include "hollin_private/ByteRun.h"

namespace hollin_private
{
struct ZStringLiteral
{
    ByteRun mKey;                       // up to the first "="
    const char* mDefaultText = nullptr; // terminated; empty if there is none
};

// False for null, for the empty text, and for what begins with "$" but not with
// "$$$". The parts point into text.
bool ParseZString(const char* text, ZStringLiteral* literal);
} // namespace hollin_private

#endif
