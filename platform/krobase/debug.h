// Debug settings and traces. Any thread.

#ifndef KROBASE_DEBUG_H
#define KROBASE_DEBUG_H

#include <map>
#include <string>

#include <boost/thread/mutex.hpp>

#include "../export.h"

namespace krobase
{
namespace debug
{
// Settings by key, as text.
class PLATFORM_EXPORT DebugDatabase
{
public:
    static DebugDatabase& Instance();

    // The entry's text, or the default's if there is none.
    std::string GetEntry(const char* key, const char* defaultText) const;

    // Sets an entry; a null text removes it, and a null key does nothing.
    void SetEntry(const char* key, const char* text);
    void Clear();

private:
    DebugDatabase() = default;

    mutable boost::mutex mLock; // guards mEntries
    std::map<std::string, std::string> mEntries;
};

// Changes whenever the trace settings change. Never negative.
PLATFORM_EXPORT int TraceChangeCount();

// Whether the category is traced at that level. askSettings false answers
// false without a look at the settings.
PLATFORM_EXPORT bool TraceEnabled(const char* category, int level, bool askSettings);

// Writes text, which ends its own lines, to the trace.
PLATFORM_EXPORT void Trace(const char* text);
} // namespace debug
} // namespace krobase

#endif
