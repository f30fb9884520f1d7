#include "telemetry_events.h"

#include <U_Telemetry.h>

#include "message.h"

namespace telemetry = U::telemetry;

namespace
{
const char kProduct[] = "filecache";
} // namespace

void LogStart(const Options& options)
{
    const U_UTF16String text = ToUTF16("threads " + std::to_string(options.threads) + ", budget " +
                                       std::to_string(options.budget));
    telemetry::LogEvent("Stage", "Start", text.c_str(), krobase::utility::Guid());
}

void LogRefusal()
{
    telemetry::IncrementEventCount(kProduct, "load", "refused");
}

void LogFinish(const LoadFigures& figures, const FileCache& cache, U_u64 unreadable)
{
    telemetry::LogEventsWithCount();
    const auto group =
        telemetry::NewDataGroup(kProduct, "finish", "load", krobase::utility::Guid());
    const auto add = [&group](const char* name, U_u64 figure) {
        const std::string digits = std::to_string(figure);
        telemetry::AddToGroup(group, name, U_UTF8String(digits.begin(), digits.end()));
    };
    add("files", figures.files);
    add("bytes", figures.bytes);
    add("unreadable", unreadable);
    add("purge_requests", cache.PurgeRequests());
    add("bytes_purged", cache.BytesPurged());
    add("peak_use", figures.peakUse);
}
