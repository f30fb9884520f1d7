#include "U_MemServices.h"

#include <cstring>

#include <platform/base/quiet_new.h>

#include "U_Alloc.h"

namespace
{
const char kOpName[] = "U_MemTrackedObject";
} // namespace

U_MemTrackedObject& U_MemTrackedObject::operator=(const U_MemTrackedObject&) = default;

void* U_MemTrackedObject::operator new(std::size_t size, U_u32 location, const char* opName)
{
    if (void* block = U_AllocatePtr(location, opName, size))
        return block;
    throw platform::BadAllocation();
}

void* U_MemTrackedObject::operator new[](std::size_t size, U_u32 location, const char* opName)
{
    return operator new(size, location, opName);
}

void* U_MemTrackedObject::operator new(std::size_t size)
{
    return operator new(size, 0, kOpName);
}

void* U_MemTrackedObject::operator new[](std::size_t size)
{
    return operator new(size, 0, kOpName);
}

void* U_MemTrackedObject::operator new(std::size_t, void* place) noexcept
{
    return place;
}

void U_MemTrackedObject::operator delete(void* object) noexcept
{
    TrackedDelete(object);
}

void U_MemTrackedObject::operator delete[](void* objects) noexcept
{
    TrackedDelete(objects);
}

void U_MemTrackedObject::operator delete(void* object, U_u32, const char*) noexcept
{
    TrackedDelete(object);
}

void U_MemTrackedObject::operator delete[](void* objects, U_u32, const char*) noexcept
{
    TrackedDelete(objects);
}

void U_MemTrackedObject::operator delete(void*, void*) noexcept {}

void* U_MemTrackedObject::TrackedNew(std::size_t size, bool clear)
{
    void* const block = operator new(size);
    if (clear)
        std::memset(block, 0, size);
    return block;
}

void U_MemTrackedObject::TrackedDelete(void* block) noexcept
{
    if (block)
        U_FreePtr(block);
}
