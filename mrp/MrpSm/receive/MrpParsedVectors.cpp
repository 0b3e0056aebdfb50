#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/BigEndian.h"

// How values are filed while a PDU is parsed: one by one while somebody follows the trace, else all
// vectors of a message at once. Either way the received image, the attribute in hand and the
// counters are left as the last value leaves them.

namespace Mrp {

namespace {

AttributeKey keyOf(const MrpParsedVector& vector, const std::uint8_t* firstValue) {
    if (vector.application == MrpApplication::mvrp) {
        return readBe16(firstValue);
    }
    return vector.isDomain() ? *firstValue : readBe<std::uint64_t>(firstValue);
}

std::size_t packedBytes(const MrpParsedVector& vector, std::size_t values) {
    return threePackedBytes(values) +
           (vector.isListener() ? fourPackedBytes(values) : std::size_t{0});
}

bool isTalker(const MrpParsedVector& vector) {
    return vector.application == MrpApplication::msrp && vector.attributeType <= talkerFailedType;
}

// Of a Talker's value.
void clearReserved(std::uint8_t* value) {
    std::uint8_t& octet = value[offsetof(MsrpTalkerAdvertiseAttribute, priorityAndRank)];
    octet = PriorityAndRank::fromOctet(octet).value();
}

}  // namespace

void MrpSm::processMrpEvent(std::uint8_t event, std::uint16_t valueIndex) {
    mrpLib_->mrpValueFromFirstValue(valueIndex);
    MrpParseContext& context = *parseContext_;
    context.attributeKeyIs(mrpGetRxAttributeKey());
    context.attributeEventIs(event);
    context.eventsCounterInc(1);
    ++eventsInHand_->values[event & 7U];
    if (!recycledPkt_ && !mrpConfig_->mrpFlooding()) {
        saveParsedMrpAttribute();
    } else {
        MRP_TRACE(4, "Recycled Pkt. Returning after parsing");
    }
}

void MrpSm::saveParsedMrpAttribute() {
    constexpr unsigned firstOfThree = 36;
    constexpr unsigned firstOfFour = 64;
    const MrpValueImage& image = mrpLib_->rxImage();
    const auto vector = MrpParsedVector::of(parseContext_->attributeType(), mrpLib_->application());
    mrpParsedAttribute_.vectorIs(vector, parseContext_->attributeKey(), 1,
                                 mrpParsedAttribute_.nextOctets());
    mrpParsedAttribute_.octetsAre(
        image.octets(vector.attributeType, vector.application).first(vector.valueSize));
    const std::array packed{
        static_cast<std::uint8_t>(parseContext_->attributeEvent() * firstOfThree),
        static_cast<std::uint8_t>(static_cast<unsigned>(image.listener.listenerEvent()) *
                                  firstOfFour)};
    mrpParsedAttribute_.octetsAre(std::span(packed).first(vector.isListener() ? 2 : 1));
}

bool MrpSm::fileVectors(Pkt& pkt) {
    MrpParseContext& context = *parseContext_;
    const AttributeType type = context.attributeType();
    const MrpApplication application = mrpLib_->application();
    if (type == 0 || type > mrpMaxAttrTypes(application) || mrpSmTrace.enabled(valueTraceLevel)) {
        return false;
    }
    const auto kind = MrpParsedVector::of(type, application);
    const std::size_t headSize = VectorHeader::size + kind.valueSize;
    const std::size_t firstFiled = mrpParsedAttribute_.vectors().size();
    const std::uint32_t octets = mrpParsedAttribute_.nextOctets();
    const bool filed = !recycledPkt_ && !mrpConfig_->mrpFlooding();
    const std::uint8_t* last = nullptr;
    std::uint16_t lastValues = 0;
    std::size_t taken = 0;
    while (pkt.bytes() - taken > headSize) {
        const std::uint8_t* const head = pkt.data() + taken;
        const std::uint16_t header = readBe16(head);
        const std::uint16_t values = header & VectorHeader::numOfValuesMask;
        const std::size_t size = headSize + packedBytes(kind, values);
        if (values == 0 || size > pkt.bytes() - taken) {
            break;
        }
        context.leaveAllIs((header & VectorHeader::leaveAllBit) != 0 ? 1 : 0);
        if (context.leaveAll() == 1 && !recycledPkt_) {
            mrpRxLeaveAllIs(type, true);
            ++eventsInHand_->leaveAlls;
        }
        last = head + VectorHeader::size;
        lastValues = values;
        if (filed) {
            mrpParsedAttribute_.vectorIs(
                kind, keyOf(kind, last), values,
                octets + static_cast<std::uint32_t>(taken + VectorHeader::size));
        }
        if (values == 1) {
            ++eventsInHand_->values[threePackedEvent(last + kind.valueSize, 0)];
        } else {
            countEvents(last + kind.valueSize, values);
        }
        context.eventsCounterInc(values);
        taken += size;
    }
    if (taken == 0) {
        return false;
    }
    if (filed) {
        const auto copy = mrpParsedAttribute_.octetsAre(pkt.span().first(taken));
        const auto vectors = std::span(mrpParsedAttribute_.vectors()).subspan(firstFiled);
        for (const MrpParsedVector& one : isTalker(kind) ? vectors : vectors.first(0)) {
            clearReserved(copy.data() + (one.octets - octets));
        }
    }
    lastValueIs(kind, last, lastValues);
    context.attributeListBytesLeftDec(taken);
    pkt.delSharedHeadData(taken);
    return true;
}

// Makes the last value of a vector the one in hand, and that of the received image.
void MrpSm::lastValueIs(const MrpParsedVector& vector, const std::uint8_t* firstValue,
                        std::uint16_t values) {
    MrpValueImage& image = mrpLib_->rxImage();
    const auto value = image.octets(vector.attributeType, vector.application);
    const std::uint8_t* const packed = firstValue + vector.valueSize;
    const std::uint32_t last = values - 1U;
    std::copy_n(firstValue, vector.valueSize, value.begin());
    if (isTalker(vector)) {
        clearReserved(value.data());
    }
    mrpAdvanceValue(value, vector.attributeType, vector.application, last);
    if (vector.isListener()) {
        image.listener.listenerEventIs(static_cast<MsrpListenerEvent>(
            fourPackedEvent(packed + threePackedBytes(values), last)));
    }
    parseContext_->numberOfValuesIs(values);
    parseContext_->attributeKeyIs(mrpGetRxAttributeKey());
    parseContext_->attributeEventIs(threePackedEvent(packed, last));
}

// Counts whole octets by runs, because neighbours say the same of most values.
void MrpSm::countEvents(const std::uint8_t* packed, std::uint16_t values) {
    auto& counts = eventsInHand_->values;
    const std::uint8_t* const end = packed + values / 3;
    while (packed != end) {
        const std::uint8_t octet = *packed;
        const std::uint8_t* const next =
            std::find_if(packed, end, [octet](std::uint8_t other) { return other != octet; });
        for (const std::uint8_t event : threePackedEvents[octet]) {
            counts[event] += static_cast<MrpPortCounters::Count>(next - packed);
        }
        packed = next;
    }
    for (unsigned value = 0; value < values % 3U; ++value) {
        ++counts[threePackedEvents[*packed][value]];
    }
}

}  // namespace Mrp
