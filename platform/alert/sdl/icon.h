// The icons of alerts.

#ifndef PLATFORM_ALERT_SDL_ICON_H
#define PLATFORM_ALERT_SDL_ICON_H

#include <kroview/messagebox.h>

#include "sdl.h"

namespace platform
{
// Draws the icon, size pixels wide and high, with its upper left corner at a
// place of a surface of 32-bit pixels.
void DrawIcon(SDL_Surface* target, int left, int top, int size,
              kroview::dialogs::messagebox::Icon icon);
} // namespace platform

#endif
