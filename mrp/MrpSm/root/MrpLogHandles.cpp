#include "mrp/MrpSm/root/MrpLogHandles.h"

namespace Mrp {

namespace {

constexpr int informational = 6;
constexpr Seconds rateInterval = 0.0;  // no bound
constexpr double rateBurst = 1.0;

}  // namespace

LogHandle mrpErrorLog("MRP_ERROR", informational, "MRP error occurred", noActionRequired, "%s",
                      rateInterval, rateBurst);

LogHandle mrpJoinLog("MRP_JOIN", informational, "MRP Join was received on an interface",
                     noActionRequired,
                     "MRP Join received on %s, attrType: %s, key: %s, state: %s, event: %s",
                     rateInterval, rateBurst);

LogHandle mrpLvLog("MRP_LV", informational, "MRP Lv was handled on an interface", noActionRequired,
                   "MRP Lv %s on %s, attrType: %s, key: %s, state: %s, event: %s", rateInterval,
                   rateBurst);

}  // namespace Mrp
