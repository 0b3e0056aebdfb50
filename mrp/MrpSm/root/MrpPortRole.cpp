#include <utility>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/time/Dispatch.h"

// Port roles: MRP declares along the active topology of the spanning tree (IEEE 802.1Q clause
// 10.3.1), so it follows the roles of the ports in it.

namespace Mrp {

namespace {

// Roles are numbers of the spanning-tree program. Only a change between these two counts; others,
// and none yet, take part in no change.
bool forwards(int role) {
    return role == 1 || role == 2;
}
bool discards(int role) {
    return role == 3;
}

}  // namespace

// --- The reactors, level by level ---

void MrpSm::stpStatusIs(Ptr<const Stp::Status> stpStatus) {
    stpStatus_ = std::move(stpStatus);
    if (stpStatus_) {
        stpiStatus_ = std::make_unique<StpiReactors>(
            stpStatus_->stpiStatus(),
            [this](const std::string&, const auto& stpi) { return stpiStatusIs(stpi); });
    }
}

std::unique_ptr<MrpSm::MstiReactors> MrpSm::stpiStatusIs(const Ptr<Stp::StpiStatus>& stpiStatus) {
    return std::make_unique<MstiReactors>(stpiStatus->mstiStatus(),
                                          [this, stpiStatus](const std::string&, const auto& msti) {
                                              return mstiStatusIs(stpiStatus->name(), msti);
                                          });
}

std::unique_ptr<MrpSm::PortReactors> MrpSm::mstiStatusIs(const std::string& stpiName,
                                                         const Ptr<Stp::MstiStatus>& mstiStatus) {
    return std::make_unique<PortReactors>(
        mstiStatus->portStatus(),
        [this, stpiName, mstiStatus](const std::string& portName, const auto& port) {
            return std::make_unique<Reactor>(
                port->roleChanged().react([this, stpiName, mstiStatus, portName] {
                    // A native VLAN out of its range is no concern of the one who sets the role.
                    dispatch([&] { handleRole(portName, mstiStatus->name(), stpiName); });
                }));
        });
}

// --- The reaction ---

void MrpSm::handleRole(const std::string& portName, const std::string& mstiName,
                       const std::string& stpiName) {
    MRP_TRACE_HANDLER();
    const IntfId intfId(portName);
    const std::string followed = mrpLib_->baseSpanningTreeTopo(intfId);
    // Nothing is followed under the empty name, not even a topology without a name.
    if (followed.empty() || mstiName != followed) {
        return;
    }
    if (!desiredIntfDir_ || !desiredIntfDir_->intfDesired(intfId).value_or(false)) {
        return;
    }
    MRP_TRACE(8, portName << ", " << mstiName << ", " << stpiName);
    const int newRole = stpStatus_ ? stpStatus_->role(stpiName, mstiName, portName) : 0;
    const auto known = oldPortRole_.find(intfId);
    const int oldRole = known != oldPortRole_.end() ? known->second : 0;
    oldPortRoleIs(intfId, newRole);
    // A standby engine keeps the roles, for the time when it becomes active.
    if (standbyMode_ || newRole == oldRole) {
        return;
    }
    MRP_TRACE(8, "Port role for " << intfId.name() << " changed from " << oldRole << " to "
                                  << newRole);
    if (forwards(oldRole) && discards(newRole)) {
        MRP_TRACE(8, "Flush! event occurred");
        postToAllTypes(intfId, MrpApplicantEvent::flush, MrpRegistrarEvent::flush);
    } else if (discards(oldRole) && forwards(newRole)) {
        MRP_TRACE(8, "Re-declare! event occurred");
        postToAllTypes(intfId, MrpApplicantEvent::redeclare, MrpRegistrarEvent::redeclare);
    }
}

void MrpSm::postToAllTypes(IntfId intfId, MrpApplicantEvent applicantEvent,
                           MrpRegistrarEvent registrarEvent) {
    for (AttributeType type = 1; type <= maxAttrTypes_; ++type) {
        leaveAllSm_->mrpPostLeaveAllToSm(intfId, type, applicantEvent, registrarEvent);
    }
}

// --- The topology that is followed ---

std::string MrpLib::baseSpanningTreeTopo(IntfId intfId) const {
    if (mrpSm_ == nullptr || !mrpSm_->stpStatus()) {
        return {};
    }
    switch (mrpSm_->stpStatus()->mode()) {
    case 0:
    case 2:
    case 3:
        return Stp::TopologyName::cist;
    case Stp::Mode::noStp:
        return Stp::TopologyName::noStp;
    case Stp::Mode::perVlan: {
        const Ptr<Bridging::VlanConfig> vlan = nativeVlanConfig(intfId);
        return vlan ? Stp::perVlanInstanceName(*vlan) : std::string();
    }
    case Stp::Mode::backup:
        return nativeVlanConfig(intfId)
                   ? Stp::TopologyName::backup + std::to_string(getNativeVlanId(intfId))
                   : std::string();
    default:
        return {};
    }
}

// Null for a port without a native VLAN, and for a VLAN that is not configured.
Ptr<Bridging::VlanConfig> MrpLib::nativeVlanConfig(IntfId intfId) const {
    const std::uint16_t nativeVlan = getNativeVlanId(intfId);
    if (nativeVlan == 0) {
        return nullptr;
    }
    return mrpSm_->brConfig().vlanConfig().value(VlanId(nativeVlan)).value_or(nullptr);
}

}  // namespace Mrp
