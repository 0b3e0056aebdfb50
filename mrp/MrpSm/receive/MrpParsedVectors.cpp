#include <algorithm>
#include <array>

#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "mrp/MrpSm/types/MrpTrace.h"

// How values are filed while a PDU is parsed: one by one while somebody follows the trace, else a
// vector at a time. Either way the received image, the attribute in hand and the counters are left
// as the last value leaves them.

namespace Mrp {

namespace {

// Decodes the events of a vector by its octets.
void unpackThree(const std::uint8_t* packed, std::uint8_t* events, std::uint16_t values) {
    const std::uint8_t* const wholeEnd = events + values / 3 * 3;
    while (events != wholeEnd) {
        events = std::copy_n(threePackedEvents[*packed++].begin(), 3, events);
    }
    std::copy_n(threePackedEvents[values % 3 != 0 ? *packed : 0U].begin(), values % 3, events);
}

std::uint8_t fourPackedEvent(const std::uint8_t* packed, std::uint32_t value) {
    return static_cast<std::uint8_t>(packed[value / 4] >> (6U - 2U * (value % 4U)) & 3U);
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
    const AttributeType type = parseContext_->attributeType();
    const MrpApplication application = mrpLib_->application();
    const MrpValueImage& image = mrpLib_->rxImage();
    std::uint8_t* events = mrpParsedAttribute_.vectorIs(
        type, application, parseContext_->attributeKey(), image.octets(type, application), 1);
    events[0] = parseContext_->attributeEvent();
    if (mrpParsedAttribute_.vectors().back().isListener()) {
        events[1] = static_cast<std::uint8_t>(image.listener.listenerEvent());
    }
}

// The vector in hand, whose first value stands in the received image.
void MrpSm::fileVector(const std::uint8_t* packed) {
    MrpParseContext& context = *parseContext_;
    const std::uint16_t values = context.numberOfValues();
    const AttributeType type = context.attributeType();
    const MrpApplication application = mrpLib_->application();
    const bool listener = application == MrpApplication::msrp && type == listenerType;
    const std::uint8_t* const fourPacked = packed + threePackedBytes(values);
    const auto image = mrpLib_->rxImage().octets(type, application);
    const AttributeKey firstKey = mrpGetRxAttributeKey();
    if (!recycledPkt_ && !mrpConfig_->mrpFlooding()) {
        std::uint8_t* events =
            mrpParsedAttribute_.vectorIs(type, application, firstKey, image, values);
        unpackThree(packed, events, values);
        for (std::uint32_t value = 0; listener && value < values; ++value) {
            events[values + value] = fourPackedEvent(fourPacked, value);
        }
    }
    const std::uint32_t last = values - 1U;
    if (last != 0) {
        mrpAdvanceValue(image, type, application, last);
    }
    if (listener) {
        mrpLib_->rxImage().listener.listenerEventIs(
            static_cast<MsrpListenerEvent>(fourPackedEvent(fourPacked, last)));
    }
    context.attributeKeyIs(last != 0 ? mrpGetRxAttributeKey() : firstKey);
    context.attributeEventIs(threePackedEvents[packed[last / 3]][last % 3]);
    context.eventsCounterInc(values);
    countEvents(packed, values);
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
