#include "agent/process/KernelPorts.h"

#include <algorithm>
#include <utility>

#include "agent/bridge/BridgeDoctor.h"

namespace MrpAgent {

using namespace Platform;

namespace {

// Between two tries to open packet access that the kernel has refused.
constexpr Seconds accessInterval = 2;

ControlNode::Port nodePortOf(const Port& port) {
    ControlNode::Port nodePort;
    nodePort.name = port.name;
    nodePort.link = port.up;
    nodePort.state = stringValue(port.state);
    nodePort.role = port.up ? roleOf(port.state) : 0;
    nodePort.forwarding = port.up && port.state == PortState::forwarding;
    nodePort.addr = port.addr;
    nodePort.mtu = port.mtu;
    nodePort.nativeVlan = port.nativeVlan;
    return nodePort;
}

std::string stateText(const Port& port) {
    return port.up ? stringValue(port.state) : "link down";
}

}  // namespace

KernelPorts::KernelPorts(Linux::EpollActivityManager& activityManager, Node& node, Node::Tell tell)
    : activityManager_(activityManager),
      node_(node),
      tell_(std::move(tell)),
      netInfo_(activityManager, node.interfaces().kernelStatus, node.interfaces().allIntfStatus,
               node.interfaces().ethPhyIntfStatus),
      linkWatch_(
          activityManager, [this] { update(); }, tell_),
      accessAlarm_(activityManager.clock(), [this] {
          node_.openAccess();
          watchAccess();
      }) {}

std::vector<std::string> KernelPorts::read() {
    std::vector<std::string> errors;
    for (const std::string& name : node_.config().interfaces) {
        if (auto error = netInfo_.addInterface(name)) {
            errors.push_back(std::move(*error));
        } else {
            netInfo_.delInterface(name);
        }
    }
    if (errors.empty()) {
        linkWatch_.start();
    }
    return errors;
}

EthAddr KernelPorts::bridgeAddr() const {
    const AgentConfig& config = node_.config();
    const PortTable table = portTableOf(linkWatch_.links(), config.bridge.name, config.interfaces);
    if (config.bridgeMacAddr) {
        return *config.bridgeMacAddr;
    }
    if (table.bridgeFound) {
        return table.bridgeAddr;
    }
    const auto first = config.interfaces.empty() ? table.ports.begin()
                                                 : table.ports.find(config.interfaces.front());
    return first != table.ports.end() ? first->second.addr : EthAddr();
}

void KernelPorts::follow() {
    follows_ = true;
    silent_ = true;
    update();
    silent_ = false;
}

void KernelPorts::update() {
    if (!follows_) {
        return;
    }
    const AgentConfig& config = node_.config();
    PortTable table = portTableOf(linkWatch_.links(), config.bridge.name, config.interfaces);
    std::swap(table_, table);  // `table` is what was
    node_.bridgeAddrIs(bridgeAddr());
    if (table.spanningTree != table_.spanningTree) {
        node_.spanningTreeIs(table_.spanningTree);
    }
    tellOfMissing();
    for (const auto& [name, port] : table.ports) {
        const auto found = table_.ports.find(name);
        // Another interface may have the name by now.
        if (found == table_.ports.end() || found->second.index != port.index) {
            delPort(port);
        }
    }
    for (const auto& [name, port] : table_.ports) {
        const auto found = table.ports.find(name);
        if (found == table.ports.end() || found->second.index != port.index) {
            addPort(port);
        } else if (!(found->second == port)) {
            changePort(port, found->second);
        }
    }
    if (vlanFilter_) {
        vlanFilter_->review();
    }
    watchAccess();
}

void KernelPorts::tellOfMissing() {
    std::set<std::string> missing;
    const std::string& bridge = node_.config().bridge.name;
    if (!bridge.empty() && !table_.bridgeFound) {
        missing.insert(bridge);
    }
    for (const std::string& name : node_.config().interfaces) {
        if (!table_.ports.contains(name)) {
            missing.insert(name);
        }
    }
    std::swap(missing_, missing);  // `missing` is what was
    for (const std::string& name : missing_) {
        if (!missing.contains(name)) {
            tell_(name + ": no such " + (name == bridge ? "bridge" : "Ethernet interface") +
                  "; waiting for it");
        }
    }
}

void KernelPorts::addPort(const Port& port) {
    if (const auto error = netInfo_.addInterface(port.name)) {
        // It has gone again; the kernel will say so.
        tell_(*error);
        table_.ports.at(port.name).index = 0;
        return;
    }
    tellOfPort(port.name + ": a port, " + stateText(port));
    node_.portIs(nodePortOf(port));
}

void KernelPorts::changePort(const Port& port, const Port& before) {
    if (port.addr != before.addr || port.mtu != before.mtu) {
        static_cast<void>(netInfo_.addInterface(port.name));
    }
    if (port.up != before.up || port.state != before.state) {
        tellOfPort(port.name + ": " + stateText(port));
    }
    node_.portIs(nodePortOf(port));
}

void KernelPorts::tellOfPort(const std::string& message) const {
    if (!silent_) {
        tell_(message);
    }
}

void KernelPorts::delPort(const Port& port) {
    tellOfPort(port.name + ": no port any more");
    node_.portDel(port.name);
    netInfo_.delInterface(port.name);
    if (vlanFilter_) {
        vlanFilter_->portDel(port.index);
    }
}

// The agent does not start without packet access; what fails later is tried again.
void KernelPorts::watchAccess() {
    const std::vector<std::string> errors = node_.accessErrors();
    if (std::exchange(accessErrors_, errors) != errors && !silent_) {
        for (const std::string& error : errors) {
            tell_(error);
        }
    }
    accessAlarm_.expiryIs(errors.empty() ? never : activityManager_.clock().now() + accessInterval);
}

// --- The VLAN filter ---

void KernelPorts::membersAre(VlanPropagation& propagation) {
    if (!node_.config().bridge.vlanFilter) {
        return;
    }
    vlanFilter_.emplace(activityManager_, tell_);
    memberReactor_ =
        propagation.memberChanged().react([this](IntfId port, std::uint16_t vlan, bool member) {
            const auto found = table_.ports.find(port.name());
            if (found != table_.ports.end()) {
                vlanFilter_->memberIs(found->second.index, vlan, member);
            }
        });
}

void KernelPorts::finish() {
    memberReactor_ = Reactor();
    if (vlanFilter_) {
        vlanFilter_->finish();
        vlanFilter_.reset();
    }
}

// --- What is told of it ---

Json KernelPorts::json() const {
    const std::string& name = node_.config().bridge.name;
    const VlanFilter::Status filter = vlanFilter_ ? vlanFilter_->status() : VlanFilter::Status{};
    const auto textOrNull = [](const std::string& text) {
        return text.empty() ? Json() : Json(text);
    };
    return {{"name", textOrNull(name)},
            {"found", table_.bridgeFound},
            {"mac", bridgeAddr().stringValue()},
            {"spanningTree", table_.spanningTree},
            {"vlanFilter",
             {{"enabled", vlanFilter_.has_value()},
              {"writes", filter.writes},
              {"failures", filter.failures},
              {"lastError", textOrNull(filter.lastError)}}}};
}

std::vector<ControlNode::Finding> KernelPorts::examine() const {
    BridgeUse use;
    const AgentConfig& config = node_.config();
    const auto runs = [&](Mrp::MrpApplication application) {
        return std::find(config.applications.begin(), config.applications.end(), application) !=
               config.applications.end();
    };
    use.bridgeName = config.bridge.name;
    use.interfaces = config.interfaces;
    use.mvrp = runs(Mrp::MrpApplication::mvrp);
    use.msrp = runs(Mrp::MrpApplication::msrp);
    use.vlanFilter = config.bridge.vlanFilter;
    std::vector<ControlNode::Finding> findings;
    const PortTable table = portTableOf(linkWatch_.links(), use.bridgeName, use.interfaces);
    for (const Finding& finding : examineBridge(table, use)) {
        findings.push_back({static_cast<ControlNode::Finding::Severity>(finding.severity),
                            finding.text, finding.advice});
    }
    return findings;
}

}  // namespace MrpAgent
