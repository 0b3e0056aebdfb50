#include "mrp/MrpSm/transmit/MrpEventPacking.h"

#include <cstring>

#include "mrp/MrpMsrp/MsrpHeaders.h"
#include "mrp/MrpMvrp/MvrpAttributes.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/BigEndian.h"

namespace Mrp {

namespace {

constexpr std::size_t listLengthOffset = 2;  // in an MSRP message header

// The AttributeListLength of the MSRP message.
std::uint8_t* listLength(const MrpTxPacketContext& context, std::size_t message) {
    return context.at(message + listLengthOffset, sizeof(std::uint16_t));
}

// Where the open MSRP message's list ends.
std::size_t msrpListEnd(const MrpTxPacketContext& context, std::size_t message) {
    return message + sizeof(MsrpMessageHeader) + readBe16(listLength(context, message));
}

void writeEndMark(MrpTxPacketContext& context, std::size_t position) {
    writeBe16(context.at(position, endMarkSize), 0);
}

void writeTypeAndLength(MrpTxPacketContext& context, AttributeType attributeType,
                        MrpApplication application) {
    const std::size_t message = *context.curMessage();
    if (attributeType == 0 || attributeType > mrpMaxAttrTypes(application)) {
        MRP_TRACE(8, " Invalid Attribute " << +attributeType << " to be encoded");
        return;
    }
    std::uint8_t* header = context.at(message, sizeof(MvrpMessageHeader));
    header[0] = attributeType;
    header[1] = mrpSizeOfAttribute(attributeType, application);
}

// Counts one more value, keeping the LeaveAll bit.
void incrementNumOfValues(std::uint8_t* header) {
    writeBe16(header, static_cast<std::uint16_t>(readBe16(header) + 1));
}

}  // namespace

std::uint16_t mrpGetNumOfValues(const std::uint8_t* header) {
    return readBe16(header) & VectorHeader::numOfValuesMask;
}

void mrpEncodeThreePackedEvent(std::uint8_t* bytes, std::uint8_t event, std::size_t n) {
    std::uint8_t& octet = bytes[(n - 1) / 3];
    ThreeEvents events = threePackedEvents[octet];
    events[(n - 1) % 3] = event;
    octet = static_cast<std::uint8_t>(events[0] * 36 + events[1] * 6 + events[2]);
}

void mrpEncodeFourPackedEvent(std::uint8_t* bytes, MsrpListenerEvent listenerEvent, std::size_t n) {
    std::uint8_t& octet = bytes[(n - 1) / 4];
    const auto shift = static_cast<unsigned>(6 - 2 * ((n - 1) % 4));
    const unsigned kept = octet & ~(3U << shift);
    octet = static_cast<std::uint8_t>(kept | (static_cast<unsigned>(listenerEvent) & 3U) << shift);
}

std::size_t mvrpGetSizeOfVector(const std::uint8_t* header) {
    const std::size_t values = mrpGetNumOfValues(header);
    if (values > 0) {
        return sizeof(MvrpVlanVector) + threePackedBytes(values);
    }
    return (readBe16(header) & VectorHeader::leaveAllBit) != 0 ? sizeof(MvrpVlanVector) : 0;
}

void mrpCreateNewMsrpHeader(MrpTxPacketContext& context, AttributeType attributeType) {
    std::size_t begin = 0;
    if (const auto open = context.curMessage()) {
        const std::size_t end = msrpListEnd(context, *open);
        writeEndMark(context, end);
        std::uint8_t* length = listLength(context, *open);
        writeBe16(length, static_cast<std::uint16_t>(readBe16(length) + endMarkSize));
        begin = end + endMarkSize;
    }
    context.curMessageIs(begin);
    context.curVectorIs(begin + sizeof(MsrpMessageHeader));
    writeTypeAndLength(context, attributeType, MrpApplication::msrp);
    writeBe16(listLength(context, begin), 0);
}

void mrpCreateNewMvrpHeader(MrpTxPacketContext& context, AttributeType attributeType) {
    std::size_t begin = 0;
    if (const auto open = context.curMessage()) {
        const std::size_t usedEnd = mvrpGetNumOfPackedBytes(context);
        const std::size_t end = *open + sizeof(MvrpMessageHeader) +
                                mvrpGetSizeOfVector(context.vector(VectorHeader::size));
        writeEndMark(context, end);
        begin = end + endMarkSize;
        if (begin < usedEnd) {
            std::memset(context.at(begin, usedEnd - begin), 0, usedEnd - begin);
        }
    }
    context.curMessageIs(begin);
    context.curVectorIs(begin + sizeof(MvrpMessageHeader));
    writeTypeAndLength(context, attributeType, MrpApplication::mvrp);
}

std::size_t mrpPackThreePackedEvent(MrpTxPacketContext& context, AttributeType attributeType,
                                    std::uint8_t event, MrpApplication application) {
    const std::size_t values = mrpGetNumOfValues(context.vector(VectorHeader::size));
    const std::size_t headSize =
        VectorHeader::size + mrpSizeOfAttribute(attributeType, application);
    std::uint8_t* header = context.vector(headSize + threePackedBytes(values + 1));
    mrpEncodeThreePackedEvent(header + headSize, event, values + 1);
    incrementNumOfValues(header);
    return values % 3 == 0 ? 1 : 0;
}

std::size_t mrpPackThreeAndFourPackedEvent(MrpTxPacketContext& context, std::uint8_t event,
                                           MsrpListenerEvent listenerEvent) {
    constexpr std::size_t headSize = sizeof(MsrpListenerVector);
    const std::size_t values = mrpGetNumOfValues(context.vector(VectorHeader::size));
    std::uint8_t* header =
        context.vector(headSize + threePackedBytes(values + 1) + fourPackedBytes(values + 1));
    std::uint8_t* threePacked = header + headSize;
    std::uint8_t* fourPacked = threePacked + threePackedBytes(values);
    mrpEncodeFourPackedEvent(fourPacked, listenerEvent, values + 1);
    std::size_t growth = values % 4 == 0 ? 1 : 0;
    if (values % 3 == 0) {
        // The three-packed area needs one more octet, so the four-packed one makes room.
        std::memmove(fourPacked + 1, fourPacked, values / 4 + 1);
        *fourPacked = 0;
        ++growth;
    }
    mrpEncodeThreePackedEvent(threePacked, event, values + 1);
    incrementNumOfValues(header);
    return growth;
}

std::size_t mrpGetNumOfPackedBytes(const MrpTxPacketContext& context, MrpApplication application) {
    switch (application) {
    case MrpApplication::msrp:
        return msrpGetNumOfPackedBytes(context);
    case MrpApplication::mvrp:
        return mvrpGetNumOfPackedBytes(context);
    default:
        return 0;
    }
}

std::size_t msrpGetNumOfPackedBytes(const MrpTxPacketContext& context) {
    const auto message = context.curMessage();
    return message && context.pkt()->bytes() > 0 ? msrpListEnd(context, *message) : 0;
}

std::size_t mvrpGetNumOfPackedBytes(const MrpTxPacketContext& context) {
    const auto vector = context.curVector();
    return vector && context.pkt()->bytes() > 0
               ? *vector + mvrpGetSizeOfVector(context.vector(VectorHeader::size))
               : 0;
}

}  // namespace Mrp
