#pragma once

#include <map>
#include <string>
#include <vector>

#include "agent/control/AttributeAges.h"
#include "agent/control/ControlRequests.h"
#include "agent/control/LogMemory.h"
#include "agent/node/Node.h"
#include "platform/virtual/VirtualEthDev.h"

namespace MrpLab {

// A bridge or station on Ethernet devices in memory, whose ports it keeps as mrp-agent keeps those
// of a kernel. Works on any activity manager, which outlives it.
class VirtualNode {
  public:
    using Rows = std::vector<MrpAgent::Json>;

    // With these ports, whose links are up and which forward; addresses count from `addr` on.
    VirtualNode(Platform::ActivityManager& activityManager, std::string name,
                const std::vector<std::string>& ports, MrpAgent::AgentConfig config,
                std::uint64_t addr);
    VirtualNode(const VirtualNode&) = delete;
    VirtualNode& operator=(const VirtualNode&) = delete;

    const std::string& name() const { return name_; }
    // Of a port that there is.
    Platform::Virtual::VirtualEthDev& device(const std::string& port);
    // The cable is plugged in, or pulled out.
    void linkIs(const std::string& port, bool link);

    // Asks what a client of the control socket may ask (docs/control-socket.md), and returns the
    // rows of the answer. Throws MrpAgent::RequestError when it is not done. Not for `watch` and
    // `wait`, which take time.
    Rows request(const MrpAgent::Json& request);

  private:
    struct Port {
        Platform::Ptr<Platform::Virtual::VirtualEthDev> device;
        MrpAgent::ControlNode::Port state;
    };

    std::string name_;
    std::map<std::string, Port> ports_;
    MrpAgent::Node node_;
    MrpAgent::AttributeAges ages_;
    MrpAgent::LogMemory log_;
    MrpAgent::ControlRequests requests_;
};

}  // namespace MrpLab
