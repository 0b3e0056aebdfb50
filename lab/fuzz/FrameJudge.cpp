#include "FrameJudge.h"

#include <algorithm>
#include <array>

#include "Broken.h"
#include "lab/capture/PduDecoder.h"
#include "platform/base/Text.h"
#include "platform/packet/PktManager.h"

namespace MrpFuzz {

using namespace Platform;
using namespace Mrp;

namespace {

constexpr std::size_t maxFrameSize = 1514;
// Begun for a request of a type that the application lacks, and sent without a message.
constexpr std::array<std::uint8_t, 3> emptyPdu{0, 0, 0};

// An MVRP message of several vectors that is followed by another message ends where its first
// vector would if it had the size of its last: what it cuts off is lost, and what is left may not
// be readable. Only a LeaveAll opens a further message.
bool mayBeCutOff(MrpApplication application, std::span<const std::uint8_t> pdu) {
    constexpr std::size_t firstMessageWithVector = 7;
    constexpr std::array<std::uint8_t, 3> leaveAllMessage{1, 2, 0x20};
    return application == MrpApplication::mvrp && pdu.size() > firstMessageWithVector &&
           std::search(pdu.begin() + firstMessageWithVector, pdu.end(), leaveAllMessage.begin(),
                       leaveAllMessage.end()) != pdu.end();
}

}  // namespace

Bytes frameOf(MrpApplication application, std::span<const std::uint8_t> pdu) {
    constexpr std::array<std::uint8_t, 6> neighbour{2, 0, 0, 0, 0, 0x99};
    const auto group = MrpAgent::groupAddr(application).octets();
    const std::uint16_t type = MrpAgent::etherType(application);
    Bytes frame(group.begin(), group.end());
    frame.insert(frame.end(), neighbour.begin(), neighbour.end());
    frame.push_back(static_cast<std::uint8_t>(type >> 8U));
    frame.push_back(static_cast<std::uint8_t>(type));
    frame.insert(frame.end(), pdu.begin(), pdu.end());
    return frame;
}

bool decoderRefuses(MrpApplication application, std::span<const std::uint8_t> pdu) {
    return MrpLab::decodeMrpdu(application, pdu).contains("malformed");
}

std::string leftOfFrame(MrpSm& mrpSm) {
    if (!mrpSm.mrpRxLeaveAll().empty()) {
        return "a received LeaveAll is left of the frame";
    }
    if (mrpSm.mrpParsedAttribute().size() != 0) {
        return "a parsed attribute is left of the frame";
    }
    if (!mrpSm.mrpParsedAttributeKey().empty() || !mrpSm.msrpParsedDomainKey().empty()) {
        return "the key of a parsed attribute is left of the frame";
    }
    if (MrpSm::futureProtocolVersion()) {
        return "the frame's newer version is left of it";
    }
    return {};
}

FrameJudge::FrameJudge(MrpApplication application) : application_(application) {
    MrpAgent::MrpInstance::Parameters parameters;
    parameters.application = application;
    instance_ = std::make_unique<MrpAgent::MrpInstance>(manager_, MrpAgent::NodeInterfaces::make(),
                                                        parameters);
}

void FrameJudge::check(std::span<const std::uint8_t> frame) {
    if (frame.size() <= ethHeaderSize || frame.size() > maxFrameSize) {
        broken("a frame of " + std::to_string(frame.size()) + " octets is sent");
    }
    const auto pdu = frame.subspan(ethHeaderSize);
    if (std::ranges::equal(pdu, emptyPdu)) {
        return;
    }
    const bool parser = parserRefuses(pdu);
    if (parser != decoderRefuses(application_, pdu)) {
        broken("parser and decoder disagree on a frame that is sent: " + hexBytes(frame));
    }
    if (parser && !mayBeCutOff(application_, pdu)) {
        broken("a malformed frame is sent: " + hexBytes(frame));
    }
}

bool FrameJudge::parserRefuses(std::span<const std::uint8_t> pdu) {
    MrpSm& mrpSm = instance_->mrpSm();
    const auto before = mrpSm.mrpCounters()->numOfMalformedPkts();
    // The flag is the sender's, too, who may be in the middle of a frame.
    const bool future = MrpSm::futureProtocolVersion();
    MrpSm::futureProtocolVersionIs(false);
    mrpSm.parseMrpdu(*PktManager::instance().newPkt(pdu));
    mrpSm.dropParsed();
    MrpSm::futureProtocolVersionIs(future);
    return mrpSm.mrpCounters()->numOfMalformedPkts() != before;
}

}  // namespace MrpFuzz
