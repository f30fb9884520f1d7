// Marks a section of code that a thread must not enter a second time.

#ifndef INDEP_FRAME_REENTRANCY_GUARD_H
#define INDEP_FRAME_REENTRANCY_GUARD_H

#include <platform/base/thread_local.h>

// Marks the section as entered on the calling thread while the guard lives. `Section` is a type
// that names the section.
template <class Section> class ReentrancyGuard
{
public:
    ReentrancyGuard() : mIsNested(tIsInside) { tIsInside = true; }
    ~ReentrancyGuard() { tIsInside = mIsNested; }
    ReentrancyGuard(const ReentrancyGuard&) = delete;
    ReentrancyGuard& operator=(const ReentrancyGuard&) = delete;

    // Returns true if the thread was outside of the section when it made this guard.
    bool IsFirst() const { return !mIsNested; }

    // Returns true if the calling thread is inside the section.
    static bool IsInside() { return tIsInside; }

private:
    static PLATFORM_THREAD_LOCAL(bool, tIsInside);

    const bool mIsNested;
};

template <class Section> PLATFORM_THREAD_LOCAL(bool, ReentrancyGuard<Section>::tIsInside);

#endif
