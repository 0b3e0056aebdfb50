#include "agent/process/Agent.h"

#include <unistd.h>

#include <system_error>
#include <utility>

#include "platform/time/Dispatch.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

// What the node's state is known as, to readers of the attribute log.
constexpr const char* nodeName = "mrp";

}  // namespace

Agent::Agent(Linux::EpollActivityManager& activityManager, const AgentConfig& config,
             const LogMemory& logMemory, Tell tell)
    : Node(activityManager, config, tell),
      activityManager_(activityManager),
      logMemory_(logMemory),
      kernelPorts_(activityManager, *this, std::move(tell)),
      listenAlarm_(activityManager.clock(), [this] { static_cast<void>(listen()); }) {}

std::vector<std::string> Agent::start(Role role) {
    std::vector<std::string> errors = kernelPorts_.read();
    if (errors.empty()) {
        if (role == Role::active) {
            makeLog();
        }
        run(role, kernelPorts_.bridgeAddr());
        kernelPorts_.follow();
        errors = accessErrors();
    }
    if (errors.empty()) {
        errors = open();
    }
    if (!errors.empty()) {
        stop();
    } else if (role == Role::standby) {
        follow();
    }
    return errors;
}

std::vector<std::string> Agent::open() {
    if (log_) {
        log_->statusesAre(statuses());
        if (const auto error = log_->open()) {
            return {*error};
        }
    }
    ControlServer::Parameters parameters;
    parameters.path = config().control.path;
    parameters.readOnlyPath = config().control.readOnlyPath;
    if (parameters.path || parameters.readOnlyPath) {
        control_ = std::make_unique<ControlServer>(*this, logMemory_, activityManager_, parameters);
        if (const auto error = listen()) {
            if (role() == Role::active) {
                return {*error};
            }
            tell(*error + "; tried again");
        }
    }
    return {};
}

// A standby agent with the active one's configuration gets its paths when that one is gone.
std::optional<std::string> Agent::listen() {
    constexpr Seconds interval = 1;
    try {
        control_->listen();
    } catch (const std::system_error& error) {
        listenAlarm_.expiryIs(activityManager_.clock().now() + interval);
        return error.what();
    }
    return std::nullopt;
}

// --- Standby ---

void Agent::follow() {
    follower_ = std::make_unique<ActiveFollower>(
        activityManager_, *config().standby.attributeLog, statuses(),
        ActiveFollower::Callbacks{[this](const std::string& message) { tell(message); },
                                  [this] { return handleGone(); }});
    follower_->start();
}

std::optional<std::string> Agent::handleGone() {
    if (config().standby.takeover == AgentConfig::Takeover::onSignal) {
        tell("the active agent has gone; SIGUSR2 makes this one active");
        return std::nullopt;
    }
    if (auto obstacle = claim()) {
        return "another agent may be active: " + *obstacle;
    }
    tell("the active agent has gone; taking over");
    takeOver();
    return std::nullopt;
}

// Of those who find the active agent gone, and an active agent that is started anew meanwhile, only
// one gets the path of the log. What is in the way; nothing: it is this one.
std::optional<std::string> Agent::claim() {
    if (config().attributeLogPath == config().standby.attributeLog) {
        makeLog();
        auto error = log_->open();
        if (error) {
            log_.reset();
        }
        return error;
    }
    try {
        claim_.emplace(*config().standby.attributeLog);
    } catch (const std::system_error& error) {
        return error.what();
    }
    return std::nullopt;
}

void Agent::takeOver() {
    if (role() == Role::active) {
        return;
    }
    follower_->finish();
    const bool isOpen = log_ != nullptr;
    if (!isOpen) {
        makeLog();  // where the engines look for it
    }
    becomeActive();
    if (log_ && !isOpen) {
        log_->openSoon();
    }
    tell("running");
}

void Agent::makeLog() {
    if (config().attributeLogPath) {
        log_ = std::make_unique<AttributeLog>(
            nodeName, *config().attributeLogPath, config().applications, activityManager_,
            [this](const std::string& message) { tell(message); });
        log_->statusesAre(statuses());
    }
}

// --- Reload, end ---

std::vector<std::string> Agent::reload(const AgentConfig& changed) {
    std::vector<std::string> needRestart;
    AgentConfig next = changed;
    const AgentConfig& now = config();
    const auto keep = [&](const char* key, auto AgentConfig::*member) {
        if (next.*member != now.*member) {
            needRestart.emplace_back(key);
            next.*member = now.*member;
        }
    };
    keep("applications", &AgentConfig::applications);
    keep("propagation", &AgentConfig::propagation);
    keep("control", &AgentConfig::control);
    keep("attributeLog.path", &AgentConfig::attributeLogPath);
    if (next.bridge.vlanFilter != now.bridge.vlanFilter) {
        needRestart.emplace_back("bridge.vlanFilter");
        next.bridge.vlanFilter = now.bridge.vlanFilter;
    }
    if (next.standby.attributeLog != now.standby.attributeLog) {
        needRestart.emplace_back("standby.attributeLog");
        next.standby.attributeLog = now.standby.attributeLog;
    }
    configIs(std::move(next));
    kernelPorts_.handleConfig();
    return needRestart;
}

void Agent::stop() {
    listenAlarm_.expiryIs(never);
    control_.reset();
    if (follower_) {
        follower_->finish();
    }
    kernelPorts_.finish();
    end();
    log_.reset();
}

// --- What is told of it ---

Json Agent::status() const {
    Json status = {{"role", role() == Role::active ? "active" : "standby"}};
    status.update(statusJson(instances()));
    status["attributeLog"] = log_ ? log_->status() : Json();
    status["standby"] = follower_ ? follower_->status() : Json();
    return status;
}

Json Agent::agentJson() const {
    Json json = Node::agentJson();
    json["pid"] = ::getpid();
    json["bridge"] = kernelPorts_.json();
    json["attributeLog"] = log_ ? log_->status() : Json();
    json["standby"] = follower_ ? follower_->status() : Json();
    return json;
}

std::optional<std::string> Agent::activate() {
    if (role() == Role::active) {
        return "the agent is active already";
    }
    takeOver();
    return std::nullopt;
}

std::vector<ControlNode::Finding> Agent::examine() const {
    return kernelPorts_.examine();
}

}  // namespace MrpAgent
