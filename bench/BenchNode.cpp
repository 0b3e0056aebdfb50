#include "BenchNode.h"

#include "platform/log/Log.h"

namespace MrpBench {

using namespace Platform;
using namespace Mrp;

std::vector<std::uint8_t> packedJoinIn(std::uint16_t values) {
    std::vector<std::uint8_t> packed;
    for (unsigned left = values; left > 0;) {
        const unsigned inOctet = left < 3 ? left : 3;
        packed.push_back(
            static_cast<std::uint8_t>(36 + (inOctet > 1 ? 6 : 0) + (inOctet > 2 ? 1 : 0)));
        left -= inOctet;
    }
    return packed;
}

std::vector<std::uint8_t> fullMvrpFrame() {
    std::vector<std::uint8_t> frame{0x01, 0x80, 0xc2, 0x00, 0x00, 0x21, 0x02, 0x00,
                                    0x00, 0x00, 0x00, 0x99, 0x88, 0xf5, 0x00};
    for (const unsigned octet :
         {1U, 2U, unsigned{vlans} >> 8U, vlans & 0xffU, 0U, unsigned{firstVlan}}) {
        frame.push_back(static_cast<std::uint8_t>(octet));
    }
    const std::vector<std::uint8_t> packed = packedJoinIn(vlans);
    frame.insert(frame.end(), packed.begin(), packed.end());
    frame.insert(frame.end(), {0, 0, 0, 0});
    return frame;
}

BenchNode::BenchNode() {
    logSinkIs(nullptr);
    dev_ = makePtr<Virtual::VirtualEthDev>("bench1", activityManager);
    const auto interfaces = MrpAgent::NodeInterfaces::make();
    interfaces.kernelStatus->valueIs(intfId, dev_);
    instance_ = std::make_unique<MrpAgent::MrpInstance>(activityManager, interfaces,
                                                        MrpAgent::MrpInstance::Parameters{});
    instance_->enable(intfId);
}

BenchNode::~BenchNode() = default;

void BenchNode::receive(const std::vector<std::uint8_t>& frame) {
    dev_->inject(frame, false);
    instance_->mrpSm().mrpPamSm()->mrpIntfPamSm(intfId)->handleMrpdu();
}

std::size_t BenchNode::registered() const {
    std::size_t count = 0;
    for (const AttributeKey key : instance_->mrpSm().visibleKeys(intfId, vlanType)) {
        const MrpAttrDatabase* record =
            instance_->mrpSm().mrpGetAttrFromDatabase(intfId, vlanType, key, true);
        count += record != nullptr && record->registrarState() == MrpRegistrarState::IN ? 1 : 0;
    }
    return count;
}

}  // namespace MrpBench
