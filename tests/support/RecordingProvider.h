// A provider of telemetry that records its calls.

#ifndef TESTS_SUPPORT_RECORDING_PROVIDER_H
#define TESTS_SUPPORT_RECORDING_PROVIDER_H

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <boost/smart_ptr/make_shared.hpp>

#include "U_Telemetry.h"

// Records each call as a line: the operation and its arguments, of a Guid the first and the last
// byte.
class RecordingProvider : public U::telemetry::U_TelemetryProvider
{
public:
    typedef krobase::utility::Guid Guid;
    typedef krobase::config::UsageLoggerGroup Group;
    typedef const std::string& Text;

    bool IsLogging() override { return Record("IsLogging"), mLogging; }
    void LogEvent(const char* a, const char* b, const unsigned short* text, Guid guid) override
    {
        Record("LogEvent", a, b, Narrow(U_UTF16String(text)), Ends(guid));
    }
    void LogEventWithCount(Text a, Text b, Text c, int count, Guid guid) override
    {
        Record("LogEventWithCount", a, b, c, count, Ends(guid));
    }
    void IncrementEventCount(Text a, Text b, Text c) override { Record("Increment", a, b, c); }
    void ClearEventCount(Text a, Text b, Text c) override { Record("Clear", a, b, c); }
    void LogEventsWithCount() override { Record("LogEventsWithCount"); }
    boost::shared_ptr<Group> NewDataGroup(const char* a, const char* b, const char* c,
                                          Guid guid) override
    {
        Record("NewDataGroup", a, b, c, Ends(guid));
        return mGroup;
    }
    void AddToGroup(const boost::shared_ptr<Group>& group, const char* name,
                    const U_UTF8String& value) override
    {
        Record("AddToGroup", group ? "group" : "null", name, Narrow(value));
    }

    bool mLogging = true;
    std::vector<std::string> mCalls;
    std::function<void(Text)> mOnCall = [this](Text call) { mCalls.push_back(call); };
    boost::shared_ptr<Group> mGroup = boost::make_shared<RecordingGroup>(*this);

private:
    struct RecordingGroup : Group
    {
        explicit RecordingGroup(RecordingProvider& provider) : mProvider(provider) {}
        void Add(const char* name, const U_UTF8String& value) override
        {
            mProvider.Record("Add", name, Narrow(value));
        }
        RecordingProvider& mProvider;
    };

    template <class Units> static std::string Narrow(const Units& text)
    {
        return std::string(text.begin(), text.end());
    }
    static std::string Ends(const Guid& guid)
    {
        return std::to_string(guid.mBytes[0]) + "-" + std::to_string(guid.mBytes[15]);
    }
    template <class... Parts> void Record(const char* operation, const Parts&... parts)
    {
        std::ostringstream line;
        line << operation;
        ((line << ' ' << parts), ...);
        mOnCall(line.str());
    }
};

#endif
