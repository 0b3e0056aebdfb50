#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "agent/instance/Declaration.h"
#include "agent/propagation/VlanPropagation.h"
#include "agent/status/StatusJson.h"
#include "platform/state/Notification.h"

namespace MrpAgent {

// A node as its control requests see it (docs/control-socket.md): mrp-agent, or a bridge of the
// laboratory. What it returns by pointer lives as long as the node.
class ControlNode {
  public:
    struct Port {
        std::string name;
        bool link = false;
        std::string state;  // "forwarding"
        int role = 0;       // of the spanning tree, as the engine sees it
        bool forwarding = false;
        Platform::EthAddr addr;
        std::size_t mtu = 0;
        std::uint16_t nativeVlan = 0;

        bool operator==(const Port&) const = default;
    };
    struct Finding {
        enum class Severity { ok, warning, problem };
        Severity severity;
        std::string text;
        std::string advice;  // empty: none
    };
    using Instances = std::span<const std::unique_ptr<MrpInstance>>;

    ControlNode() = default;
    ControlNode(const ControlNode&) = delete;
    ControlNode& operator=(const ControlNode&) = delete;
    virtual ~ControlNode() = default;

    // The members of `show agent` that are the node's: all but "version" and
    // "control".
    virtual Json agentJson() const = 0;
    // By name.
    virtual std::vector<Port> ports() const = 0;
    virtual Instances instances() const = 0;
    // Null where there is no MVRP, and on a standby node.
    virtual const VlanPropagation* vlans() const = 0;
    // Told when a port appears, changes or goes.
    virtual Platform::Notification<>& portsChanged() = 0;

    // Takes the declarations over, or none of them: why not, in words for the user.
    virtual std::optional<std::string> declare(const std::vector<Declaration>& declarations) = 0;
    // Ends them, or none: an attribute (application, type and key; the value does not matter) on
    // those of its interfaces.
    virtual std::optional<std::string> withdraw(const std::vector<Declaration>& declarations) = 0;
    // All that it declares or forbids by itself, wherever and whether or not its ports are up.
    virtual std::vector<Declaration> declarations() const = 0;
    // A standby node becomes active. Why not?
    virtual std::optional<std::string> activate() = 0;
    virtual std::vector<Finding> examine() const = 0;
};

}  // namespace MrpAgent
