#pragma once

#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/log/Log.h"

namespace Mrp {

// The engine's structured log messages.
extern LogHandle mrpErrorLog;  // "MRP_ERROR"
extern LogHandle mrpJoinLog;   // "MRP_JOIN": interface, type, key, state, event
extern LogHandle mrpLvLog;     // "MRP_LV": "received" or "notified", then as above

}  // namespace Mrp
