#include "modules.h"

#include <cstring>
#include <string>

#include <boost/thread/mutex.hpp>

#include <strings.h>

#include <platform/base/immortal.h>
#include <platform/base/quiet_new.h>
#include <win32/dates.h>
#include <win32/modules.h>

#include "../private/switches.h"

namespace win32
{
namespace
{
struct Missing
{
    boost::mutex mLock; // guards mFunction
    std::string mFunction;
};

// Static destructors may ask.
Missing& TheMissing()
{
    static platform::Immortal<Missing> sMissing;
    return *sMissing;
}

char sKernel; // its address stands for the module
} // namespace

bool IsMissing(const char* function)
{
    const platform::ScQuietLock<boost::mutex> lock(TheMissing().mLock);
    return TheMissing().mFunction == function;
}

void SetMissingFunction(const char* name)
{
    const platform::ScQuietLock<boost::mutex> lock(TheMissing().mLock);
    TheMissing().mFunction = name ? name : "";
}

void* GetModuleHandleA(const char* name)
{
    return name && strcasecmp(name, "kernel32.dll") == 0 ? &sKernel : nullptr;
}

ModuleFunction GetProcAddress(void* module, const char* name)
{
    const char kEnumDateFormats[] = "EnumDateFormatsExEx";
    if (module != &sKernel || !name || std::strcmp(name, kEnumDateFormats) != 0 || IsMissing(name))
        return nullptr;
    return reinterpret_cast<ModuleFunction>(&EnumDateFormatsExEx);
}
} // namespace win32
