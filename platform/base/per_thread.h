// Objects of one thread, which are destroyed when the thread ends.

#ifndef PLATFORM_BASE_PER_THREAD_H
#define PLATFORM_BASE_PER_THREAD_H

#include <exception>
#include <memory>

#include <boost/thread/tss.hpp>

#include "immortal.h"
#include "quiet_new.h"
#include "thread_local.h"

namespace platform
{
// The calling thread's object of one type, in a thread-local pointer. Boost owns the object and
// destroys it. A thread-local variable with a destructor is no alternative: if the C library has
// no memory to register the destructor, the process ends.
template <class Object> class PerThread
{
public:
    // Returns null if the thread has no object.
    static Object* Find() { return tObject; }

    // Returns the thread's object. Without an object, makes one that is value-initialised.
    //
    // Throws: std::bad_alloc.
    static Object& MakeOrThrow()
    {
        if (Object* present = Find())
            return *present;
        auto piece = std::make_unique<Object>();
        Owner().reset(piece.get()); // allocates, too
        // Boost does not report that the system could not store the pointer.
        if (Owner().get() != piece.get())
            throw BadAllocation();
        tObject = piece.release();
        return *tObject;
    }

    // Like MakeOrThrow, but returns null without memory, and reports nothing: a report uses such
    // objects.
    static Object* Make()
    {
        const ScQuietNew quiet;
        try
        {
            return &MakeOrThrow();
        }
        catch (const std::exception&)
        {
            return nullptr;
        }
    }

private:
    typedef boost::thread_specific_ptr<Object> Pointer;

    static Pointer& Owner()
    {
        static Immortal<Pointer> owner(&Destroy);
        return *owner;
    }

    // The destructor finds no object of its thread.
    static void Destroy(Object* object)
    {
        tObject = nullptr;
        delete object;
    }

    static PLATFORM_THREAD_LOCAL(Object*, tObject);
};

template <class Object> PLATFORM_THREAD_LOCAL(Object*, PerThread<Object>::tObject);
} // namespace platform

#endif
