#include "usage_logger.h"

namespace krobase
{
namespace config
{
UsageLoggerGroup::~UsageLoggerGroup() = default;
} // namespace config
} // namespace krobase
