// The sink of the log, for platform/control.h.

#ifndef WRIL_SINK_H
#define WRIL_SINK_H

#include "../control.h"

namespace wril
{
void SetSink(const platform::LogSink& sink);
} // namespace wril

#endif
