// The switches of traces, for platform/control.h.

#ifndef KROBASE_TRACE_SWITCHES_H
#define KROBASE_TRACE_SWITCHES_H

#include <boost/function.hpp>

namespace krobase
{
namespace debug
{
void SetTrace(const char* category, int level);
void SetTraceSink(const boost::function<void(const char*)>& sink);
} // namespace debug
} // namespace krobase

#endif
