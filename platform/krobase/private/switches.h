// The switches of traces and of the tick clock, for platform/control.h.

#ifndef KROBASE_SWITCHES_H
#define KROBASE_SWITCHES_H

#include <boost/function.hpp>

namespace krobase
{
namespace debug
{
void SetTrace(const char* category, int level);
void SetTraceSink(const boost::function<void(const char*)>& sink);
} // namespace debug

namespace utility
{
void SetTickClock(const boost::function<unsigned long long()>& ticks);
} // namespace utility
} // namespace krobase

#endif
