#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "agent/propagation/OwnVlan.h"
#include "agent/propagation/PortSet.h"
#include "agent/propagation/PortSlots.h"
#include "agent/propagation/Propagation.h"
#include "agent/propagation/VlanRequests.h"
#include "agent/propagation/VlanState.h"
#include "platform/state/Notification.h"
#include "platform/time/ActivityManager.h"

namespace MrpAgent {

// Propagation of VLANs, in one context: the base spanning tree (clause 11.2.1).
//
// A VLAN that is registered on a forwarding port is declared on every other forwarding port; one
// that is registered on a single port is not declared on that port. A port that does not forward
// takes no part; its registrations count again when it forwards again. VLANs of the node's own are
// declared on every forwarding port that they concern, and count as registered there where they
// are fixed; what is forbidden on a port is neither registered nor declared there.
//
// The cost of a change is in proportion to the requests that follow from it.
class VlanPropagation final : public Propagation {
  public:
    // How a VLAN stands on a port.
    struct Membership {
        bool registered = false;  // by a neighbour
        Registration registration = Registration::normal;
        bool configured = false;  // declared by the node itself, wherever the port forwards
        bool declared = false;    // requested of the application

        // Whether the port belongs to the VLAN's member set (clause 8.8.10).
        bool member() const {
            return registration == Registration::fixed ||
                   (registration == Registration::normal && registered);
        }
        bool operator==(const Membership&) const = default;
    };
    struct Counters {
        std::uint64_t declared = 0;   // requests
        std::uint64_t withdrawn = 0;  // requests
        std::uint64_t indications = 0;
        std::uint64_t forbidden = 0;  // joins that were discarded
    };

    // How long joins from a port are propagated as New after its topology change: how long
    // tcDetected holds at the most (clause 13.25.29: HelloTime + 1 s).
    static constexpr Platform::Seconds topologyChangeTime = 3;

    // Both outlive it. `propagates`: false for a station with several ports, which declares only
    // what is its own.
    VlanPropagation(Platform::ActivityManager& activityManager, VlanRequests& requests,
                    bool propagates);
    ~VlanPropagation() override;

    void portIs(Platform::IntfId port) override;
    void portDel(Platform::IntfId port) override;
    void forwardingIs(Platform::IntfId port, bool forwarding, bool topologyChange) override;
    void declarationsAre(const std::vector<Declaration>& declarations) override;
    bool joinIndicated(const Mrp::MrpAttribute& attribute, bool isNew) override;
    void leaveIndicated(const Mrp::MrpAttribute& attribute) override;
    void flushed(Platform::IntfId port, const MrpInstance& instance) override;
    void resume(const MrpInstance& instance, Platform::Seconds patience) override;

    // The ports, in the order of their identifiers, and one's part.
    std::vector<Platform::IntfId> ports() const;
    bool forwarding(Platform::IntfId port) const;
    // As it will be when all that is noted has been worked off, but for `declared`.
    Membership membership(Platform::IntfId port, std::uint16_t vlan) const;
    // Whether everything that is noted has been worked off.
    bool settled() const { return touched_.empty(); }
    const Counters& counters() const { return counters_; }

    // Told when a port's member() of a VLAN changes: the port, the VLAN, whether it belongs to it
    // now. Also for a port that goes. Who reacts does not call back.
    Platform::Notification<Platform::IntfId, std::uint16_t, bool>& memberChanged() {
        return memberChanged_;
    }

  private:
    using Slot = PortSet::Slot;
    using Word = PortSet::Word;

    template <class Change>
    void change(Slot slot, std::uint16_t vlan, Change&& make);
    void ownIs(Slot slot);
    void ownIs(Slot slot, const std::vector<OwnVlan>& owns);
    void resumePort(Slot slot, const MrpInstance& instance);
    void registrationDel(Slot slot, std::uint16_t vlan);
    void touch(std::uint16_t vlan);
    void touchAll();
    void handleTurn();
    std::size_t workOff(std::uint16_t vlan);

    Platform::ActivityManager& activityManager_;
    VlanRequests& requests_;
    bool propagates_;
    std::vector<Declaration> declarations_;
    PortSlots slots_;
    PortSet forwarding_;
    std::vector<Platform::Seconds> newUntil_;  // by slot: until when its joins count as New
    std::vector<VlanState> vlans_;             // by VLAN
    std::deque<std::uint16_t> touched_;        // to be worked off, each once
    Counters counters_;
    Platform::Notification<Platform::IntfId, std::uint16_t, bool> memberChanged_;
    bool turnComes_ = false;  // work is posted, or the alarm set
    bool patient_ = false;    // nothing is withdrawn
    Platform::Alarm turnAlarm_;
    Platform::Alarm patienceAlarm_;
    // By which posted work finds out that the propagation is gone.
    std::shared_ptr<VlanPropagation*> self_ = std::make_shared<VlanPropagation*>(this);
};

}  // namespace MrpAgent
