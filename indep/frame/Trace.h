// Traces for debugging, all of one form.

#ifndef INDEP_FRAME_TRACE_H
#define INDEP_FRAME_TRACE_H

#include <atomic>
#include <sstream>

#include <krobase/debug.h>
#include <krobase/threads.h>

// A place that traces, to be kept in a static: it asks for the settings again
// only when they have changed. Any thread.
class TraceSite
{
public:
    constexpr TraceSite(const char* category, int level) : mCategory(category), mLevel(level) {}

    bool Enabled()
    {
        const int changeCount = krobase::debug::TraceChangeCount();
        if (mChangeCount.load(std::memory_order_acquire) != changeCount)
        {
            mEnabled.store(krobase::debug::TraceEnabled(mCategory, mLevel, true),
                           std::memory_order_relaxed);
            mChangeCount.store(changeCount, std::memory_order_release);
        }
        return mEnabled.load(std::memory_order_relaxed);
    }

    // Writes a line that consists of the parts. Builds no text when off.
    template <class... Parts> void Trace(const Parts&... parts)
    {
        if (!Enabled())
            return;
        std::ostringstream line;
        line << '<' << krobase::threads::GetCurrentThreadID() << "> <" << mCategory << "> <"
             << mLevel << "> ";
        (line << ... << parts) << "\r\n";
        krobase::debug::Trace(line.str().c_str());
    }

private:
    const char* const mCategory;
    const int mLevel;
    std::atomic<int> mChangeCount{-1};
    std::atomic<bool> mEnabled{false};
};

#endif
