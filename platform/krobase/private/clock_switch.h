// The switch of the clock for spans, for platform/control.h.

#ifndef KROBASE_CLOCK_SWITCH_H
#define KROBASE_CLOCK_SWITCH_H

#include <boost/function.hpp>

namespace krobase
{
namespace utility
{
void SetTickClock(const boost::function<unsigned long long()>& ticks);
} // namespace utility
} // namespace krobase

#endif
