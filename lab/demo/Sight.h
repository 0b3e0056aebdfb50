#pragma once

#include <array>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "agent/status/StatusJson.h"
#include "lab/demo/Expectation.h"

namespace MrpLab {

// What is seen of a network at one moment, by rows of the control sockets of its nodes
// (docs/control-socket.md).
class Sight {
  public:
    using Rows = std::vector<MrpAgent::Json>;

    // The rows of `show vlans` and of `show domain`, whole and once a node. Throw
    // nlohmann::json::exception when they are none.
    void vlansAre(const std::string& node, const Rows& rows);
    void domainsAre(const std::string& node, const Rows& rows);

    // Where it differs from what the stage expects, one line each; empty when all is as it should
    // be.
    std::vector<std::string> differences(const Stage& stage) const;
    // VLANs and SR classes that are registered, on all ports of all nodes.
    std::size_t registrations() const;
    // Those of them that the other does not have.
    std::size_t registrationsWithout(const Sight& other) const;

  private:
    using Names = std::set<std::string>;  // of a VLAN, or an SR class
    enum List { registered, declared, fixed, forbidden, lists };
    struct Port {
        std::array<Names, lists> names;
    };

    static Port expected(const PortExpectation& expectation);

    std::map<std::string, Port> ports_;  // by "node port"
};

}  // namespace MrpLab
