#include "BenchNode.h"

#include <array>
#include <numeric>

#include "platform/base/BigEndian.h"
#include "platform/log/Log.h"

namespace MrpBench {

using namespace Platform;
using namespace Mrp;

BenchNode::BenchNode(const Options& options) {
    logSinkIs(nullptr);
    dev_ = makePtr<Virtual::VirtualEthDev>("bench1", activityManager);
    const auto interfaces = MrpAgent::NodeInterfaces::make();
    interfaces.kernelStatus->valueIs(intfId, dev_);
    MrpAgent::MrpInstance::Parameters parameters;
    parameters.application = options.application;
    parameters.standby = options.standby;
    parameters.mrpConfig = makePtr<MrpConfig>();
    parameters.mrpConfig->leaveAllTimeIs(options.leaveAllTime);
    instance_ = std::make_unique<MrpAgent::MrpInstance>(activityManager, interfaces, parameters);
    instance_->enable(intfId);
}

BenchNode::~BenchNode() = default;

void BenchNode::receive(const Frame& frame) {
    dev_->inject(frame, false);
    mrpSm().mrpPamSm()->mrpIntfPamSm(intfId)->handleMrpdu();
}

void BenchNode::receive(const std::vector<Frame>& frames) {
    for (const Frame& frame : frames) {
        receive(frame);
    }
}

void BenchNode::run(Seconds span) {
    activityManager.runUntil(activityManager.clock().now() + span);
}

void BenchNode::declareVlans() {
    for (unsigned vlan = firstVlan; vlan < unsigned{firstVlan} + vlans; ++vlan) {
        std::array<std::uint8_t, 2> value{};
        writeBe16(value.data(), static_cast<std::uint16_t>(vlan));
        instance_->request(intfId, vlanType, AttributeEvent::joinIn, value);
    }
}

std::size_t BenchNode::registered(AttributeType type) const {
    std::size_t count = 0;
    for (const AttributeKey key : mrpSm().visibleKeys(intfId, type)) {
        const MrpAttrDatabase* record = mrpSm().mrpGetAttrFromDatabase(intfId, type, key, true);
        count += record != nullptr && record->registrarState() == MrpRegistrarState::IN ? 1 : 0;
    }
    return count;
}

std::uint64_t BenchNode::sentEvents() {
    const auto& values = counters().eventsOut.values;
    return std::accumulate(values.begin(), values.end(), std::uint64_t{0});
}

}  // namespace MrpBench
