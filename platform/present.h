// How a box comes before the user's eyes, for the libraries that have one.

#ifndef PLATFORM_PRESENT_H
#define PLATFORM_PRESENT_H

#include "control.h"

namespace platform
{
// Hands the alert to the presenter, on the calling thread with no lock held.
// Throws what the presenter throws.
void Present(const Alert& alert);
} // namespace platform

#endif
