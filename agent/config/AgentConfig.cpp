#include "agent/config/AgentConfig.h"

#include <algorithm>

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

bool request(MrpInstance& instance, const Declaration& declaration, IntfId intfId,
             std::uint8_t event) {
    return instance.request(intfId, declaration.attributeType, event, declaration.value);
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
    const std::uint8_t event =
        declaration.newEvent ? AttributeEvent::newEvent : AttributeEvent::joinIn;
    return std::all_of(
        declaration.interfaces.begin(), declaration.interfaces.end(), [&](const std::string& name) {
            const IntfId intfId(name);
            return instance.declares({intfId, declaration.attributeType, declaration.key}) ||
                   request(instance, declaration, intfId, event);
        });
}

bool withdraw(MrpInstance& instance, const Declaration& declaration) {
    return std::all_of(declaration.interfaces.begin(), declaration.interfaces.end(),
                       [&](const std::string& name) {
                           return request(instance, declaration, IntfId(name), AttributeEvent::lv);
                       });
}

}  // namespace MrpAgent
