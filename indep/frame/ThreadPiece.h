// What each thread keeps for itself.

#ifndef INDEP_FRAME_THREAD_PIECE_H
#define INDEP_FRAME_THREAD_PIECE_H

#include <utility>

#include <thread_piece.h>

using platform::ThreadPiece;

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
