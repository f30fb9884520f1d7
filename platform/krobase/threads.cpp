#include "threads.h"

#include <win32/threads.h>

namespace krobase
{
namespace threads
{
unsigned int GetCurrentThreadID()
{
    return win32::GetCurrentThreadId();
}

unsigned int GetCurrentProcessID()
{
    return win32::GetCurrentProcessId();
}
} // namespace threads
} // namespace krobase
