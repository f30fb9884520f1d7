#include <win32/messages.h>

#include "../../present.h"

namespace win32
{
int MessageBoxW(void*, const unsigned short* text, const unsigned short* title, unsigned int flags)
{
    platform::Alert alert = {};
    alert.hasTitle = title != nullptr;
    if (title)
        alert.title = title;
    if (text)
        alert.text = text;
    alert.flags = flags;
    platform::Present(alert);
    return 1;
}
} // namespace win32
