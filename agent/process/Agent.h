#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/attributelog/AttributeLog.h"
#include "agent/config/AgentConfig.h"
#include "agent/standby/ActiveFollower.h"
#include "agent/status/StatusJson.h"
#include "platform/linux/EpollActivityManager.h"
#include "platform/linux/LinuxNetInfo.h"
#include "platform/linux/PathLock.h"

namespace MrpAgent {

// The agent's work on the kernel's interfaces: one MrpInstance an application, on all interfaces of
// the configuration, and the attribute log. As a standby it has packet access, follows the log of
// the active agent, and can take over from it. Destroyed before the activity manager.
class Agent {
  public:
    enum class Role { active, standby };
    // A message for the user, of an agent that runs.
    using Tell = std::function<void(const std::string& message)>;

    Agent(Platform::Linux::EpollActivityManager& activityManager, AgentConfig config, Tell tell);
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;
    ~Agent() { stop(); }

    // Makes the instances and enables the interfaces; an active agent declares, a standby one
    // begins to follow. Returns what went wrong, in words for the user; nothing runs then.
    std::vector<std::string> start(Role role);
    // A standby agent takes over; an active one goes on.
    void becomeActive();
    // Disables the interfaces, application by application, in the order of the configuration.
    void stop();

    // What docs/mrp-agent.md says of SIGUSR1.
    Json status() const;

  private:
    std::vector<std::string> addInterfaces();
    std::vector<Platform::Ptr<Mrp::MrpStatus>> statuses() const;
    void makeLog();
    void makeInstances();
    std::vector<std::string> enableInterfaces();
    void declareAll();
    std::vector<std::string> runActive();
    void follow();
    std::optional<std::string> handleGone();
    std::optional<std::string> claim();

    Platform::Linux::EpollActivityManager& activityManager_;
    AgentConfig config_;
    Tell tell_;
    Role role_ = Role::active;
    NodeInterfaces interfaces_ = NodeInterfaces::make();
    Platform::Linux::LinuxNetInfo netInfo_;
    std::unique_ptr<AttributeLog> log_;  // outlives the instances, which hold its output
    std::vector<std::unique_ptr<MrpInstance>> instances_;
    std::unique_ptr<ActiveFollower> follower_;
    std::optional<Platform::Linux::PathLock> claim_;  // on the log of the agent that has gone
};

}  // namespace MrpAgent
