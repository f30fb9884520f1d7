// Traces for debugging. All traces have the same form.

#ifndef INDEP_FRAME_TRACE_H
#define INDEP_FRAME_TRACE_H

#include <atomic>
#include <locale>
#include <sstream>

#include <krobase/debug.h>
#include <krobase/threads.h>

// One place in the code that writes traces; a static object. Reads the trace settings only after
// they have changed. Any thread.
class TraceSite
{
public:
    constexpr TraceSite(const char* category, int level) : mCategory(category), mLevel(level) {}

    bool Enabled()
    {
        const int changeCount = krobase::debug::TraceChangeCount();
        Answer answer = mAnswer.load(std::memory_order_relaxed);
        if (answer.mChangeCount != changeCount)
        {
            answer = {changeCount, krobase::debug::TraceEnabled(mCategory, mLevel, true)};
            mAnswer.store(answer, std::memory_order_relaxed);
        }
        return answer.mEnabled != 0;
    }

    // Writes one line of the parts. Formats no text while the trace is off. A line that fails is
    // dropped.
    template <class... Parts> void Trace(const Parts&... parts)
    {
        if (!Enabled())
            return;
        try
        {
            std::ostringstream line;
            line.imbue(std::locale::classic());
            line << '<' << krobase::threads::GetCurrentThreadID() << "> <" << mCategory << "> <"
                 << mLevel << "> ";
            (line << ... << parts) << "\r\n";
            if (line.good())
                krobase::debug::Trace(line.str().c_str());
        }
        catch (...)
        {
            // A failed trace must not fail the operation.
        }
    }

private:
    // One atomic word, so that an answer is never read with the count of another one. Aligned,
    // since without alignment clang calls a library for atomics.
    struct alignas(8) Answer
    {
        int mChangeCount;
        int mEnabled;
    };

    const char* const mCategory;
    const int mLevel;
    std::atomic<Answer> mAnswer{Answer{-1, 0}};
};

#endif
