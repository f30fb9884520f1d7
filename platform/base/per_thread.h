// Objects of a thread that end with the thread.

#ifndef PLATFORM_BASE_PER_THREAD_H
#define PLATFORM_BASE_PER_THREAD_H

#include <exception>
#include <memory>

#include <boost/thread/tss.hpp>

#include "immortal.h"
#include "quiet_new.h"

namespace platform
{
// The calling thread's object of one type, which is destroyed when the thread ends. For use in
// place of a thread-local variable with a destructor: if the C library has no memory to
// register such a destructor, it ends the process.
template <class Object> class PerThread
{
public:
    // Returns null if the thread has no object.
    static Object* Find() { return Slot().get(); }

    // Returns the thread's object, and makes one of zeros if there is none. Returns null without
    // memory, and reports nothing: a report itself uses such objects.
    static Object* Make()
    {
        const ScQuietNew quiet;
        try
        {
            if (Object* present = Find())
                return present;
            auto piece = std::make_unique<Object>();
            Slot().reset(piece.get()); // needs memory itself
            // Boost does not report that the system's own slot could not be set.
            return Find() == piece.get() ? piece.release() : nullptr;
        }
        catch (const std::exception&)
        {
            return nullptr;
        }
    }

private:
    typedef boost::thread_specific_ptr<Object> SlotType;

    static SlotType& Slot()
    {
        static Immortal<SlotType> slot;
        return *slot;
    }
};
} // namespace platform

#endif
