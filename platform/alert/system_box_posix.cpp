#include "system_box.h"

namespace platform
{
// The system has no message boxes. alert/sdl/ has a presenter with a window.
bool PresentInSystemBox(const Alert&)
{
    return false;
}
} // namespace platform
