#pragma once

#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/log/Trace.h"

namespace Mrp {

// The one trace source of the engine, named "MrpSm". Levels in use: 0 errors of our own, 2 wrong
// destination address, 4 wrong EtherType and recycled packets, 6 tagged frames, 7 LeaveAll timers,
// 8 every handler's own name and what it works on.
extern TraceSource mrpSmTrace;

// From this level on the values of a received PDU are traced one by one,
inline constexpr int valueTraceLevel = 4;
// from this one what a LeaveAll says of each attribute,
inline constexpr int leaveAllTraceLevel = 7;
// from this one also what each handler does with them.
inline constexpr int handlerTraceLevel = 8;

}  // namespace Mrp

// A build with the option MRP_WITHOUT_TRACES compiles the messages and runs none of them.
#ifdef MRP_WITHOUT_TRACES
#define MRP_TRACE(level, message)                                                                  \
    do {                                                                                           \
        if constexpr (false) {                                                                     \
            PLATFORM_TRACE(::Mrp::mrpSmTrace, level, message);                                     \
        }                                                                                          \
    } while (false)
#else
#define MRP_TRACE(level, message) PLATFORM_TRACE(::Mrp::mrpSmTrace, level, message)
#endif

// The trace with which a handler begins.
#define MRP_TRACE_HANDLER() MRP_TRACE(8, __PRETTY_FUNCTION__)
