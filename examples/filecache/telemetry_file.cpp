#include "telemetry_file.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <limits>
#include <utility>

#include <boost/json.hpp>
#include <boost/smart_ptr/make_shared.hpp>

#include "system.h"

using krobase::config::UsageLoggerGroup;
using krobase::utility::Guid;

namespace
{
// JSON text is UTF-8 throughout, or no reader takes it.
boost::json::string Mended(const std::string& text)
{
    return boost::json::string(ToUTF8(ToUTF16(text)));
}

boost::json::string Mended(const char* text)
{
    return Mended(std::string(text ? text : ""));
}

std::string Digits(const Guid& guid)
{
    const char kDigits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char byte : guid.mBytes)
    {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

// Returns the start of a line: the kind, the time, and the owner if there is one.
boost::json::object Line(const char* kind, const Guid& guid)
{
    using namespace std::chrono;
    const auto time = duration_cast<milliseconds>(system_clock::now().time_since_epoch());
    boost::json::object line{{"kind", kind}, {"ms", time.count()}};
    if (guid != Guid())
        line["guid"] = Digits(guid);
    return line;
}

std::string CountLine(const std::string& category, const std::string& event,
                      const std::string& part, int count, const Guid& guid)
{
    boost::json::object line = Line("count", guid);
    line["category"] = Mended(category);
    line["event"] = Mended(event);
    line["part"] = Mended(part);
    line["count"] = count;
    return boost::json::serialize(line);
}
} // namespace

class TelemetryFile::Group : public UsageLoggerGroup
{
public:
    Group(TelemetryFile& file, boost::json::object line) : mFile(file), mLine(std::move(line)) {}

    ~Group() override
    {
        try
        {
            mLine["data"] = std::move(mData);
            mFile.WriteLine(boost::json::serialize(mLine));
        }
        catch (const std::exception&)
        {
            mFile.LoseLine();
        }
    }

    void Add(const char* name, const U_UTF8String& value) override
    {
        const boost::json::string key = Mended(name);
        boost::json::string text = Mended(std::string(value.begin(), value.end()));
        std::lock_guard<std::mutex> lock(mLock);
        mData[key] = std::move(text);
    }

private:
    TelemetryFile& mFile;
    boost::json::object mLine;
    std::mutex mLock; // guards mData
    boost::json::object mData;
};

TelemetryFile::~TelemetryFile()
{
    Close();
}

Message TelemetryFile::Open(const std::string& path)
{
    {
        std::lock_guard<std::mutex> lock(mLock);
        mFile = OpenFile(path, "wb");
        if (!mFile)
            return CantWrite(path, std::strerror(errno));
    }
    U::telemetry::RegisterTelemetryProvider(this);
    return Message();
}

bool TelemetryFile::Close()
{
    std::lock_guard<std::mutex> lock(mLock);
    if (mFile)
    {
        U::telemetry::RegisterTelemetryProvider(nullptr);
        mLost = std::ferror(mFile) != 0 || mLost;
        mLost = std::fclose(mFile) != 0 || mLost;
        mFile = nullptr;
    }
    return !mLost;
}

bool TelemetryFile::IsLogging()
{
    std::lock_guard<std::mutex> lock(mLock);
    return mFile != nullptr;
}

void TelemetryFile::LogEvent(const char* category, const char* event, const unsigned short* text,
                             Guid guid)
{
    boost::json::object line = Line("event", guid);
    line["category"] = Mended(category);
    line["event"] = Mended(event);
    line["text"] = text ? ToUTF8(text) : std::string();
    WriteLine(boost::json::serialize(line));
}

void TelemetryFile::LogEventWithCount(const std::string& category, const std::string& event,
                                      const std::string& part, int count, Guid guid)
{
    WriteLine(CountLine(category, event, part, count, guid));
}

void TelemetryFile::IncrementEventCount(const std::string& category, const std::string& event,
                                        const std::string& part)
{
    std::lock_guard<std::mutex> lock(mLock);
    int& count = mCounts[{category, event, part}];
    if (count < std::numeric_limits<int>::max())
        ++count;
}

void TelemetryFile::ClearEventCount(const std::string& category, const std::string& event,
                                    const std::string& part)
{
    std::lock_guard<std::mutex> lock(mLock);
    mCounts.erase({category, event, part});
}

void TelemetryFile::LogEventsWithCount()
{
    std::map<EventName, int> counts;
    {
        std::lock_guard<std::mutex> lock(mLock);
        counts.swap(mCounts);
    }
    for (const auto& [name, count] : counts)
    {
        try
        {
            LogEventWithCount(name[0], name[1], name[2], count, Guid());
        }
        catch (const std::exception&)
        {
            LoseLine(); // the others are written all the same
        }
    }
}

boost::shared_ptr<UsageLoggerGroup> TelemetryFile::NewDataGroup(const char* product,
                                                                const char* event,
                                                                const char* subcategory, Guid guid)
{
    boost::json::object line = Line("group", guid);
    line["product"] = Mended(product);
    line["event"] = Mended(event);
    line["subcategory"] = Mended(subcategory);
    return boost::make_shared<Group>(*this, std::move(line));
}

void TelemetryFile::AddToGroup(const boost::shared_ptr<UsageLoggerGroup>& group, const char* name,
                               const U_UTF8String& value)
{
    if (group)
        group->Add(name, value);
}

void TelemetryFile::WriteLine(const std::string& json)
{
    const std::string line = json + '\n';
    std::lock_guard<std::mutex> lock(mLock);
    if (!mFile)
        return;
    std::fwrite(line.data(), 1, line.size(), mFile); // Close checks for errors
    std::fflush(mFile);                              // a crash loses no line
}

void TelemetryFile::LoseLine()
{
    std::lock_guard<std::mutex> lock(mLock);
    mLost = true;
}
