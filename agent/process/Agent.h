#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/attributelog/AttributeLog.h"
#include "agent/control/ControlServer.h"
#include "agent/control/LogMemory.h"
#include "agent/node/Node.h"
#include "agent/process/KernelPorts.h"
#include "agent/standby/ActiveFollower.h"
#include "platform/linux/EpollActivityManager.h"
#include "platform/linux/PathLock.h"

namespace MrpAgent {

// The node that mrp-agent is: on the kernel's interfaces, with an attribute log and control
// sockets. As a standby it has packet access, follows the log of the active agent, and can take
// over from it. Destroyed before the activity manager and the log memory.
class Agent final : public Node {
  public:
    Agent(Platform::Linux::EpollActivityManager& activityManager, const AgentConfig& config,
          const LogMemory& logMemory, Tell tell);
    ~Agent() override { stop(); }

    // Reads the kernel's interfaces, and runs on them; a standby one begins to follow. Returns what
    // went wrong, in words for the user; nothing runs then.
    std::vector<std::string> start(Role role);
    // A standby agent takes over; an active one goes on.
    void takeOver();
    // Goes on with another configuration. Returns the keys whose change needs a restart, and has
    // not been made.
    std::vector<std::string> reload(const AgentConfig& config);
    // Disables the interfaces, application by application, in the order of the configuration.
    void stop();

    // What docs/mrp-agent.md says of SIGUSR1.
    Json status() const;

    Json agentJson() const override;
    std::optional<std::string> activate() override;
    std::vector<Finding> examine() const override;

  protected:
    void handlePropagation(VlanPropagation& propagation) override {
        kernelPorts_.membersAre(propagation);
    }

  private:
    void makeLog();
    std::vector<std::string> open();
    std::optional<std::string> listen();
    void follow();
    std::optional<std::string> handleGone();
    std::optional<std::string> claim();

    Platform::Linux::EpollActivityManager& activityManager_;
    const LogMemory& logMemory_;
    KernelPorts kernelPorts_;
    std::unique_ptr<AttributeLog> log_;  // outlives the instances, which hold its output
    std::unique_ptr<ActiveFollower> follower_;
    std::optional<Platform::Linux::PathLock> claim_;  // on the log of the agent that has gone
    std::unique_ptr<ControlServer> control_;
    Platform::Alarm listenAlarm_;  // set while the control sockets' paths are not to be had
};

}  // namespace MrpAgent
