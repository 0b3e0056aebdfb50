#pragma once

#include <memory>
#include <string>
#include <vector>

#include "agent/config/AgentConfig.h"
#include "agent/status/StatusJson.h"
#include "platform/virtual/VirtualEthDev.h"

namespace MrpLab {

// A node in memory: one Ethernet interface, and an engine for each application of its
// configuration. Works on any activity manager, which outlives it.
class VirtualNode {
  public:
    // `config` names the one interface.
    VirtualNode(Platform::ActivityManager& activityManager, const MrpAgent::AgentConfig& config,
                const Platform::EthAddr& addr);
    // A standby of the node, on the same interface.
    VirtualNode(Platform::ActivityManager& activityManager, const MrpAgent::AgentConfig& config,
                const VirtualNode& active);
    VirtualNode(const VirtualNode&) = delete;
    VirtualNode& operator=(const VirtualNode&) = delete;
    ~VirtualNode();

    Platform::Virtual::VirtualEthDev& device() { return *device_; }
    MrpAgent::Json status() const { return MrpAgent::statusJson(instances_); }
    std::vector<Platform::Ptr<Mrp::MrpStatus>> statuses() const;
    // A standby takes over.
    void becomeActive();

    // Declares everything that the configuration says.
    void declareAll(const MrpAgent::AgentConfig& config);
    // Withdraws what the first configuration declares and the second does not.
    void withdraw(const MrpAgent::AgentConfig& before, const MrpAgent::AgentConfig& after);

  private:
    void makeInstances(Platform::ActivityManager& activityManager,
                       const MrpAgent::AgentConfig& config, bool standby);
    MrpAgent::MrpInstance& instance(Mrp::MrpApplication application);

    Platform::IntfId intfId_;
    Platform::EthAddr addr_;
    Platform::Ptr<Platform::Virtual::VirtualEthDev> device_;
    MrpAgent::NodeInterfaces interfaces_ = MrpAgent::NodeInterfaces::make();
    std::vector<std::unique_ptr<MrpAgent::MrpInstance>> instances_;
};

}  // namespace MrpLab
