// Static objects that are never destroyed, since threads use them until the process is gone.
//
//     static platform::Immortal<std::vector<int>> sNumbers;
//     (*sNumbers).push_back(1);

#ifndef PLATFORM_BASE_IMMORTAL_H
#define PLATFORM_BASE_IMMORTAL_H

#include <new>

#include "quiet_new.h"

namespace platform
{
// A static object that is never destroyed.
//
// - The object lies inside the static, so its construction allocates no block for it. The first
//   use may be a report that memory has run out.
// - While the object is constructed, operator new is quiet. Other threads wait for the first
//   use of a static as for a lock.
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
