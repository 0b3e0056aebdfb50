#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "agent/instance/Declaration.h"
#include "mrp/MrpSm/types/MrpConfig.h"
#include "platform/base/EthAddr.h"
#include "platform/base/Seconds.h"

namespace MrpAgent {

// What the agent is told to do. The defaults of the times are the standard's (clause 10.7.11).
struct AgentConfig {
    struct Timers {
        Platform::Seconds leaveTime = 0.6;
        Platform::Seconds leaveAllTime = 10;
        Platform::Seconds txLeaveAllExpiryTime = 0.6;
    };
    // What one interface has in place of the times above.
    struct IntfTimers {
        std::optional<Platform::Seconds> leaveTime;
        std::optional<Platform::Seconds> leaveAllTime;
    };

    enum class Takeover { onSignal, onDisconnect };
    // What an agent that is started as a standby does.
    struct Standby {
        // Where the active agent's attribute log is; the same as the agent's own when nothing is
        // said, so that one configuration serves both.
        std::optional<std::string> attributeLog;
        Takeover takeover = Takeover::onSignal;
    };

    std::vector<Mrp::MrpApplication> applications{Mrp::MrpApplication::mvrp,
                                                  Mrp::MrpApplication::msrp};
    std::vector<std::string> interfaces;
    // The address of the first interface when nothing is said.
    std::optional<Platform::EthAddr> bridgeMacAddr;
    bool mrpFlooding = false;
    Timers timers;
    std::map<std::string, IntfTimers> intfTimers;
    std::vector<Declaration> declarations;
    // Where other programs can read the attributes; nowhere when nothing is said.
    std::optional<std::string> attributeLogPath;
    Standby standby;
};

// The engine's configuration entity for one application.
Platform::Ptr<Mrp::MrpConfig> mrpConfigOf(const AgentConfig& config);

}  // namespace MrpAgent
