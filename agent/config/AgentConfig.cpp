#include "agent/config/AgentConfig.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

using Override = std::optional<Seconds> AgentConfig::IntfTimers::*;

// The interfaces that have a time of their own in the engine's configuration, and not any more in
// the agent's.
std::vector<IntfId> gone(const MrpConfig::IntfTimes& times, const AgentConfig& config,
                         Override time) {
    std::vector<IntfId> gone;
    for (const auto& [intfId, seconds] : times) {
        const auto timers = config.intfTimers.find(intfId.name());
        if (timers == config.intfTimers.end() || !(timers->second.*time)) {
            gone.push_back(intfId);
        }
    }
    return gone;
}

}  // namespace

void apply(const AgentConfig& config, MrpConfig& mrpConfig) {
    mrpConfig.leaveTimeIs(config.timers.leaveTime);
    mrpConfig.leaveAllTimeIs(config.timers.leaveAllTime);
    mrpConfig.txLeaveAllExpiryTimeIs(config.timers.txLeaveAllExpiryTime);
    mrpConfig.mrpFloodingIs(config.mrpFlooding);
    using Timers = AgentConfig::IntfTimers;
    for (const IntfId intfId : gone(mrpConfig.intfLeaveTime(), config, &Timers::leaveTime)) {
        mrpConfig.intfLeaveTimeDel(intfId);
    }
    for (const IntfId intfId : gone(mrpConfig.intfLeaveAllTime(), config, &Timers::leaveAllTime)) {
        mrpConfig.intfLeaveAllTimeDel(intfId);
    }
    for (const auto& [name, timers] : config.intfTimers) {
        if (timers.leaveTime) {
            mrpConfig.intfLeaveTimeIs(IntfId(name), *timers.leaveTime);
        }
        if (timers.leaveAllTime) {
            mrpConfig.intfLeaveAllTimeIs(IntfId(name), *timers.leaveAllTime);
        }
    }
}

Ptr<MrpConfig> mrpConfigOf(const AgentConfig& config) {
    auto mrpConfig = makePtr<MrpConfig>();
    apply(config, *mrpConfig);
    return mrpConfig;
}

}  // namespace MrpAgent
