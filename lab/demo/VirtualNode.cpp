#include "lab/demo/VirtualNode.h"

#include <algorithm>

#include "platform/base/Assert.h"

namespace MrpLab {

using namespace Platform;
using namespace MrpAgent;

namespace {

constexpr std::size_t frameSizeLimit = 1514;  // octets, from the destination address on

}  // namespace

VirtualNode::VirtualNode(ActivityManager& activityManager, const AgentConfig& config,
                         const EthAddr& addr)
    : intfId_(config.interfaces.front()),
      addr_(addr),
      device_(makePtr<Virtual::VirtualEthDev>(config.interfaces.front(), activityManager)) {
    makeInstances(activityManager, config, false);
}

VirtualNode::VirtualNode(ActivityManager& activityManager, const AgentConfig& config,
                         const VirtualNode& active)
    : intfId_(active.intfId_), addr_(active.addr_), device_(active.device_) {
    makeInstances(activityManager, config, true);
}

void VirtualNode::makeInstances(ActivityManager& activityManager, const AgentConfig& config,
                                bool standby) {
    interfaces_.allIntfStatus->valueIs(intfId_, {frameSizeLimit});
    interfaces_.ethPhyIntfStatus->valueIs(intfId_, {addr_});
    interfaces_.kernelStatus->valueIs(intfId_, device_);
    MrpInstance::Parameters parameters;
    parameters.bridgeMac = addr_;
    parameters.standby = standby;
    for (const Mrp::MrpApplication application : config.applications) {
        parameters.application = application;
        parameters.mrpConfig = mrpConfigOf(config);
        instances_.push_back(
            std::make_unique<MrpInstance>(activityManager, interfaces_, parameters));
        const bool enabled = instances_.back()->enable(intfId_);
        require(enabled, "an interface in memory has packet access");
    }
}

VirtualNode::~VirtualNode() {
    for (const auto& instance : instances_) {
        instance->disable(intfId_);
    }
}

MrpInstance& VirtualNode::instance(Mrp::MrpApplication application) {
    const auto found =
        std::find_if(instances_.begin(), instances_.end(),
                     [&](const auto& instance) { return instance->application() == application; });
    require(found != instances_.end(), "the node runs the applications of its declarations");
    return **found;
}

std::vector<Ptr<Mrp::MrpStatus>> VirtualNode::statuses() const {
    std::vector<Ptr<Mrp::MrpStatus>> statuses;
    for (const auto& instance : instances_) {
        statuses.emplace_back(&instance->mrpStatus());
    }
    return statuses;
}

void VirtualNode::becomeActive() {
    for (const auto& instance : instances_) {
        instance->becomeActive();
    }
}

void VirtualNode::declareAll(const AgentConfig& config) {
    for (const Declaration& declaration : config.declarations) {
        declare(instance(declaration.application), declaration, intfId_);
    }
}

void VirtualNode::withdraw(const AgentConfig& before, const AgentConfig& after) {
    for (const Declaration& declaration : before.declarations) {
        const auto& kept = after.declarations;
        if (std::find(kept.begin(), kept.end(), declaration) == kept.end()) {
            MrpAgent::withdraw(instance(declaration.application), declaration, intfId_);
        }
    }
}

}  // namespace MrpLab
