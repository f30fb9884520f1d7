// Objects of a thread that end with the thread.

#ifndef PLATFORM_THREAD_PIECE_H
#define PLATFORM_THREAD_PIECE_H

#include <exception>
#include <memory>

#include <boost/thread/tss.hpp>

#include "immortal.h"
#include "quiet_new.h"

namespace platform
{
// The calling thread's piece of one type; it goes when the thread ends. In the place of a
// thread-local variable with a destructor: where the C library has no memory to register
// that destructor, it ends the process.
template <class Piece> class ThreadPiece
{
public:
    // Null if the thread has none.
    static Piece* Find() { return Slot().get(); }

    // Zeroed if new. Null without memory, which isn't reported: a report goes on
    // without what it would remember.
    static Piece* Make()
    {
        const ScQuietNew quiet;
        try
        {
            if (Piece* present = Find())
                return present;
            auto piece = std::make_unique<Piece>();
            Slot().reset(piece.get()); // needs memory itself
            return piece.release();
        }
        catch (const std::exception&)
        {
            return Find(); // whoever was told of the failure may have made it
        }
    }

private:
    typedef boost::thread_specific_ptr<Piece> SlotType;

    static SlotType& Slot()
    {
        static Immortal<SlotType> slot;
        return *slot;
    }
};
} // namespace platform

#endif
