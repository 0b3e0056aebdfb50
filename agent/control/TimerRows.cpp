#include "agent/control/TimerRows.h"

#include <algorithm>
#include <utility>

#include "agent/control/AttributeRows.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

TimerRows::TimerRows(const ControlNode& node, AttributeFilter filter)
    : node_(node), filter_(std::move(filter)) {}

// On to the next attribute type, of the next interface or application if need be.
bool TimerRows::nextType() {
    place_ = Place::leaveAll;
    after_.reset();
    while (application_ < node_.instances().size()) {
        const MrpInstance& instance = *node_.instances()[application_];
        if (!intfId_.empty() && type_ < mrpMaxAttrTypes(instance.application())) {
            ++type_;
            return true;
        }
        type_ = 0;
        do {
            intfId_ = nextInterface(instance.mrpSm(), intfId_);
        } while (!intfId_.empty() && !filter_.fitsPort(intfId_.name()));
        if (intfId_.empty() || !filter_.fitsApplication(instance.application())) {
            intfId_ = {};
            ++application_;
        }
    }
    return false;
}

Json TimerRows::timerRow(const MrpSm& mrpSm, const char* timer, Seconds expiry,
                         Json attributes) const {
    const MrpApplication application = mrpSm.mrpLib()->application();
    return {{"application", stringValue(application)},
            {"port", intfId_.name()},
            {"timer", timer},
            {"attributeType", attributeTypeName(type_, application)},
            {"due", ageJson(std::max(0.0, expiry - mrpSm.clock().now()))},
            {"attributes", std::move(attributes)}};
}

Json TimerRows::leaveAllRow(const MrpSm& mrpSm) const {
    const auto machine = mrpSm.leaveAllSm()->intfLeaveAllSm(intfId_);
    const MrpLeaveAllTimer* timer = machine ? machine->leaveAllPending(type_) : nullptr;
    return timer != nullptr ? timerRow(mrpSm, "leaveAll", timer->expiryTime, nullptr) : Json();
}

Json TimerRows::leaveRow(const MrpSm& mrpSm, const MrpRegistrarSm::LeaveSms& timers,
                         AttributeKey key) const {
    const auto found = timers.find({intfId_, type_, key});
    return found != timers.end() ? timerRow(mrpSm, "leave", found->second->expiry(),
                                            found->second->leavePending().size())
                                 : Json();
}

bool TimerRows::next(Row& row) {
    if (place_ == Place::explicitLeaves && type_ == 0 && !nextType()) {
        return false;
    }
    if (application_ >= node_.instances().size()) {
        return false;
    }
    const MrpSm& mrpSm = node_.instances()[application_]->mrpSm();
    const MrpRegistrarSm* registrar = mrpSm.registrarSm();
    if (!mrpSm.active()) {
        return nextType();
    }
    switch (place_) {
    case Place::leaveAll:
        row.json = leaveAllRow(mrpSm);
        place_ = Place::sharedLeave;
        return true;
    case Place::sharedLeave:
        row.json = leaveRow(mrpSm, registrar->leaveSm(), 0);
        place_ = Place::explicitLeaves;
        return true;
    case Place::explicitLeaves:
        break;
    }
    // One that has a timer has a record.
    const auto next = registrar->explicitLeaveSm().empty()
                          ? std::nullopt
                          : nextRecord(mrpSm, intfId_, type_, after_);
    if (!next) {
        return nextType();
    }
    after_ = next->key;
    row.json = leaveRow(mrpSm, registrar->explicitLeaveSm(), next->key);
    return true;
}

}  // namespace MrpAgent
