#include "agent/control/VlanRows.h"

#include <algorithm>
#include <utility>

#include "agent/control/VisibleRecords.h"
#include "mrp/MrpSm/protocol/MrpApplicantTable.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

VlanRows::VlanRows(const ControlNode& node, AttributeFilter filter)
    : node_(node), filter_(std::move(filter)) {}

const MrpInstance* VlanRows::mvrp() const {
    const auto instances = node_.instances();
    const auto found = std::find_if(instances.begin(), instances.end(), [](const auto& instance) {
        return instance->application() == MrpApplication::mvrp;
    });
    return found != instances.end() ? found->get() : nullptr;
}

std::vector<IntfId> VlanRows::ports(const MrpInstance& instance) const {
    std::vector<IntfId> ports;
    if (const VlanPropagation* vlans = node_.vlans()) {
        ports = vlans->ports();
    } else {
        for (IntfId port = nextInterface(instance.mrpSm(), {}); !port.empty();
             port = nextInterface(instance.mrpSm(), port)) {
            ports.push_back(port);
        }
    }
    std::erase_if(ports, [this](IntfId port) { return !filter_.fitsPort(port.name()); });
    return ports;
}

VlanPropagation::Membership VlanRows::membership(const MrpInstance& instance, IntfId port,
                                                 std::uint16_t vlan) const {
    if (const VlanPropagation* vlans = node_.vlans()) {
        return vlans->membership(port, vlan);
    }
    VlanPropagation::Membership membership;
    if (const MrpAttrDatabase* record =
            instance.mrpSm().mrpGetAttrFromDatabase(port, vlanType, vlan, true)) {
        membership.registered = registers(record->registrarState());
        membership.declared = mrpDeclares(record->applicantState());
    }
    return membership;
}

bool VlanRows::next(Row& row) {
    const MrpInstance* instance = mvrp();
    if (instance == nullptr || vlan_ >= VlanId::max) {
        return false;
    }
    const auto vlan = static_cast<std::uint16_t>(++vlan_);
    if (!filter_.fitsVlan(vlan)) {
        return true;
    }
    const std::vector<IntfId> all = ports(*instance);
    row.cost = 1 + 2 * all.size();
    Json lists = {{"vlan", vlan}};
    for (const char* name : {"registered", "fixed", "forbidden", "configured", "declared"}) {
        lists[name] = Json::array();
    }
    bool known = false;
    bool fits = !filter_.asksForState();
    for (const IntfId port : all) {
        const auto add = [&](const char* list, bool holds) {
            if (holds) {
                lists[list].push_back(port.name());
                known = true;
            }
        };
        const VlanPropagation::Membership part = membership(*instance, port, vlan);
        // What a neighbour declares of a VLAN that is forbidden is discarded (clause 10.7.2).
        add("registered", part.registered && part.registration != Registration::forbidden);
        add("fixed", part.registration == Registration::fixed);
        add("forbidden", part.registration == Registration::forbidden);
        add("configured", part.configured);
        add("declared", part.declared);
        const MrpAttrDatabase* record =
            fits ? nullptr : instance->mrpSm().mrpGetAttrFromDatabase(port, vlanType, vlan, true);
        fits = fits || (record != nullptr && filter_.fitsState(*record));
    }
    if (known && fits) {
        row.json = std::move(lists);
    }
    return true;
}

}  // namespace MrpAgent
