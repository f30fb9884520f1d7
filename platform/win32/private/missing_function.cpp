#include <string>

#include <platform/base/immortal.h>
#include <platform/base/locks.h>

#include "date_arguments.h"
#include "switches.h"

namespace win32
{
namespace
{
struct MissingFunction
{
    platform::Mutex mLock;
    std::string mName PLATFORM_GUARDED_BY(mLock);
};

// Static destructors may write dates.
MissingFunction& TheMissingFunction()
{
    static platform::Immortal<MissingFunction> sMissing;
    return *sMissing;
}
} // namespace

bool IsMissing(const char* function)
{
    const platform::ScLock lock(TheMissingFunction().mLock);
    return TheMissingFunction().mName == function;
}

void SetMissingFunction(const char* name)
{
    const platform::ScLock lock(TheMissingFunction().mLock);
    TheMissingFunction().mName = name ? name : "";
}
} // namespace win32
