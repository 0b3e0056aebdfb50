#pragma once

#include <memory>
#include <string>
#include <vector>

#include "agent/config/AgentConfig.h"
#include "agent/status/StatusJson.h"
#include "platform/linux/EpollActivityManager.h"
#include "platform/linux/LinuxNetInfo.h"

namespace MrpAgent {

// The agent's work on the kernel's interfaces: one MrpInstance an application, on all interfaces of
// the configuration. Destroyed before the activity manager.
class Agent {
  public:
    Agent(Platform::Linux::EpollActivityManager& activityManager, AgentConfig config);
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;
    ~Agent() { stop(); }

    // Makes the instances, enables the interfaces and declares. Returns what went wrong, in words
    // for the user; nothing runs then.
    std::vector<std::string> start();
    // Disables the interfaces, application by application, in the order of the configuration.
    void stop();

    Json status() const { return statusJson(instances_); }

  private:
    std::vector<std::string> addInterfaces();
    void makeInstances();
    std::vector<std::string> enableInterfaces();
    void declareAll();

    Platform::Linux::EpollActivityManager& activityManager_;
    AgentConfig config_;
    NodeInterfaces interfaces_ = NodeInterfaces::make();
    Platform::Linux::LinuxNetInfo netInfo_;
    std::vector<std::unique_ptr<MrpInstance>> instances_;
};

}  // namespace MrpAgent
