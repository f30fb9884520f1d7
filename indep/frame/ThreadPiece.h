// What each thread keeps for itself.

#ifndef INDEP_FRAME_THREAD_PIECE_H
#define INDEP_FRAME_THREAD_PIECE_H

#include <exception>
#include <memory>
#include <utility>

#include <boost/thread/tss.hpp>

#include <immortal.h>
#include <quiet_new.h>

// The calling thread's piece of one type; it goes when the thread ends.
template <class Piece> class ThreadPiece
{
public:
    // Null if the thread has none.
    static Piece* Find() { return Slot().get(); }

    // Zeroed if new. Null without memory, which isn't reported: a report goes on
    // without what it would remember.
    static Piece* Make()
    {
        const platform::ScQuietNew quiet;
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
        static platform::Immortal<SlotType> slot;
        return *slot;
    }
};

// Marks a stretch that a thread isn't to enter a second time. Stretch is a type of its
// own that names it.
template <class Stretch> class ScEntered
{
public:
    ScEntered() : mFlag(ThreadPiece<Flag>::Make())
    {
        if (mFlag)
            mBefore = std::exchange(mFlag->mIsInside, true);
    }

    ~ScEntered()
    {
        if (mFlag)
            mFlag->mIsInside = mBefore;
    }

    ScEntered(const ScEntered&) = delete;
    ScEntered& operator=(const ScEntered&) = delete;

    // False inside another stretch of the thread, and if the flag can't be made.
    bool IsFirst() const { return mFlag && !mBefore; }

    // Whether the calling thread is in the stretch.
    static bool IsInside()
    {
        const Flag* const flag = ThreadPiece<Flag>::Find();
        return flag && flag->mIsInside;
    }

private:
    struct Flag
    {
        bool mIsInside;
    };

    Flag* const mFlag;
    bool mBefore = false;
};

#endif
