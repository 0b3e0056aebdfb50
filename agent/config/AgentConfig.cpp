#include "agent/config/AgentConfig.h"

#include <algorithm>

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

bool requestOnAll(MrpInstance& instance, const Declaration& declaration, std::uint8_t event) {
    return std::all_of(declaration.interfaces.begin(), declaration.interfaces.end(),
                       [&](const std::string& name) {
                           return instance.request(IntfId(name), declaration.attributeType, event,
                                                   declaration.value);
                       });
}

}  // namespace

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

bool declare(MrpInstance& instance, const Declaration& declaration) {
    return requestOnAll(instance, declaration,
                        declaration.newEvent ? AttributeEvent::newEvent : AttributeEvent::joinIn);
}

bool withdraw(MrpInstance& instance, const Declaration& declaration) {
    return requestOnAll(instance, declaration, AttributeEvent::lv);
}

}  // namespace MrpAgent
