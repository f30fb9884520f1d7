// What a telemetry sink collects.

#ifndef KROBASE_USAGE_LOGGER_H
#define KROBASE_USAGE_LOGGER_H

#include <platform/base/export.h>

#include "text.h"

namespace krobase
{
namespace config
{
// Data that belongs together, such as all that is told of one error. The sink
// derives from it; whether several threads may add to one group is the sink's
// to say.
class PLATFORM_EXPORT UsageLoggerGroup
{
public:
    virtual ~UsageLoggerGroup();

    // Both are copied.
    virtual void Add(const char* name, const utility::UTF8String& value) = 0;
};
} // namespace config
} // namespace krobase

#endif
