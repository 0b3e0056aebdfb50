#include "agent/process/Agent.h"

#include <utility>

#include "platform/base/Assert.h"
#include "platform/time/Dispatch.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

// What the node's state is known as.
constexpr const char* nodeName = "mrp";

}  // namespace

Agent::Agent(Linux::EpollActivityManager& activityManager, AgentConfig config, Tell tell)
    : activityManager_(activityManager),
      config_(std::move(config)),
      tell_(std::move(tell)),
      netInfo_(activityManager, interfaces_.kernelStatus, interfaces_.allIntfStatus,
               interfaces_.ethPhyIntfStatus) {}

std::vector<std::string> Agent::start(Role role) {
    role_ = role;
    std::vector<std::string> errors = addInterfaces();
    if (errors.empty()) {
        if (role_ == Role::active) {
            makeLog();
        }
        makeInstances();
        errors = enableInterfaces();
    }
    if (errors.empty() && role_ == Role::active) {
        errors = runActive();
    }
    if (!errors.empty()) {
        stop();
    } else if (role_ == Role::standby) {
        follow();
    }
    return errors;
}

std::vector<std::string> Agent::runActive() {
    if (log_) {
        log_->statusesAre(statuses());
        if (const auto error = log_->open()) {
            return {*error};
        }
    }
    declareAll();
    return {};
}

void Agent::follow() {
    follower_ = std::make_unique<ActiveFollower>(
        activityManager_, *config_.standby.attributeLog, statuses(),
        ActiveFollower::Callbacks{tell_, [this] { return handleGone(); }});
    follower_->start();
}

std::optional<std::string> Agent::handleGone() {
    if (config_.standby.takeover == AgentConfig::Takeover::onSignal) {
        tell_("the active agent has gone; SIGUSR2 makes this one active");
        return std::nullopt;
    }
    if (auto obstacle = claim()) {
        return "another agent may be active: " + *obstacle;
    }
    tell_("the active agent has gone; taking over");
    becomeActive();
    return std::nullopt;
}

// Of those who find the active agent gone, and an active agent that is started anew meanwhile, only
// one gets the path of the log. What is in the way; nothing: it is this one.
std::optional<std::string> Agent::claim() {
    if (config_.attributeLogPath == config_.standby.attributeLog) {
        makeLog();
        auto error = log_->open();
        if (error) {
            log_.reset();
        }
        return error;
    }
    try {
        claim_.emplace(*config_.standby.attributeLog);
    } catch (const std::system_error& error) {
        return error.what();
    }
    return std::nullopt;
}

void Agent::becomeActive() {
    if (role_ == Role::active) {
        return;
    }
    role_ = Role::active;
    follower_->finish();
    const bool open = log_ != nullptr;
    if (!open) {
        makeLog();  // where the engines look for it
    }
    // Trouble of one application is not the other's.
    for (const auto& instance : instances_) {
        dispatch([&] { instance->becomeActive(); });
    }
    dispatch([this] { declareAll(); });
    if (log_ && !open) {
        log_->openSoon();
    }
    tell_("running");
}

void Agent::stop() {
    if (follower_) {
        follower_->finish();
    }
    for (const auto& instance : instances_) {
        for (const std::string& name : config_.interfaces) {
            instance->disable(IntfId(name));
        }
    }
    instances_.clear();
    log_.reset();
}

Json Agent::status() const {
    Json status = {{"role", role_ == Role::active ? "active" : "standby"}};
    status.update(statusJson(instances_));
    status["attributeLog"] = log_ ? log_->status() : Json();
    status["standby"] = follower_ ? follower_->status() : Json();
    return status;
}

std::vector<Ptr<MrpStatus>> Agent::statuses() const {
    std::vector<Ptr<MrpStatus>> statuses;
    for (const auto& instance : instances_) {
        statuses.emplace_back(&instance->mrpStatus());
    }
    return statuses;
}

void Agent::makeLog() {
    if (config_.attributeLogPath) {
        log_ = std::make_unique<AttributeLog>(nodeName, *config_.attributeLogPath,
                                              config_.applications, activityManager_, tell_);
        log_->statusesAre(statuses());
    }
}

std::vector<std::string> Agent::addInterfaces() {
    std::vector<std::string> errors;
    for (const std::string& name : config_.interfaces) {
        if (auto error = netInfo_.addInterface(name)) {
            errors.push_back(std::move(*error));
        }
    }
    return errors;
}

void Agent::makeInstances() {
    const auto first = interfaces_.ethPhyIntfStatus->value(IntfId(config_.interfaces.front()));
    MrpInstance::Parameters parameters;
    parameters.nodeName = nodeName;
    parameters.standby = role_ == Role::standby;
    parameters.bridgeMac =
        config_.bridgeMacAddr.value_or(first.value_or(Interface::EthPhyIntfStatus{}).addr);
    for (const MrpApplication application : config_.applications) {
        parameters.application = application;
        parameters.mrpConfig = mrpConfigOf(config_);
        instances_.push_back(
            std::make_unique<MrpInstance>(activityManager_, interfaces_, parameters));
    }
}

std::vector<std::string> Agent::enableInterfaces() {
    std::vector<std::string> errors;
    for (const auto& instance : instances_) {
        for (const std::string& name : config_.interfaces) {
            const IntfId intfId(name);
            if (!instance->enable(intfId)) {
                errors.push_back(instance->mrpSm().pamMan()->openError(intfId).value_or(
                    name + ": no packet access"));
            }
        }
        // The next application would fail for the same reasons.
        if (!errors.empty()) {
            break;
        }
    }
    return errors;
}

void Agent::declareAll() {
    for (const auto& instance : instances_) {
        for (const Declaration& declaration : config_.declarations) {
            if (declaration.application == instance->application()) {
                for (const std::string& name : declaration.interfaces) {
                    const bool accepted = declare(*instance, declaration, IntfId(name));
                    require(accepted, "a declaration has the octets of its type");
                }
            }
        }
    }
}

}  // namespace MrpAgent
