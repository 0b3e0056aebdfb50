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
          update();
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
    table_ = portTableOf(linkWatch_.links(), config.bridge.name, config.interfaces);
    node_.bridgeAddrIs(bridgeAddr());
    node_.spanningTreeIs(table_.spanningTree);
    tellOfMissing();
    for (const auto& [name, port] : std::map(told_)) {
        const auto now = table_.ports.find(name);
        // Another interface may have the name by now.
        if (now == table_.ports.end() || now->second.index != port.index) {
            delPort(port);
        }
    }
    addErrors_.clear();
    for (const auto& [name, port] : table_.ports) {
        const auto told = told_.find(name);
        if (told == told_.end()) {
            addPort(port);
        } else if (!(told->second == port)) {
            changePort(port);
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
        addErrors_.push_back(*error);
        return;
    }
    told_[port.name] = port;
    tellOfPort(port.name + ": a port, " + stateText(port));
    node_.portIs(nodePortOf(port));
}

void KernelPorts::changePort(const Port& port) {
    const Port before = std::exchange(told_[port.name], port);
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

// Takes its VLANs out of the filter as well: the interface may stay a port of its bridge.
void KernelPorts::delPort(const Port& port) {
    tellOfPort(port.name + ": no port any more");
    node_.portDel(port.name);
    told_.erase(port.name);
    netInfo_.delInterface(port.name);
    if (vlanFilter_ && !linkWatch_.links().contains(port.index)) {
        vlanFilter_->portDel(port.index);
    }
}

// The agent does not start without packet access; what fails later is tried again.
void KernelPorts::watchAccess() {
    std::vector<std::string> errors = addErrors_;
    for (std::string& error : node_.accessErrors()) {
        errors.push_back(std::move(error));
    }
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
            const auto found = told_.find(port.name());
            if (found != told_.end()) {
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
    using Severity = ControlNode::Finding::Severity;
    std::vector<ControlNode::Finding> findings;
    for (const std::string& error : accessErrors_) {
        findings.push_back({Severity::problem, error, "give the agent CAP_NET_RAW"});
    }
    if (vlanFilter_ && !vlanFilter_->status().lastError.empty()) {
        findings.push_back({Severity::warning,
                            "the VLAN filter was not written: " + vlanFilter_->status().lastError,
                            "give the agent CAP_NET_ADMIN, and the bridge vlan_filtering 1"});
    }
    const PortTable table = portTableOf(linkWatch_.links(), use.bridgeName, use.interfaces);
    for (const Finding& finding : examineBridge(table, use)) {
        findings.push_back({static_cast<Severity>(finding.severity), finding.text, finding.advice});
    }
    return findings;
}

}  // namespace MrpAgent
