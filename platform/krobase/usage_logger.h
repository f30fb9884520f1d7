// The data of a telemetry event.
//
//     const auto report = [](krobase::config::UsageLoggerGroup& group) {
//         group.Add("severity", krobase::utility::UTF8String(1, '8'));
//     };
//
// Thread safety: the derived class decides whether several threads may add to one group.

#ifndef KROBASE_USAGE_LOGGER_H
#define KROBASE_USAGE_LOGGER_H

#include <platform/base/export.h>

#include "text.h"

namespace krobase
{
namespace config
{
// Named values that belong together, such as those of one error. The telemetry sink derives
// from the class.
class PLATFORM_EXPORT UsageLoggerGroup
{
public:
    virtual ~UsageLoggerGroup();

    // Adds a value. The implementation copies the name and the value.
    virtual void Add(const char* name, const utility::UTF8String& value) = 0;
};
} // namespace config
} // namespace krobase

#endif
