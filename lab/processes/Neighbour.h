#pragma once

#include <set>
#include <vector>

#include "agent/status/AttributeTable.h"
#include "platform/base/Assert.h"
#include "platform/linux/LinuxNetInfo.h"

namespace MrpLab {

using namespace Platform;
using namespace Mrp;

// The node at the end "va" of the cable, in the test's own process. It has one application and one
// kind of attributes: the VLANs of MVRP, or the listeners of MSRP.
class Neighbour {
  public:
    using Keys = std::set<AttributeKey>;

    Neighbour(Linux::EpollActivityManager& manager, MrpApplication application, Seconds leaveTime)
        : netInfo_(manager, interfaces_.kernelStatus, interfaces_.allIntfStatus,
                   interfaces_.ethPhyIntfStatus),
          vlans_(application == MrpApplication::mvrp),
          instance_(manager, interfaces_, parameters(application, leaveTime)) {
        require(instance_.enable(intfId_), "there is packet access");
        // A LeaveAll of the other end restarts the timer here.
        const auto database = instance_.mrpStatus().applicationDatabaseIs(application);
        reactor_ = database->leaveAllTimeChanged().react(
            [this](const auto& key) { leaveAlls += key.attributeType == type() ? 1 : 0; });
    }
    ~Neighbour() { instance_.disable(intfId_); }

    void declare(AttributeKey first, unsigned count) {
        constexpr std::uint8_t ready = 2;
        for (AttributeKey key = first; key < first + count; ++key) {
            std::vector<std::uint8_t> value;
            for (int shift = vlans_ ? 8 : 56; shift >= 0; shift -= 8) {
                value.push_back(static_cast<std::uint8_t>(key >> shift));
            }
            if (!vlans_) {
                value.insert(value.end(), {ready, 0, 0, 0});
            }
            require(instance_.request(intfId_, type(), AttributeEvent::joinIn, value), "accepted");
        }
    }
    // What the other end declares.
    Keys registered() const {
        Keys keys;
        for (const MrpAgent::AttributeRow& row : MrpAgent::attributeTable(instance_)) {
            if (row.registrar != MrpRegistrarState::MT) {
                keys.insert(row.attribute.key);
            }
        }
        return keys;
    }
    // What it has ceased to declare, at any time.
    const Keys& left() const { return lib_->left; }

    unsigned leaveAlls = 0;  // that have come from the other end

  private:
    struct Lib final : MrpLib {
        void mrpLeaveIndication(const MrpParameters&) override {
            left.insert(mrpSm()->parseContext()->attributeKey());
        }
        Keys left;
    };

    AttributeType type() const { return vlans_ ? vlanType : listenerType; }
    MrpAgent::MrpInstance::Parameters parameters(MrpApplication application, Seconds leaveTime) {
        require(!netInfo_.addInterface(intfId_.name()), "there is the cable");
        MrpAgent::MrpInstance::Parameters parameters;
        parameters.application = application;
        parameters.bridgeMac = interfaces_.ethPhyIntfStatus->value(intfId_)->addr;
        parameters.mrpLib = lib_;
        parameters.mrpConfig = makePtr<MrpConfig>();
        parameters.mrpConfig->leaveTimeIs(leaveTime);
        return parameters;
    }

    const IntfId intfId_{"va"};
    MrpAgent::NodeInterfaces interfaces_ = MrpAgent::NodeInterfaces::make();
    Linux::LinuxNetInfo netInfo_;
    bool vlans_;
    Ptr<Lib> lib_ = makePtr<Lib>();
    MrpAgent::MrpInstance instance_;
    Reactor reactor_;
};

}  // namespace MrpLab
