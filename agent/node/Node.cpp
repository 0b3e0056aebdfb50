#include "agent/node/Node.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "agent/propagation/InstanceVlanRequests.h"
#include "agent/propagation/StreamPropagation.h"
#include "platform/base/Assert.h"
#include "platform/time/Dispatch.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

// What the node's state is known as.
constexpr const char* nodeName = "mrp";
// The one spanning tree there is.
constexpr const char* stpiName = "Stp";
constexpr int rapidSpanningTree = 2;  // a mode in which the topology is the CIST
constexpr int roleNotForwarding = 3;

}  // namespace

Node::Node(ActivityManager& activityManager, AgentConfig config, Tell tell)
    : activityManager_(activityManager),
      config_(std::move(config)),
      tell_(std::move(tell)),
      began_(activityManager.clock().now()),
      stpStatus_(makePtr<Stp::Status>()) {
    book_.configIs(config_.declarations);
}

Node::~Node() {
    end();
}

void Node::run(Role role, const EthAddr& bridgeAddr) {
    role_ = role;
    MrpInstance::Parameters parameters;
    parameters.nodeName = nodeName;
    parameters.standby = role_ == Role::standby;
    parameters.bridgeMac = bridgeAddr;
    parameters.stpStatus = stpStatus_;
    for (const MrpApplication application : config_.applications) {
        const auto mrpLib = makePtr<IndicationLib>();
        parameters.application = application;
        parameters.mrpLib = mrpLib;
        parameters.mrpConfig = mrpConfigOf(config_);
        instances_.push_back(
            std::make_unique<MrpInstance>(activityManager_, interfaces_, parameters));
        applications_.push_back({mrpLib, nullptr, nullptr});
        if (role_ == Role::active) {
            makePropagation(applications_.size() - 1);
        }
    }
    declareAll();
}

void Node::makePropagation(std::size_t application) {
    MrpInstance& instance = *instances_[application];
    Application& made = applications_[application];
    if (instance.application() == MrpApplication::mvrp) {
        made.vlanRequests = std::make_unique<InstanceVlanRequests>(instance);
        auto propagation = std::make_unique<VlanPropagation>(activityManager_, *made.vlanRequests,
                                                             config_.propagation);
        handlePropagation(*propagation);
        made.propagation = std::move(propagation);
    } else {
        made.propagation = std::make_unique<StreamPropagation>(activityManager_, instance);
    }
    made.mrpLib->propagationIs(made.propagation.get());
}

void Node::end() {
    for (Application& application : applications_) {
        application.mrpLib->propagationIs(nullptr);
        application.propagation.reset();
    }
    for (const auto& instance : instances_) {
        for (const auto& [name, port] : ports_) {
            instance->disable(IntfId(name));
        }
    }
    applications_.clear();
    instances_.clear();
    ports_.clear();
}

// --- Ports ---

void Node::portIs(const Port& port) {
    const Port before = std::exchange(ports_[port.name], port);
    if (before == port) {
        return;
    }
    nativeVlanIs(port);
    for (std::size_t i = 0; i < instances_.size(); ++i) {
        if (port.link && !before.link) {
            enable(i, port);
        }
    }
    roleIs(port);
    // A spanning tree has opened the port, which did not forward before.
    const bool topologyChange = spanningTree_ && before.link && before.role == roleNotForwarding;
    for (std::size_t i = 0; i < instances_.size(); ++i) {
        if (port.link) {
            forwardingIs(i, port, topologyChange);
        } else if (before.link) {
            disable(i, port);
        }
    }
    if (port.link && before.link && port.role != before.role) {
        handleRole(port, before.role);
    }
    portsChanged_.notify();
}

// A port that does not forward any more has been flushed. One that forwards again has all its
// registrations leaving (Re-declare!, clause 10.7.5.3), of which its neighbour knows nothing.
void Node::handleRole(const Port& port, int before) {
    for (std::size_t i = 0; i < instances_.size(); ++i) {
        if (applications_[i].propagation) {
            applications_[i].propagation->flushed(IntfId(port.name), *instances_[i]);
        }
        if (before == roleNotForwarding && port.forwarding) {
            instances_[i]->askNeighbours(IntfId(port.name));
        }
    }
}

void Node::portDel(const std::string& name) {
    const auto found = ports_.find(name);
    if (found == ports_.end()) {
        return;
    }
    Port gone = found->second;
    if (std::exchange(gone.link, false)) {
        gone.role = 0;
        roleIs(gone);
        for (std::size_t i = 0; i < instances_.size(); ++i) {
            disable(i, gone);
        }
    }
    portRoles().valueDel(name);
    ports_.erase(found);
    for (const auto& instance : instances_) {
        instance->brConfig().nativeVlan().valueDel(IntfId(name));
    }
    portsChanged_.notify();
}

void Node::enable(std::size_t application, const Port& port) {
    instances_[application]->enable(IntfId(port.name));
    if (const auto& propagation = applications_[application].propagation) {
        propagation->portIs(IntfId(port.name));
    }
}

void Node::forwardingIs(std::size_t application, const Port& port, bool topologyChange) {
    if (const auto& propagation = applications_[application].propagation) {
        propagation->forwardingIs(IntfId(port.name), port.forwarding, topologyChange);
    }
}

void Node::disable(std::size_t application, const Port& port) {
    if (const auto& propagation = applications_[application].propagation) {
        propagation->portDel(IntfId(port.name));
    }
    instances_[application]->disable(IntfId(port.name));
}

std::string Node::topologyName() const {
    return spanningTree_ ? Stp::TopologyName::cist : Stp::TopologyName::noStp;
}

Stp::PartDir<Stp::PortStatus>& Node::portRoles() {
    return stpStatus_->stpiStatus()
        .partIs(stpiName)
        ->mstiStatus()
        .partIs(topologyName())
        ->portStatus();
}

void Node::roleIs(const Port& port) {
    portRoles().partIs(port.name)->roleIs(port.role);
}

void Node::nativeVlanIs(const Port& port) {
    for (const auto& instance : instances_) {
        auto& nativeVlan = instance->brConfig().nativeVlan();
        if (port.nativeVlan == 0) {
            nativeVlan.valueDel(IntfId(port.name));
        } else {
            nativeVlan.valueIs(IntfId(port.name), port.nativeVlan);
        }
    }
}

void Node::spanningTreeIs(bool spanningTree) {
    if (spanningTree_ == spanningTree) {
        return;
    }
    spanningTree_ = spanningTree;
    stpStatus_->modeIs(spanningTree ? rapidSpanningTree : Stp::Mode::noStp);
    for (const auto& [name, port] : ports_) {
        roleIs(port);
    }
}

void Node::bridgeAddrIs(const EthAddr& addr) {
    for (const auto& instance : instances_) {
        instance->brConfig().bridgeMacAddrIs(addr);
    }
}

std::vector<std::string> Node::accessErrors() const {
    std::vector<std::string> errors;
    for (const auto& instance : instances_) {
        for (const auto& [name, port] : ports_) {
            const IntfId intfId(name);
            if (port.link && !instance->mrpSm().pamCollection()->has(intfId)) {
                errors.push_back(instance->mrpSm().pamMan()->openError(intfId).value_or(
                    name + ": no packet access"));
            }
        }
        if (!errors.empty()) {
            break;  // the next application would fail for the same reasons
        }
    }
    return errors;
}

void Node::openAccess() {
    for (std::size_t i = 0; i < instances_.size(); ++i) {
        for (const auto& [name, port] : ports_) {
            if (port.link && !instances_[i]->mrpSm().pamCollection()->has(IntfId(name))) {
                disable(i, port);
                enable(i, port);
                forwardingIs(i, port, false);
            }
        }
    }
}

// --- Standby, configuration ---

void Node::becomeActive() {
    require(role_ == Role::standby, "only a standby node becomes active");
    role_ = Role::active;
    // Long enough for the neighbours to answer the LeaveAll, and for what they do not declare anew
    // to age out.
    Seconds leaveTime = config_.timers.leaveTime;
    for (const auto& [name, timers] : config_.intfTimers) {
        leaveTime = std::max(leaveTime, timers.leaveTime.value_or(0));
    }
    const Seconds patience = 2 * leaveTime;
    for (std::size_t i = 0; i < instances_.size(); ++i) {
        makePropagation(i);
        for (const auto& [name, port] : ports_) {
            if (port.link) {
                applications_[i].propagation->portIs(IntfId(name));
                applications_[i].propagation->forwardingIs(IntfId(name), port.forwarding, false);
            }
        }
        applications_[i].propagation->resume(*instances_[i], patience);
        // Trouble of one application is not the other's.
        dispatch([&] {
            instances_[i]->becomeActive();
            forgetOthers(*instances_[i]);
        });
    }
    declareAll();
}

// A standby keeps what it has been told of interfaces whose link is down, or that are no ports.
void Node::forgetOthers(MrpInstance& instance) const {
    const MrpApplicationDatabase* database = instance.mrpSm().applicationDatabase();
    std::vector<IntfId> others;
    for (const auto& [intfId, records] : database->attrDatabase()) {
        const auto port = ports_.find(intfId.name());
        if (port == ports_.end() || !port->second.link) {
            others.push_back(intfId);
        }
    }
    for (const IntfId intfId : others) {
        instance.disable(intfId);
    }
}

void Node::declareAll() {
    const std::vector<Declaration> declarations = book_.all();
    for (const Application& application : applications_) {
        if (application.propagation) {
            application.propagation->declarationsAre(declarations);
        }
    }
}

void Node::configIs(AgentConfig config) {
    config_ = std::move(config);
    for (const auto& instance : instances_) {
        apply(config_, instance->mrpConfig());
    }
    book_.configIs(config_.declarations);
    declareAll();
}

std::vector<Ptr<MrpStatus>> Node::statuses() const {
    std::vector<Ptr<MrpStatus>> statuses;
    for (const auto& instance : instances_) {
        statuses.emplace_back(&instance->mrpStatus());
    }
    return statuses;
}

// --- What control requests see ---

VlanPropagation* Node::vlanPropagation() const {
    for (std::size_t i = 0; i < instances_.size(); ++i) {
        if (instances_[i]->application() == MrpApplication::mvrp) {
            return static_cast<VlanPropagation*>(applications_[i].propagation.get());
        }
    }
    return nullptr;
}

Json Node::agentJson() const {
    Json applications = Json::array();
    for (const auto& instance : instances_) {
        applications.push_back(stringValue(instance->application()));
    }
    return {{"role", role_ == Role::active ? "active" : "standby"},
            {"uptime", std::round((activityManager_.clock().now() - began_) * 1000) / 1000},
            {"applications", std::move(applications)}};
}

std::vector<ControlNode::Port> Node::ports() const {
    std::vector<Port> ports;
    for (const auto& [name, port] : ports_) {
        ports.push_back(port);
    }
    return ports;
}

std::optional<std::string> Node::declare(const std::vector<Declaration>& declarations) {
    if (role_ == Role::standby) {
        return "a standby agent declares nothing";
    }
    for (const Declaration& declaration : declarations) {
        for (const std::string& name : declaration.interfaces) {
            if (!ports_.contains(name)) {
                return "there is no port \"" + name + "\"";
            }
        }
    }
    auto obstacle = book_.declare(declarations);
    if (!obstacle) {
        declareAll();
    }
    return obstacle;
}

std::optional<std::string> Node::withdraw(const std::vector<Declaration>& declarations) {
    if (role_ == Role::standby) {
        return "a standby agent declares nothing";
    }
    auto obstacle = book_.withdraw(declarations);
    if (!obstacle) {
        declareAll();
    }
    return obstacle;
}

std::optional<std::string> Node::activate() {
    if (role_ == Role::active) {
        return "the agent is active already";
    }
    becomeActive();
    return std::nullopt;
}

}  // namespace MrpAgent
