// A handler in a process-wide position in which others install their handlers, too.

#ifndef PLATFORM_BASE_STACKED_HANDLER_H
#define PLATFORM_BASE_STACKED_HANDLER_H

#include <algorithm>
#include <atomic>
#include <cstddef>

namespace platform
{
// The installations of one handler of ours, such as that of std::terminate.
//
// Another handler that was installed over ours may call ours at any time, also after ours has been
// removed and installed over that handler. If both installations were one function, the two
// handlers would call each other without end. So each installation has a function of its own, a
// level, which passes on to the handler that this level has replaced. No state of a thread is
// needed, which a jump out of a handler would leave set.
//
// For a static variable. Handler is a pointer to a function. One thread at a time installs and
// removes. Any thread may call the other functions, also in a signal handler.
template <class Handler> class StackedHandler
{
public:
    static const std::size_t kLevels = 4;
    static const std::size_t kNone = kLevels;

    constexpr StackedHandler(Handler first, Handler second, Handler third, Handler fourth)
        : mLevels{first, second, third, fourth}
    {
    }

    // Returns the level to install over the current handler of the position, or the level that is
    // installed there already. kNone if all levels are beneath other handlers, and stay there.
    std::size_t Install(Handler current)
    {
        std::size_t level = Find(current);
        if (level == kNone)
        {
            if (mCount == kLevels)
                return kNone;
            level = mCount;
            mReplaced[level] = current;
        }
        mCount = std::max(mCount, level + 1);
        mLatest = level;
        return level;
    }

    // Ends the latest installation and returns its level. If no handler is installed over this
    // level, the next installation may use the level again.
    std::size_t Remove(Handler current)
    {
        if (current == mLevels[mLatest] && mLatest + 1 == mCount)
            --mCount;
        return mLatest;
    }

    bool IsLevel(Handler handler) const
    {
        return std::find(mLevels, mLevels + kLevels, handler) != mLevels + kLevels;
    }
    bool IsLatest(std::size_t level) const { return level == mLatest; }
    Handler Level(std::size_t level) const { return mLevels[level]; }
    Handler Replaced(std::size_t level) const { return mReplaced[level]; }

private:
    // A second installation over the same handler uses the same level: the handler was there
    // before that level, and does not call it.
    std::size_t Find(Handler current) const
    {
        for (std::size_t level = 0; level < kLevels; ++level)
        {
            if (current == mLevels[level] || (level < mCount && current == mReplaced[level]))
                return level;
        }
        return kNone;
    }

    const Handler mLevels[kLevels];
    std::atomic<Handler> mReplaced[kLevels] = {};
    std::atomic<std::size_t> mLatest{0};
    std::size_t mCount = 0; // of the levels that other handlers may call
};
} // namespace platform

#endif
