#include "U_Telemetry.h"

#include <krobase/format.h>

#include "U_Encoding.h"

void Up_HDT_ReportPluginErrorTelemetry(const U_UTF16String& matchName, unsigned int version)
{
    const boost::shared_ptr<krobase::config::UsageLoggerGroup> group =
        U::telemetry::NewDataGroup("qx", "plugin_error", "plugin_error", krobase::utility::Guid());
    if (!group)
        return;
    const size_t kDigits = 8;
    const int kMostCharacters = 31;
    const U_UTF16String number = krobase::utility::NumberToString(
        version, kDigits, 0, krobase::utility::kNumberNoLocaleMarks, kMostCharacters);
    group->Add("match_name", U_UTF16To8String(matchName));
    group->Add("version", U_UTF16To8String(number));
}
