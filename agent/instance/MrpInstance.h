#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "mrp/MrpSm/root/MrpSm.h"
#include "platform/status/KernelNetInfo.h"
#include "platform/time/ActivityManager.h"

namespace MrpAgent {

// Where a node's interfaces come from: the Linux binding fills these from the kernel, the virtual
// one from its wires. Shared by the applications of a node.
struct NodeInterfaces {
    Platform::Ptr<Platform::KernelNetInfo::Status> kernelStatus;
    Platform::Ptr<Platform::Interface::AllIntfStatusDir> allIntfStatus;
    Platform::Ptr<Platform::Interface::AllEthPhyIntfStatusDir> ethPhyIntfStatus;

    // Empty directories.
    static NodeInterfaces make();
};

// The group address and EtherType that the standard assigns to an application (IEEE 802.1Q tables
// 10-1 and 10-2); an application without an assignment gets those of MSRP.
Platform::EthAddr groupAddr(Mrp::MrpApplication application);
std::uint16_t etherType(Mrp::MrpApplication application);

// One MRP application of a node: the engine, its library object, and the entities that it reads and
// writes. Destroyed before the activity manager.
class MrpInstance {
  public:
    struct Parameters {
        std::string nodeName = "mrp";
        Mrp::MrpApplication application = Mrp::MrpApplication::mvrp;
        Platform::EthAddr bridgeMac;
        bool standby = false;
        // The spanning-tree status; null where there is none.
        Platform::Ptr<Platform::Stp::Status> stpStatus;
        // An application's own library object; a plain one when null.
        Platform::Ptr<Mrp::MrpLib> mrpLib;
        // Read and followed by the engine; one with the defaults when null.
        Platform::Ptr<Mrp::MrpConfig> mrpConfig;
    };

    MrpInstance(Platform::ActivityManager& activityManager, const NodeInterfaces& interfaces,
                const Parameters& parameters);
    MrpInstance(const MrpInstance&) = delete;
    MrpInstance& operator=(const MrpInstance&) = delete;
    ~MrpInstance();

    Mrp::MrpApplication application() const { return mrpLib_->application(); }
    Mrp::MrpLib& mrpLib() { return *mrpLib_; }
    Mrp::MrpSm& mrpSm() { return *mrpSm_; }
    const Mrp::MrpSm& mrpSm() const { return *mrpSm_; }
    Mrp::MrpConfig& mrpConfig() { return *mrpConfig_; }
    Mrp::MrpStatus& mrpStatus() { return *mrpStatus_; }
    Platform::Bridging::Config& brConfig() { return *brConfig_; }

    // Asks for MRP on the interface. False when packet access could not be opened at once; why is
    // in MrpSm::pamMan()->openError().
    bool enable(Platform::IntfId intfId);
    void disable(Platform::IntfId intfId);

    // A standby instance runs the protocol from now on, with what its status holds. Its sockets may
    // hold frames from any time, and what neighbours said meanwhile may have been lost; so these
    // are read first, and then the neighbours asked, by a LeaveAll, to declare anew, and told what
    // is declared here. What only an old frame declares goes with the next LeaveAll of the engine's
    // own.
    void becomeActive();

    // Sends a LeaveAll on the interface, so that its neighbours declare anew, and what is declared
    // here with it.
    void askNeighbours(Platform::IntfId intfId);

    // Whether the attribute is declared here.
    bool declares(const Mrp::MrpAttribute& attribute) const;

    // Makes one request for an attribute on an interface: `event` is one of Mrp::AttributeEvent,
    // `value` the octets of the value record (25, 34, 12, 4 or 2 of them; others are ignored and
    // the request refused).
    bool request(Platform::IntfId intfId, Mrp::AttributeType attributeType, std::uint8_t event,
                 std::span<const std::uint8_t> value);

  private:
    static void readWaiting(Platform::EthDevPam& pam);

    Platform::Ptr<Platform::EntityManager> entityManager_;
    Platform::Ptr<Platform::Bridging::Config> brConfig_;
    Platform::Ptr<Mrp::MrpConfig> mrpConfig_;
    Platform::Ptr<Mrp::MrpStatus> mrpStatus_;
    Platform::Ptr<Mrp::MrpLib> mrpLib_;
    Platform::Ptr<Mrp::MrpSm> mrpSm_;
};

}  // namespace MrpAgent
