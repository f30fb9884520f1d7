// A telemetry provider that writes a file, one JSON object a line.

#ifndef FILECACHE_TELEMETRY_FILE_H
#define FILECACHE_TELEMETRY_FILE_H

#include <array>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>

#include <U_Telemetry.h>

#include "message.h"

// An event is a line. A group is a line, written when the last owner releases the group.
// Counted events are kept, up to the largest int, until LogEventsWithCount, which writes a
// line for each and starts again at 0. Strings are UTF-8; other bytes become U+FFFD.
//
// Thread safety: any thread, also for groups.
class TelemetryFile : public U::telemetry::U_TelemetryProvider
{
public:
    TelemetryFile() = default;
    ~TelemetryFile() override;
    TelemetryFile(const TelemetryFile&) = delete;
    TelemetryFile& operator=(const TelemetryFile&) = delete;

    // Opens the file and becomes the library's provider. Returns a message if the file cannot
    // be opened.
    Message Open(const std::string& path);

    // Removes the provider and closes the file. Returns false if a line could not be
    // written. May be called twice. REQUIRES: all groups have been released.
    bool Close();

    bool IsLogging() override;
    void LogEvent(const char* category, const char* event, const unsigned short* text,
                  krobase::utility::Guid guid) override;
    void LogEventWithCount(const std::string& category, const std::string& event,
                           const std::string& part, int count,
                           krobase::utility::Guid guid) override;
    void IncrementEventCount(const std::string& category, const std::string& event,
                             const std::string& part) override;
    void ClearEventCount(const std::string& category, const std::string& event,
                         const std::string& part) override;
    void LogEventsWithCount() override;
    boost::shared_ptr<krobase::config::UsageLoggerGroup>
    NewDataGroup(const char* product, const char* event, const char* subcategory,
                 krobase::utility::Guid guid) override;
    void AddToGroup(const boost::shared_ptr<krobase::config::UsageLoggerGroup>& group,
                    const char* name, const U_UTF8String& value) override;

private:
    class Group;
    typedef std::array<std::string, 3> EventName; // category, event, part

    void WriteLine(const std::string& json);
    void LoseLine();

    std::mutex mLock; // guards the rest
    std::FILE* mFile = nullptr;
    bool mLost = false;
    std::map<EventName, int> mCounts;
};

#endif
