// What threads may need until the process is gone.

#ifndef PLATFORM_BASE_IMMORTAL_H
#define PLATFORM_BASE_IMMORTAL_H

#include <new>

#include "quiet_new.h"

namespace platform
{
// A static object that is never destroyed. It lies in the static itself, so that making it
// takes no memory of its own: one who tells that memory has run out may be the first to
// ask. What the object allocates while it is made is allocated quietly: other threads wait
// for the first use of a static as for a lock.
template <class Object> class Immortal
{
public:
    template <class... Values>
    explicit Immortal(const Values&... values) : mObject(Make(mStorage, values...))
    {
    }
    Immortal(const Immortal&) = delete;
    Immortal& operator=(const Immortal&) = delete;

    Object& operator*() const { return mObject; }

private:
    template <class... Values> static Object& Make(void* storage, const Values&... values)
    {
        const ScQuietNew quiet;
        return *new (storage) Object(values...);
    }

    alignas(Object) unsigned char mStorage[sizeof(Object)];
    Object& mObject;
};
} // namespace platform

#endif
