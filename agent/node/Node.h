#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "agent/config/AgentConfig.h"
#include "agent/control/ControlNode.h"
#include "agent/node/DeclarationBook.h"
#include "agent/propagation/IndicationLib.h"
#include "platform/status/Stp.h"

namespace MrpAgent {

// A bridge or station that runs MRP: an instance of each application, the ports it has at the
// moment, and what joins them. Whoever keeps the ports (the kernel's, or those of a laboratory)
// enters their devices into interfaces() and tells of each change. Works on any activity manager,
// which outlives it.
class Node : public ControlNode {
  public:
    enum class Role { active, standby };
    // A message for the user, of a node that runs.
    using Tell = std::function<void(const std::string& message)>;

    Node(Platform::ActivityManager& activityManager, AgentConfig config, Tell tell);
    ~Node() override;

    NodeInterfaces& interfaces() { return interfaces_; }

    // Makes the instances, which have no ports yet, and declares what the configuration says on
    // every port that comes. Once.
    void run(Role role, const Platform::EthAddr& bridgeAddr);
    // Takes the ports away, application by application, and ends the instances.
    void end();

    // The port as it is now; its device and status are in interfaces(). MRP runs on it while its
    // link is up.
    void portIs(const Port& port);
    // Before its device is taken out of interfaces().
    void portDel(const std::string& name);
    // Why there is no packet access on ports that should have it, in words for the user; and tries
    // to open it again.
    std::vector<std::string> accessErrors() const;
    void openAccess();
    // Whether a spanning tree decides which ports forward.
    void spanningTreeIs(bool spanningTree);
    void bridgeAddrIs(const Platform::EthAddr& addr);

    // A standby node goes on as the active one.
    void becomeActive();

    const AgentConfig& config() const { return config_; }
    // Takes over what can change while it runs: times, flooding and declarations.
    void configIs(AgentConfig config);

    Role role() const { return role_; }
    // Null where there is no MVRP, and on a standby node.
    VlanPropagation* vlanPropagation() const;

    Json agentJson() const override;
    std::vector<Port> ports() const override;
    Instances instances() const override { return instances_; }
    const VlanPropagation* vlans() const override { return vlanPropagation(); }
    Platform::Notification<>& portsChanged() override { return portsChanged_; }
    std::optional<std::string> declare(const std::vector<Declaration>& declarations) override;
    std::optional<std::string> withdraw(const std::vector<Declaration>& declarations) override;
    std::vector<Declaration> declarations() const override { return book_.all(); }
    std::optional<std::string> activate() override;
    std::vector<Finding> examine() const override { return {}; }

  protected:
    std::vector<Platform::Ptr<Mrp::MrpStatus>> statuses() const;
    void tell(const std::string& message) const { tell_(message); }
    // The propagation of VLANs has been made, and no port is in it yet.
    virtual void handlePropagation(VlanPropagation&) {}

  private:
    // Beside the instance of the same place.
    struct Application {
        Platform::Ptr<IndicationLib> mrpLib;
        std::unique_ptr<VlanRequests> vlanRequests;
        std::unique_ptr<Propagation> propagation;  // of an active node
    };

    void makePropagation(std::size_t application);
    void enable(std::size_t application, const Port& port);
    void disable(std::size_t application, const Port& port);
    Platform::Stp::PartDir<Platform::Stp::PortStatus>& portRoles();
    void roleIs(const Port& port);
    void handleRole(const Port& port, int before);
    void nativeVlanIs(const Port& port);
    void forwardingIs(std::size_t application, const Port& port, bool topologyChange);
    void forgetOthers(MrpInstance& instance) const;
    void declareAll();
    std::string topologyName() const;

    Platform::ActivityManager& activityManager_;
    AgentConfig config_;
    Tell tell_;
    Role role_ = Role::active;
    Platform::Seconds began_;
    NodeInterfaces interfaces_ = NodeInterfaces::make();
    Platform::Ptr<Platform::Stp::Status> stpStatus_;
    bool spanningTree_ = false;
    std::map<std::string, Port> ports_;
    DeclarationBook book_;
    std::vector<std::unique_ptr<MrpInstance>> instances_;
    std::vector<Application> applications_;
    Platform::Notification<> portsChanged_;
};

}  // namespace MrpAgent
