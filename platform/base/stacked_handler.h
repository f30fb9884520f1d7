// A handler in a process-wide position in which others install their handlers, too.

#ifndef PLATFORM_BASE_STACKED_HANDLER_H
#define PLATFORM_BASE_STACKED_HANDLER_H

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <iterator>

namespace platform
{
// The installations of one handler of ours, such as that of std::terminate.
//
// Another handler that was installed over ours may call ours at any time, also after ours has been
// removed and installed over that handler. If both installations were one function, the two
// handlers would call each other without end. So each installation has a function of its own, a
// level, which calls `run` with its number; `run` passes on to the handler that this level has
// replaced. No state of a thread is needed, which a jump out of a handler would leave set. The
// handlers of one position must not be installed again over ours from a pointer that was read
// before an earlier removal: that level may serve another installation by then.
//
// For a static variable. One thread at a time installs and removes. Any thread may call the other
// functions, also in a signal handler.
template <auto run> class StackedHandler;

template <class Result, class... Values, Result (*run)(std::size_t level, Values...)>
class StackedHandler<run>
{
public:
    typedef Result (*Handler)(Values...);

    static constexpr std::size_t kLevels = 4;

    // Returns the handler to install instead of the current one of the position. That is the
    // current one if it is a level, or if all levels are beneath other handlers.
    Handler Install(Handler current)
    {
        std::size_t level = Find(current);
        if (level == kLevels && mCount == kLevels)
            return current;
        if (level == kLevels)
        {
            level = mCount;
            mReplaced[level] = current;
        }
        mCount = std::max(mCount, level + 1);
        mLatest = level;
        return kHandlers[level];
    }

    // Ends the latest installation. Returns the handler that it has replaced. If no handler was
    // installed over the level, the next installation may use the level again.
    Handler Remove(Handler current)
    {
        if (current == kHandlers[mLatest] && mLatest + 1 == mCount)
            --mCount;
        return mReplaced[mLatest];
    }

    std::size_t Latest() const { return mLatest; }
    Handler Replaced(std::size_t level) const { return mReplaced[level]; }

    // Returns the number of the level, or kLevels if the handler is none.
    static std::size_t LevelOf(Handler handler)
    {
        return static_cast<std::size_t>(
            std::find(std::begin(kHandlers), std::end(kHandlers), handler) - kHandlers);
    }

private:
    template <std::size_t level> static Result Call(Values... values)
    {
        return run(level, values...);
    }

    static constexpr Handler kHandlers[kLevels] = {&Call<0>, &Call<1>, &Call<2>, &Call<3>};

    // A second installation over the same handler uses the same level: the handler was there
    // before that level, and does not call it.
    std::size_t Find(Handler current) const
    {
        const auto last = mReplaced + mCount;
        const std::size_t over =
            static_cast<std::size_t>(std::find(mReplaced, last, current) - mReplaced);
        return over < mCount ? over : LevelOf(current);
    }

    std::atomic<Handler> mReplaced[kLevels] = {};
    std::atomic<std::size_t> mLatest{0};
    std::size_t mCount = 0; // of the levels that other handlers may call
};
} // namespace platform

#endif
