#include "profile.h"

#include <map>

#include <boost/thread/mutex.hpp>

#include "../krobase/text.h"
#include "../quiet_new.h"
#include "profile_switches.h"

namespace
{
const short kBadParameter = -50;
const short kNotFound = -43;

typedef krobase::utility::UTF16String Key;

// Never destroyed: static destructors of the host may still ask.
boost::mutex& sLock = *new boost::mutex; // guards sValues
std::map<Key, int>& sValues = *new std::map<Key, int>;
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
    const platform::ScQuietLock<boost::mutex> lock(sLock);
    const auto found = sValues.find(key);
    if (found == sValues.end())
        return kNotFound;
    *out = found->second;
    return 0;
}

short TOLV_SetProfileInt(const unsigned short* key, int value)
{
    if (!key)
        return kBadParameter;
    const platform::ScQuietLock<boost::mutex> lock(sLock);
    sValues[key] = value;
    return 0;
}

namespace tolv
{
void ClearProfile()
{
    const platform::ScQuietLock<boost::mutex> lock(sLock);
    sValues.clear();
}
} // namespace tolv
