// Traces for debugging, all of one form.

#ifndef INDEP_FRAME_TRACE_H
#define INDEP_FRAME_TRACE_H

#include <atomic>
#include <locale>
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
        Answer answer = mAnswer.load(std::memory_order_relaxed);
        if (answer.mChangeCount != changeCount)
        {
            answer = {changeCount, krobase::debug::TraceEnabled(mCategory, mLevel, true)};
            mAnswer.store(answer, std::memory_order_relaxed);
        }
        return answer.mEnabled != 0;
    }

    // Writes a line that consists of the parts. Builds no text when off; a line that
    // fails is left out.
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
            // A trace is worth no failure of the operation that it tells of.
        }
    }

private:
    // One word, so that an answer never stands beside another's count.
    struct Answer
    {
        int mChangeCount;
        int mEnabled;
    };

    const char* const mCategory;
    const int mLevel;
    std::atomic<Answer> mAnswer{Answer{-1, 0}};
};

#endif
