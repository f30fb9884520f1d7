// The sink of the log and its clock, for platform/control.h.

#ifndef WRIL_SINK_H
#define WRIL_SINK_H

#include <boost/function.hpp>

namespace wril
{
void SetSink(const boost::function<void(int level, const char* category, const char* tag,
                                        const char* text)>& sink);
void SetClock(const boost::function<unsigned long long()>& nanoseconds);
} // namespace wril

#endif
