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
    // The bridge whose ports the agent runs on; empty: on the interfaces listed below.
    struct Bridge {
        std::string name;
        bool vlanFilter = false;  // write registered VLANs into the bridge's filter
    };
    // Where control requests are taken (docs/control-socket.md); nowhere when nothing is said.
    struct Control {
        std::optional<std::string> path;
        std::optional<std::string> readOnlyPath;

        bool operator==(const Control&) const = default;
    };

    Bridge bridge;
    Control control;
    // Whether what is registered on one port is declared on the others.
    bool propagation = true;
    std::vector<std::string> interfaces;
    // The bridge's, or that of the first interface, when nothing is said.
    std::optional<Platform::EthAddr> bridgeMacAddr;
    bool mrpFlooding = false;
    Timers timers;
    std::map<std::string, IntfTimers> intfTimers;
    std::vector<Declaration> declarations;
    // Where other programs can read the attributes; nowhere when nothing is said.
    std::optional<std::string> attributeLogPath;
    Standby standby;
};

// Brings the engine's configuration entity of an application to what the configuration says.
void apply(const AgentConfig& config, Mrp::MrpConfig& mrpConfig);
Platform::Ptr<Mrp::MrpConfig> mrpConfigOf(const AgentConfig& config);

}  // namespace MrpAgent
