#include "agent/control/PortRows.h"

#include <utility>

#include "mrp/MrpSm/protocol/MrpApplicantTable.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

Json portJson(const ControlNode::Port& port) {
    return {{"port", port.name},
            {"link", port.link},
            {"state", port.state},
            {"role", port.role},
            {"forwarding", port.forwarding},
            {"mac", port.addr.stringValue()},
            {"mtu", port.mtu},
            {"nativeVlan", port.nativeVlan}};
}

PortRows::PortRows(const ControlNode& node, const AttributeFilter& filter)
    : node_(node), ports_(node.ports()) {
    std::erase_if(ports_, [&](const auto& port) { return !filter.fitsPort(port.name); });
}

// Counts the next attribute of the part in hand. False behind the last.
bool PortRows::count(const MrpSm& mrpSm, IntfId port) {
    const auto next = nextRecord(mrpSm, port, part_.type, part_.after);
    if (!next) {
        part_.after.reset();
        return ++part_.type <= mrpMaxAttrTypes(mrpSm.mrpLib()->application());
    }
    part_.after = next->key;
    if (next->record != nullptr) {
        part_.registered += registers(next->record->registrarState()) ? 1U : 0U;
        part_.declared += mrpDeclares(next->record->applicantState()) ? 1U : 0U;
    }
    return true;
}

Json PortRows::partJson(const MrpInstance& instance, IntfId port) const {
    const MrpSm& mrpSm = instance.mrpSm();
    const auto error = mrpSm.pamMan()->openError(port);
    return {{"application", stringValue(instance.application())},
            {"packetAccess", mrpSm.pamCollection()->has(port)},
            {"error", error ? Json(*error) : Json()},
            {"registered", part_.registered},
            {"declared", part_.declared}};
}

bool PortRows::next(Row& row) {
    if (port_ == ports_.size()) {
        return false;
    }
    const ControlNode::Port& port = ports_[port_];
    const auto instances = node_.instances();
    if (part_.application < instances.size()) {
        const MrpInstance& instance = *instances[part_.application];
        const IntfId intfId(port.name);
        if (!count(instance.mrpSm(), intfId)) {
            applications_.push_back(partJson(instance, intfId));
            part_ = {part_.application + 1, 1, std::nullopt, 0, 0};
        }
        return true;
    }
    row.json = portJson(port);
    row.json["applications"] = std::exchange(applications_, Json::array());
    part_ = {};
    ++port_;
    return true;
}

}  // namespace MrpAgent
