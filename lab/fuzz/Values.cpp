#include "Values.h"

#include "mrp/MrpSm/types/MrpValueImage.h"
#include "platform/base/EthAddr.h"

namespace MrpFuzz {

using namespace Platform;
using namespace Mrp;

namespace {

// A key of so many octets.
std::uint64_t wideKey(std::uint8_t key, unsigned octets) {
    constexpr std::uint8_t firstOfTheLast = 248;
    return key < firstOfTheLast ? key : (UINT64_MAX << 8U | key) >> (64U - 8U * octets);
}

MsrpTalkerAdvertiseAttribute talker(ValueChoice choice) {
    constexpr std::uint64_t streamAddresses = 0x91e0f0000e00;
    MsrpTalkerAdvertiseAttribute value;
    value.streamId = wideKey(choice.key, 8);
    value.frame.dmac = EthAddr(streamAddresses + choice.key);
    value.frame.vlanId = 2;
    value.tSpec.maxFrameSize = 100;
    value.tSpec.maxIntervalFrames = 1;
    value.priorityAndRank = PriorityAndRank(3, 1);
    value.accumulatedLatency = choice.variant;
    return value;
}

MrpValueImage image(ValueChoice choice) {
    MrpValueImage image;
    image.talkerAdvertise = talker(choice);
    image.talkerFailed.talkerAdvertiseAttribute = talker(choice);
    image.talkerFailed.failureInformation.failureCode = choice.variant;
    image.listener.streamId = wideKey(choice.key, 8);
    image.listener.listenerEventIs(static_cast<MsrpListenerEvent>(choice.variant % 4));
    image.domain.srClassId = choice.key;
    image.domain.srClassPriority = static_cast<std::uint8_t>(choice.key % 8);
    image.domain.srClassVID = choice.variant;
    image.vlan.vlanId = static_cast<std::uint16_t>(wideKey(choice.key, 2));
    return image;
}

void append16(Bytes& octets, std::size_t number) {
    octets.push_back(static_cast<std::uint8_t>(number >> 8U));
    octets.push_back(static_cast<std::uint8_t>(number));
}

// What the input does not have any more is 0: New, and "ignore".
void appendPacked(Bytes& list, Input& input, std::size_t octets) {
    const auto packed = input.octets(octets);
    list.insert(list.end(), packed.begin(), packed.end());
    list.resize(list.size() + octets - packed.size());
}

void appendVector(Bytes& list, MrpApplication application, AttributeType type, Input& input) {
    constexpr std::size_t leaveAllBit = 0x2000;
    const std::uint8_t head = input.octet();
    const ValueChoice choice{input.octet(), head >= 0x40 ? input.octet() : std::uint8_t{0}};
    const bool leaveAll = (head & 0x20U) != 0;
    const std::size_t values = head % 32U != 0 || leaveAll ? head % 32U : 1;
    append16(list, values + (leaveAll ? leaveAllBit : 0));
    const Bytes value = storedValue(application, type, choice);
    list.insert(list.end(), value.begin(), value.begin() + mrpSizeOfAttribute(type, application));
    appendPacked(list, input, (values + 2) / 3);
    if (application == MrpApplication::msrp && type == listenerType) {
        appendPacked(list, input, (values + 3) / 4);
    }
}

}  // namespace

Bytes storedValue(MrpApplication application, AttributeType type, ValueChoice choice) {
    const MrpValueImage values = image(choice);
    const auto octets = values.octets(type, application);
    return {octets.begin(), octets.end()};
}

AttributeKey keyOf(MrpApplication application, AttributeType type, ValueChoice choice) {
    return image(choice).key(type, application);
}

Bytes assembledPdu(MrpApplication application, Input& input) {
    Bytes pdu{0};
    bool more = true;
    while (more) {
        const std::uint8_t head = input.octet();
        const bool msrp = application == MrpApplication::msrp;
        const auto type = static_cast<AttributeType>(msrp ? 1 + head % 4 : vlanType);
        Bytes list;
        for (unsigned vectors = 1 + (head >> 2U & 3U); vectors > 0; --vectors) {
            appendVector(list, application, type, input);
        }
        append16(list, 0);
        pdu.push_back(type);
        pdu.push_back(mrpSizeOfAttribute(type, application));
        if (msrp) {
            append16(pdu, list.size());
        }
        pdu.insert(pdu.end(), list.begin(), list.end());
        more = (head & 0x10U) != 0;
    }
    append16(pdu, 0);
    return pdu;
}

}  // namespace MrpFuzz
