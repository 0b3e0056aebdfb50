#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "agent/bridge/LinkWatch.h"
#include "agent/bridge/PortTable.h"
#include "agent/bridge/VlanFilter.h"
#include "agent/node/Node.h"
#include "platform/linux/LinuxNetInfo.h"

namespace MrpAgent {

// Keeps a node's ports as the kernel has them: those of the configuration's bridge, or the
// interfaces that it lists. The node outlives it.
class KernelPorts final {
  public:
    KernelPorts(Platform::Linux::EpollActivityManager& activityManager, Node& node,
                Node::Tell tell);
    KernelPorts(const KernelPorts&) = delete;
    KernelPorts& operator=(const KernelPorts&) = delete;

    // Reads the kernel's interfaces for the first time. Returns what is wrong, in words for the
    // user: listed interfaces that are not there or are no Ethernet interfaces.
    std::vector<std::string> read();
    // The address of the bridge: the configuration's, else the kernel's, else that of the first
    // interface.
    Platform::EthAddr bridgeAddr() const;
    // Tells the node, which runs by now, of its ports; and from now on of what changes. Of the
    // first ports nothing is said to the user.
    void follow();
    // The node's configuration may name other ports.
    void handleConfig() { update(); }
    // Writes the ports' members into the bridge's VLAN filter from now on, where the configuration
    // wants it.
    void membersAre(VlanPropagation& propagation);
    // Takes out of the filter again what was written there.
    void finish();

    // The member "bridge" of `show agent`.
    Json json() const;
    std::vector<ControlNode::Finding> examine() const;

  private:
    void update();
    void addPort(const Port& port);
    void changePort(const Port& port);
    void tellOfPort(const std::string& message) const;
    void delPort(const Port& port);
    void tellOfMissing();
    void watchAccess();

    Platform::Linux::EpollActivityManager& activityManager_;
    Node& node_;
    Node::Tell tell_;
    Platform::Linux::LinuxNetInfo netInfo_;
    LinkWatch linkWatch_;
    bool follows_ = false;
    bool silent_ = false;
    PortTable table_;                   // as the kernel has it
    std::map<std::string, Port> told_;  // as the node has been told
    std::optional<VlanFilter> vlanFilter_;
    Platform::Reactor memberReactor_;
    std::set<std::string> missing_;          // told: the bridge, or listed interfaces
    std::vector<std::string> addErrors_;     // of ports that the node could not be told of
    std::vector<std::string> accessErrors_;  // told last
    Platform::Alarm accessAlarm_;
};

}  // namespace MrpAgent
