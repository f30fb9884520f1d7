#include "profile.h"

#include <functional>
#include <map>
#include <new>
#include <string_view>

#include <krobase/text.h>
#include <platform/base/locks.h>
#include <platform/base/quiet_new.h>

#include "private/switches.h"

namespace
{
const short kBadParameter = -50;
const short kNotFound = -43;
const short kNoMemory = -108;

typedef krobase::utility::UTF16String Key;
typedef std::basic_string_view<unsigned short> KeyView; // a look-up allocates nothing

// Never destroyed, since static destructors of the host may still read values.
platform::Mutex sLock;
std::map<Key, int, std::less<>>&
    sValues PLATFORM_GUARDED_BY(sLock) = *new std::map<Key, int, std::less<>>;
} // namespace

short TOLV_GetProfileInt(const unsigned short* key, int defaultValue, int* out)
{
    const short result = TOLV_GetRequiredProfileInt(key, out);
    if (result != kNotFound)
        return result;
    *out = defaultValue;
    return 0;
}

short TOLV_GetRequiredProfileInt(const unsigned short* key, int* out)
{
    if (!key || !out)
        return kBadParameter;
    const platform::ScLock lock(sLock);
    const auto found = sValues.find(KeyView(key));
    if (found == sValues.end())
        return kNotFound;
    *out = found->second;
    return 0;
}

short TOLV_SetProfileInt(const unsigned short* key, int value)
{
    if (!key)
        return kBadParameter;
    try
    {
        const platform::ScLock lock(sLock);
        sValues[key] = value;
        return 0;
    }
    catch (const std::bad_alloc&)
    {
        return kNoMemory;
    }
}

namespace tolv
{
void ClearProfile()
{
    const platform::ScLock lock(sLock);
    sValues.clear();
}
} // namespace tolv
