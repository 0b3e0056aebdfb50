#include "mrp/MrpSm/types/MrpConfig.h"

#include <utility>

namespace Mrp {

void MrpConfig::leaveAllTimeIs(Seconds time) {
    if (std::exchange(leaveAllTime_, time) != time) {
        leaveAllTimeChanged_.notify();
    }
}

void MrpConfig::intfLeaveAllTimeIs(IntfId intfId, Seconds time) {
    const auto [entry, added] = intfLeaveAllTime_.try_emplace(intfId, time);
    if (std::exchange(entry->second, time) != time || added) {
        intfLeaveAllTimeChanged_.notify(intfId);
    }
}

void MrpConfig::intfLeaveAllTimeDel(IntfId intfId) {
    if (intfLeaveAllTime_.erase(intfId) > 0) {
        intfLeaveAllTimeChanged_.notify(intfId);
    }
}

void MrpConfig::timersEnabledIs(bool enabled) {
    if (std::exchange(timersEnabled_, enabled) != enabled) {
        timersEnabledChanged_.notify();
    }
}

std::optional<Seconds> MrpConfig::overrideOf(const IntfTimes& times, IntfId intfId) {
    const auto found = times.find(intfId);
    return found != times.end() && found->second != 0 ? std::optional<Seconds>(found->second)
                                                      : std::nullopt;
}

}  // namespace Mrp
