#include "agent/process/Agent.h"

#include <utility>

#include "platform/base/Assert.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

Agent::Agent(Linux::EpollActivityManager& activityManager, AgentConfig config)
    : activityManager_(activityManager),
      config_(std::move(config)),
      netInfo_(activityManager, interfaces_.kernelStatus, interfaces_.allIntfStatus,
               interfaces_.ethPhyIntfStatus) {}

std::vector<std::string> Agent::start() {
    std::vector<std::string> errors = addInterfaces();
    if (errors.empty()) {
        makeInstances();
        errors = enableInterfaces();
    }
    if (errors.empty()) {
        declareAll();
    } else {
        stop();
    }
    return errors;
}

void Agent::stop() {
    for (const auto& instance : instances_) {
        for (const std::string& name : config_.interfaces) {
            instance->disable(IntfId(name));
        }
    }
    instances_.clear();
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
                const bool accepted = declare(*instance, declaration);
                require(accepted, "a declaration has the octets of its type");
            }
        }
    }
}

}  // namespace MrpAgent
