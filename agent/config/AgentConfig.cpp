#include "agent/config/AgentConfig.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

Ptr<MrpConfig> mrpConfigOf(const AgentConfig& config) {
    auto mrpConfig = makePtr<MrpConfig>();
    mrpConfig->leaveTimeIs(config.timers.leaveTime);
    mrpConfig->leaveAllTimeIs(config.timers.leaveAllTime);
    mrpConfig->txLeaveAllExpiryTimeIs(config.timers.txLeaveAllExpiryTime);
    mrpConfig->mrpFloodingIs(config.mrpFlooding);
    for (const auto& [name, timers] : config.intfTimers) {
        if (timers.leaveTime) {
            mrpConfig->intfLeaveTimeIs(IntfId(name), *timers.leaveTime);
        }
        if (timers.leaveAllTime) {
            mrpConfig->intfLeaveAllTimeIs(IntfId(name), *timers.leaveAllTime);
        }
    }
    return mrpConfig;
}

}  // namespace MrpAgent
