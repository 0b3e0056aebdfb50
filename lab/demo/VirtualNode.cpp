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
      device_(makePtr<Virtual::VirtualEthDev>(config.interfaces.front(), activityManager)) {
    interfaces_.allIntfStatus->valueIs(intfId_, {frameSizeLimit});
    interfaces_.ethPhyIntfStatus->valueIs(intfId_, {addr});
    interfaces_.kernelStatus->valueIs(intfId_, device_);
    MrpInstance::Parameters parameters;
    parameters.bridgeMac = addr;
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

void VirtualNode::declareAll(const AgentConfig& config) {
    for (const Declaration& declaration : config.declarations) {
        declare(instance(declaration.application), declaration);
    }
}

void VirtualNode::withdraw(const AgentConfig& before, const AgentConfig& after) {
    for (const Declaration& declaration : before.declarations) {
        const auto& kept = after.declarations;
        if (std::find(kept.begin(), kept.end(), declaration) == kept.end()) {
            MrpAgent::withdraw(instance(declaration.application), declaration);
        }
    }
}

}  // namespace MrpLab
