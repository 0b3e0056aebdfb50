#include <algorithm>

#include "mrp/MrpMsrp/MsrpHeaders.h"
#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/BigEndian.h"
#include "platform/base/Text.h"

// The senders: each appends one event of the transmit image to the MRPDU of an interface, extending
// the open vector where the value follows on from it, else beginning a vector or a message. Events
// are written in place into the packet.

namespace Mrp {

namespace {

template <class Record>
std::span<const std::uint8_t> octetsOf(const Record& record, std::size_t size = sizeof(Record)) {
    return {reinterpret_cast<const std::uint8_t*>(&record), size};
}

// The open vector, of which the caller knows the type.
template <class Vector>
const Vector& openVector(const MrpTxPacketContext& context) {
    static_assert(alignof(Vector) == 1);
    return *reinterpret_cast<const Vector*>(context.vector(sizeof(Vector)));
}

std::uint16_t openVectorValues(const MrpTxPacketContext& context) {
    return mrpGetNumOfValues(context.vector(VectorHeader::size));
}

// A value by the octets that a record or an image has of it.
template <class Value>
const Value& valueAt(std::span<const std::uint8_t> octets) {
    static_assert(alignof(Value) == 1);
    return *reinterpret_cast<const Value*>(octets.data());
}

bool talkerInSequence(const MsrpTalkerAdvertiseAttribute& first,
                      const MsrpTalkerAdvertiseAttribute& value, std::uint16_t n) {
    return mrpTalkerValueInSequence(first.streamId, value.streamId, first.frame.dmac,
                                    value.frame.dmac, n);
}

}  // namespace

// --- New vectors ---

std::size_t MrpLib::encodeVector(MrpTxPacketContext& context,
                                 std::span<const std::uint8_t> firstValue, std::uint8_t event) {
    std::uint8_t* header = context.vector(VectorHeader::size + firstValue.size() +
                                          (event == AttributeEvent::leaveAll ? 0 : 1));
    std::uint8_t* value = header + VectorHeader::size;
    std::uint8_t* packed = value + firstValue.size();
    if (event == AttributeEvent::leaveAll) {
        writeBe16(header, VectorHeader::leaveAllBit);
        ++context.events().leaveAlls;
        std::fill(value, packed, std::uint8_t{0});
        return VectorHeader::size + firstValue.size();
    }
    std::uint16_t vectorHeader = 1;  // NumberOfValues
    MrpParseContext& parseContext = *mrpSm_->parseContext();
    if (parseContext.sendTxLvAll()) {
        vectorHeader |= VectorHeader::leaveAllBit;
        ++context.events().leaveAlls;
        parseContext.sendTxLvAllIs(false);
    }
    writeBe16(header, vectorHeader);
    std::copy(firstValue.begin(), firstValue.end(), value);
    mrpEncodeThreePackedEvent(packed, event, 1);
    return VectorHeader::size + firstValue.size() + 1;
}

std::size_t MrpLib::mrpEncodeTalkerVector(MrpTxPacketContext& context,
                                          const MsrpTalkerAdvertiseAttribute& value,
                                          std::uint8_t event) {
    return encodeVector(context, octetsOf(value), event);
}

std::size_t MrpLib::mrpEncodeTalkerFailedVector(MrpTxPacketContext& context,
                                                const MsrpTalkerFailedAttribute& value,
                                                std::uint8_t event) {
    const bool leaveAll = mrpSm_->parseContext()->sendTxLvAll();
    MRP_TRACE(8, " Talker Failed xxx in encode, sendTxLvAll= " << leaveAll);
    const std::size_t size = encodeVector(context, octetsOf(value), event);
    if (leaveAll && event != AttributeEvent::leaveAll) {
        MRP_TRACE(8, " Encoded to true. Vector header = "
                         << readBe16(context.vector(VectorHeader::size)));
    }
    return size;
}

std::size_t MrpLib::mrpEncodeListenerVector(MrpTxPacketContext& context,
                                            const MsrpListenerAttribute& value,
                                            std::uint8_t event) {
    const std::size_t size =
        encodeVector(context, octetsOf(value, sizeof(MsrpListenerStreamAttribute)), event);
    if (event == AttributeEvent::leaveAll) {
        return size;
    }
    mrpEncodeFourPackedEvent(context.vector(size + 1) + size, value.listenerEvent(), 1);
    return size + 1;
}

std::size_t MrpLib::mrpEncodeDomainVector(MrpTxPacketContext& context,
                                          const MsrpDomainAttribute& value, std::uint8_t event) {
    return encodeVector(context, octetsOf(value), event);
}

std::size_t MrpLib::mrpEncodeVlanVector(MrpTxPacketContext& context, const MvrpVlanAttribute& value,
                                        std::uint8_t event) {
    return encodeVector(context, octetsOf(value), event);
}

// --- One event ---

bool MrpLib::mustOpenMessage(const MrpTxPacketContext& context, AttributeType attributeType,
                             std::uint8_t event) const {
    return !context.curMessage() || event == AttributeEvent::leaveAll ||
           *context.at(*context.curMessage(), 1) != attributeType;
}

template <class InSequence, class Encode, class Extend>
void MrpLib::appendMsrp(MrpTxPacketContext& context, AttributeType attributeType,
                        std::uint8_t event, InSequence inSequence, Encode encode, Extend extend) {
    std::size_t added = 0;
    if (mustOpenMessage(context, attributeType, event)) {
        mrpCreateNewMsrpHeader(context, attributeType);
        added = encode();
    } else if (!inSequence(openVectorValues(context))) {
        context.curVectorIs(msrpGetNumOfPackedBytes(context));
        added = encode();
    } else {
        added = extend();
    }
    std::uint8_t* listLength = context.at(*context.curMessage() + 2, sizeof(std::uint16_t));
    MRP_TRACE(8, " Cur Attribute List Length encoded = " << readBe16(listLength)
                                                         << " Added bytes = " << added);
    writeBe16(listLength, static_cast<std::uint16_t>(readBe16(listLength) + added));
    MRP_TRACE(8, " Updated Attribute List Length encoded = " << readBe16(listLength));
    context.lastAttributeTypeIs(attributeType);
}

void MrpLib::append(MrpTxPacketContext& context, const MsrpTalkerAdvertiseAttribute& value,
                    std::uint8_t event) {
    appendMsrp(
        context, talkerAdvertiseType, event,
        [&](std::uint16_t n) {
            return talkerInSequence(openVector<MsrpTalkerVector>(context).firstValue, value, n);
        },
        [&] { return mrpEncodeTalkerVector(context, value, event); },
        [&] {
            return mrpPackThreePackedEvent(context, talkerAdvertiseType, event,
                                           MrpApplication::msrp);
        });
}

void MrpLib::append(MrpTxPacketContext& context, const MsrpTalkerFailedAttribute& value,
                    std::uint8_t event) {
    appendMsrp(
        context, talkerFailedType, event,
        [&](std::uint16_t n) {
            return talkerInSequence(
                openVector<MsrpTalkerFailedVector>(context).firstValue.talkerAdvertiseAttribute,
                value.talkerAdvertiseAttribute, n);
        },
        [&] { return mrpEncodeTalkerFailedVector(context, value, event); },
        [&] {
            return mrpPackThreePackedEvent(context, talkerFailedType, event, MrpApplication::msrp);
        });
}

void MrpLib::append(MrpTxPacketContext& context, const MsrpListenerAttribute& value,
                    std::uint8_t event) {
    appendMsrp(
        context, listenerType, event,
        [&](std::uint16_t n) {
            const std::uint64_t first = openVector<MsrpListenerVector>(context).firstValue.streamId;
            return value.streamId == first + n;
        },
        [&] { return mrpEncodeListenerVector(context, value, event); },
        [&] { return mrpPackThreeAndFourPackedEvent(context, event, value.listenerEvent()); });
}

void MrpLib::append(MrpTxPacketContext& context, const MsrpDomainAttribute& value,
                    std::uint8_t event) {
    appendMsrp(
        context, domainType, event,
        [&](std::uint16_t n) {
            const MsrpDomainAttribute& first = openVector<MsrpDomainVector>(context).firstValue;
            return mrpDomainValueInSequence(first.srClassId, value.srClassId, first.srClassPriority,
                                            value.srClassPriority, n);
        },
        [&] { return mrpEncodeDomainVector(context, value, event); },
        [&] { return mrpPackThreePackedEvent(context, domainType, event, MrpApplication::msrp); });
}

void MrpLib::append(MrpTxPacketContext& context, const MvrpVlanAttribute& value,
                    std::uint8_t event) {
    if (mustOpenMessage(context, vlanType, event)) {
        mrpCreateNewMvrpHeader(context, vlanType);
        mrpEncodeVlanVector(context, value, event);
    } else {
        const std::uint16_t first = openVector<MvrpVlanVector>(context).firstValue.vlanId;
        if (value.vlanId != first + openVectorValues(context)) {
            context.curVectorIs(mvrpGetNumOfPackedBytes(context));
            mrpEncodeVlanVector(context, value, event);
        } else {
            mrpPackThreePackedEvent(context, vlanType, event, MrpApplication::mvrp);
        }
    }
    context.lastAttributeTypeIs(vlanType);
}

void MrpLib::mrpAppendEvent(MrpTxPacketContext& context, AttributeType attributeType,
                            std::span<const std::uint8_t> value, std::uint8_t event) {
    require(!value.empty() && value.size() >= mrpSizeOfStoredValue(attributeType, application_),
            "the value is one of the type");
    ++context.events().values[event];
    if (application_ == MrpApplication::mvrp) {
        append(context, valueAt<MvrpVlanAttribute>(value), event);
        return;
    }
    switch (attributeType) {
    case talkerAdvertiseType:
        append(context, valueAt<MsrpTalkerAdvertiseAttribute>(value), event);
        break;
    case talkerFailedType:
        append(context, valueAt<MsrpTalkerFailedAttribute>(value), event);
        break;
    case listenerType:
        append(context, valueAt<MsrpListenerAttribute>(value), event);
        break;
    default:
        append(context, valueAt<MsrpDomainAttribute>(value), event);
        break;
    }
}

// --- The same by name, of the transmit image ---

void MrpLib::mrpSendTalkerAdvertise(std::uint8_t event, IntfId intfId, bool second) {
    MRP_TRACE(8, "mrpSendTalkerAdvertise on " << intfId.name() << " event=" << +event);
    MRP_TRACE(8, "streamId = " << hexStr(txImage_.talkerAdvertise.streamId));
    appendTo(packetContext(intfId, second), txImage_.talkerAdvertise, event);
}

void MrpLib::mrpSendTalkerFailed(std::uint8_t event, IntfId intfId, bool second) {
    MRP_TRACE(8, "mrpSendTalkerFailed on " << intfId.name() << " event=" << +event);
    MRP_TRACE(8, "streamId = " << hexStr(txImage_.talkerFailed.talkerAdvertiseAttribute.streamId));
    appendTo(packetContext(intfId, second), txImage_.talkerFailed, event);
}

void MrpLib::mrpSendListenerVector(std::uint8_t event, IntfId intfId, bool second) {
    MRP_TRACE(8, "mrpSendListenerVector on " << intfId.name() << " event=" << +event);
    MRP_TRACE(8, "streamId = " << hexStr(txImage_.listener.streamId));
    appendTo(packetContext(intfId, second), txImage_.listener, event);
}

void MrpLib::mrpSendDomainVector(std::uint8_t event, IntfId intfId, bool second) {
    MRP_TRACE(8, "mrpSendDomainVector on " << intfId.name() << " event=" << +event);
    appendTo(packetContext(intfId, second), txImage_.domain, event);
}

void MrpLib::mrpSendVlanVector(std::uint8_t event, IntfId intfId, bool second) {
    MRP_TRACE(8, "mrpSendVlanVector on " << intfId.name() << " event=" << +event);
    appendTo(packetContext(intfId, second), txImage_.vlan, event);
}

}  // namespace Mrp
