#pragma once

#include <string>

#include "agent/service/DatagramSender.h"
#include "agent/service/ServiceEnvironment.h"
#include "platform/time/ActivityManager.h"

namespace MrpAgent {

// Tells the service manager (systemd) what the agent is doing, by the protocol of sd_notify(3), and
// that its event loop runs. It does nothing when none is there to be told. The main program makes
// one before it starts the agent and keeps it until the agent has stopped; it is destroyed before
// the activity manager.
//
// No call waits: what the manager does not take is told again every second. Only the newest word of
// each kind is kept for that.
class ServiceManager final {
  public:
    // With a watchdog, says three times in each of its intervals that the loop runs: from an alarm,
    // so that one that hangs is silent.
    ServiceManager(Platform::ActivityManager& activityManager,
                   const ServiceEnvironment& environment);

    // The agent runs: its interfaces are enabled and all is declared, or it is in standby. Also at
    // the end of what reloading() began, successful or not.
    void ready();
    // The configuration is about to be read anew. ready() follows.
    void reloading();
    // The agent is about to stop.
    void stopping();
    // A line for the user, such as "standby, in step with the active agent".
    void statusIs(std::string text);

  private:
    void stateIs(std::string state);
    void handleWatchdog();
    void flush();

    DatagramSender sender_;
    bool told_;  // somebody wants to be
    Platform::Seconds pingInterval_;
    // What the manager has not taken yet, as the protocol has it.
    std::string state_;
    std::string status_;
    std::string ping_;
    Platform::Alarm retry_;
    Platform::Alarm watchdog_;
};

}  // namespace MrpAgent
