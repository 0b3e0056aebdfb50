#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>

#include "mrp/MrpSm/root/MrpLogHandles.h"
#include "mrp/MrpSm/root/MrpSm.h"
#include "mrp/MrpSm/transmit/MrpEventPacking.h"
#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/BigEndian.h"
#include "platform/base/ScopeGuard.h"
#include "platform/base/Text.h"

// The parser (IEEE 802.1Q clause 10.8): walks one MRPDU from head to end, files every value with
// its event, and marks received LeaveAlls. It changes no state machine. Each step consumes what it
// has read; a fault stops the walk, counts, and keeps what was filed before it.
//
// Everything here comes from a neighbour: lengths are tested before fields are read.

namespace Mrp {

namespace {

constexpr std::uint8_t supportedProtocolVersion = 0;

bool atEndMark(const Pkt& pkt) {
    return pkt.bytes() >= endMarkSize && readBe16(pkt.data()) == 0;
}

// Copies the record at the packet's head; the caller has tested that it is there.
template <class Record>
Record headRecord(const Pkt& pkt) {
    static_assert(std::is_trivially_copyable_v<Record>);
    Record record;
    std::memcpy(static_cast<void*>(&record), pkt.data(), sizeof(Record));
    return record;
}

}  // namespace

MrpParseStatus MrpSm::malformed() {
    mrpCounters_->numOfMalformedPktsInc(1);
    return MrpParseStatus::parseMalformed;
}

// A vector that ends before its header, FirstValue or events do.
MrpParseStatus MrpSm::cutShort() {
    parseContext_->attributeListBytesLeftIs(0);
    return malformed();
}

void MrpSm::parseMrpdu(Pkt& pkt) {
    const ScopeGuard clear([this] { recycledPktIs(false); });
    MRP_TRACE(8, "parseMrpdu payload= " << pkt.bytes() << " bytes! ");
    MrpParseStatus status = MrpParseStatus::parseContinue;
    if (pkt.bytes() > 0) {
        const std::uint8_t version = *pkt.data();
        if (version != supportedProtocolVersion) {
            MRP_TRACE(8, "MRPDU protocol version"
                             << +version << " is greater than the current supported version "
                             << +supportedProtocolVersion);
            futureProtocolVersionIs(true);
            mrpCounters_->numOfIncorrectPduVersionInc(1);
        }
        pkt.delSharedHeadData(1);
    }
    while (status == MrpParseStatus::parseContinue && pkt.bytes() > 0) {
        status = parseMessage(pkt);
    }
    MRP_TRACE(8, "End of Mark/End of Packet reached, coming out \n"
                     << "parse status = " << status);
}

MrpParseStatus MrpSm::parseMessage(Pkt& pkt) {
    const bool msrp = mrpLib_->application() == MrpApplication::msrp;
    const std::size_t headerSize = msrp ? 4 : 2;
    if (pkt.bytes() < headerSize) {
        return malformed();
    }
    MrpParseContext& context = *parseContext_;
    context.attributeTypeIs(pkt.data()[0]);
    context.attributeLengthIs(pkt.data()[1]);
    if (msrp) {
        context.attributeListBytesLeftIs(readBe16(pkt.data() + 2));
        MRP_TRACE(8, "AttributeListLength = " << context.attributeListBytesLeft());
    }
    pkt.delSharedHeadData(headerSize);
    if (msrp && context.attributeListBytesLeft() == 0) {
        return malformed();
    }
    const std::uint8_t size = mrpSizeOfAttribute(context.attributeType(), mrpLib_->application());
    if (size == context.attributeLength()) {
        const MrpParseStatus status = parseAttributeList(pkt);
        if (status != MrpParseStatus::parseContinue) {
            return status;
        }
    } else {
        MRP_TRACE(8, " ######## Invalid attribute length = " << +context.attributeLength()
                                                             << " or Invalid attribute type = "
                                                             << +context.attributeType());
        if (!futureProtocolVersion()) {
            return malformed();
        }
        skipMessageDueToFutureProtocolVersion(pkt);
    }
    return atEndMark(pkt) ? MrpParseStatus::parseEndOfPdu : MrpParseStatus::parseContinue;
}

MrpParseStatus MrpSm::parseAttributeList(Pkt& pkt) {
    MrpParseStatus status = MrpParseStatus::parseContinue;
    do {
        status = fileVectors(pkt) ? MrpParseStatus::parseContinue : parseVectorAttribute(pkt);
        // The EndMark is looked for before the status: a rejected vector header was not consumed.
    } while (!atEndMark(pkt) && status == MrpParseStatus::parseContinue &&
             pkt.bytes() > endMarkSize);
    if (!atEndMark(pkt)) {
        return malformed();
    }
    if (mrpLib_->application() == MrpApplication::msrp &&
        parseContext_->attributeListBytesLeft() != endMarkSize) {
        return malformed();
    }
    pkt.delSharedHeadData(endMarkSize);
    return status;
}

MrpParseStatus MrpSm::parseVectorAttribute(Pkt& pkt) {
    if (pkt.bytes() < VectorHeader::size) {
        return cutShort();
    }
    MrpParseContext& context = *parseContext_;
    const std::uint16_t header = readBe16(pkt.data());
    const std::uint16_t values = header & VectorHeader::numOfValuesMask;
    if ((header & VectorHeader::leaveAllBit) != 0) {
        MRP_TRACE(8, " leaveAllEvent is True");
        MRP_TRACE(8, "leaveAllEvent is True for " << context.intfId().name());
        context.leaveAllIs(1);
        if (!recycledPkt_) {
            mrpRxLeaveAllIs(context.attributeType(), true);
            ++eventsInHand_->leaveAlls;
        }
    } else if (values == 0) {
        return cutShort();
    } else {
        context.leaveAllIs(0);
    }
    context.numberOfValuesIs(values);
    pkt.delSharedHeadData(VectorHeader::size);
    switch (mrpLib_->application()) {
    case MrpApplication::msrp:
        return parseMsrpVector(pkt);
    case MrpApplication::mvrp:
        return parseMvrpVector(pkt);
    default:
        MRP_TRACE(8, "Application " << mrpLib_->application() << " not supported");
        mrpCounters_->numOfUnknownApplicationInc(1);
        return MrpParseStatus::parseContinue;
    }
}

MrpParseStatus MrpSm::unidentifiedAttributeType() {
    const std::string type = std::to_string(parseContext_->attributeType());
    MRP_TRACE(8, " ######## Unidentified attribute type = " << type);
    mrpCounters_->numOfUnknownAttributeTypeInc(1);
    if (mrpErrorLog.enabled()) {
        mrpErrorLog.write(clock().now(),
                          {formatText("Unidentified attribute type %d received on %s",
                                      {type, parseContext_->intfId().name()})});
    }
    return MrpParseStatus::parseContinue;
}

MsrpTalkerAdvertiseAttribute MrpSm::parseTalkerAdvertise(Pkt& pkt) {
    auto talker = headRecord<MsrpTalkerAdvertiseAttribute>(pkt);
    talker.priorityAndRank = PriorityAndRank::fromOctet(talker.priorityAndRank.value());
    pkt.delSharedHeadData(sizeof(talker));
    return talker;
}

MrpParseStatus MrpSm::parseMsrpVector(Pkt& pkt) {
    const AttributeType type = parseContext_->attributeType();
    if (type == 0 || type > mrpMaxAttrTypes(MrpApplication::msrp)) {
        return unidentifiedAttributeType();
    }
    if (pkt.bytes() < mrpSizeOfMsrpAttribute(type)) {
        return cutShort();
    }
    MrpValueImage& image = mrpLib_->rxImage();
    switch (type) {
    case talkerAdvertiseType:
        image.talkerAdvertise = parseTalkerAdvertise(pkt);
        MRP_TRACE(8, " TalkerAdvertiseAttribute = " << image.talkerAdvertise);
        return parseThreePackedEvents(pkt);
    case talkerFailedType:
        image.talkerFailed.talkerAdvertiseAttribute = parseTalkerAdvertise(pkt);
        image.talkerFailed.failureInformation = headRecord<FailureInformation>(pkt);
        pkt.delSharedHeadData(sizeof(FailureInformation));
        MRP_TRACE(8, " TalkerFailedAttribute = " << image.talkerFailed);
        return parseThreePackedEvents(pkt);
    case listenerType:
        image.listener.streamId = headRecord<MsrpListenerStreamAttribute>(pkt).streamId;
        image.listener.listenerEventIs(MsrpListenerEvent::ignore);
        pkt.delSharedHeadData(sizeof(MsrpListenerStreamAttribute));
        MRP_TRACE(8, " ListenerVector stream Id =0x " << hexStr(image.listener.streamId));
        return parseThreeFourPackedEvents(pkt);
    default:
        image.domain = headRecord<MsrpDomainAttribute>(pkt);
        pkt.delSharedHeadData(sizeof(MsrpDomainAttribute));
        MRP_TRACE(8, "DomainVector stream Id = " << image.domain);
        return parseThreePackedEvents(pkt);
    }
}

MrpParseStatus MrpSm::parseMvrpVector(Pkt& pkt) {
    if (parseContext_->attributeType() != vlanType) {
        return unidentifiedAttributeType();
    }
    if (pkt.bytes() < sizeof(MvrpVlanAttribute)) {
        return cutShort();
    }
    mrpLib_->rxImage().vlan = headRecord<MvrpVlanAttribute>(pkt);
    pkt.delSharedHeadData(sizeof(MvrpVlanAttribute));
    MRP_TRACE(8, "VlanVector vlanId = " << mrpLib_->rxImage().vlan);
    return parseThreePackedEvents(pkt);
}

MrpParseStatus MrpSm::countEmptyLeaveAll() {
    MrpParseContext& context = *parseContext_;
    context.attributeKeyIs(0);
    if (context.leaveAll() == 1) {
        context.attributeEventIs(AttributeEvent::leaveAll);
        context.eventsCounterInc(1);
        context.attributeEventIs(AttributeEvent::in);
    }
    return MrpParseStatus::parseContinue;
}

MrpParseStatus MrpSm::packedBytesMissing(std::size_t wanted, std::size_t left) {
    const MrpParseStatus status = cutShort();
    if (mrpErrorLog.enabled()) {
        mrpErrorLog.write(
            clock().now(),
            {formatText(
                "Number of values %d does not match with the packet bytes %d received on %s",
                {std::to_string(wanted), std::to_string(left), parseContext_->intfId().name()})});
    }
    return status;
}

MrpParseStatus MrpSm::parseThreePackedEvents(Pkt& pkt) {
    MrpParseContext& context = *parseContext_;
    const std::uint16_t values = context.numberOfValues();
    const std::size_t packedBytes = threePackedBytes(values);
    if (values == 0) {
        countEmptyLeaveAll();
    }
    if (packedBytes > pkt.bytes()) {
        return packedBytesMissing(packedBytes, pkt.bytes());
    }
    for (std::uint16_t valueIndex = 0; valueIndex < values; ++valueIndex) {
        processMrpEvent(threePackedEvent(pkt.data(), valueIndex), valueIndex);
    }
    context.attributeListBytesLeftDec(packedBytes + context.attributeLength() + VectorHeader::size);
    pkt.delSharedHeadData(packedBytes);
    return MrpParseStatus::parseContinue;
}

MrpParseStatus MrpSm::parseThreeFourPackedEvents(Pkt& pkt) {
    MrpParseContext& context = *parseContext_;
    const std::uint16_t values = context.numberOfValues();
    const std::size_t headAndValue = context.attributeLength() + VectorHeader::size;
    if (values == 0) {
        context.attributeListBytesLeftDec(headAndValue);
        return countEmptyLeaveAll();
    }
    const std::size_t threePacked = threePackedBytes(values);
    const std::size_t packedBytes = threePacked + fourPackedBytes(values);
    if (packedBytes > pkt.bytes()) {
        return packedBytesMissing(packedBytes, pkt.bytes());
    }
    for (std::uint16_t valueIndex = 0; valueIndex < values; ++valueIndex) {
        processThreeAndFourPacked(pkt, threePackedEvent(pkt.data(), valueIndex), valueIndex,
                                  threePacked);
    }
    MRP_TRACE(8, " attributeListBytesLeft before accounting this vector ="
                     << context.attributeListBytesLeft());
    context.attributeListBytesLeftDec(packedBytes + headAndValue);
    pkt.delSharedHeadData(packedBytes);
    MRP_TRACE(8, packedBytes << "  bytes deleted that are three packed and 4 packed"
                             << " attributeListBytesLeft " << context.attributeListBytesLeft());
    return MrpParseStatus::parseContinue;
}

void MrpSm::processThreeAndFourPacked(const Pkt& pkt, std::uint8_t event, std::uint16_t valueIndex,
                                      std::size_t threePackedBytes) {
    mrpLib_->rxImage().listener.listenerEventIs(
        static_cast<MsrpListenerEvent>(fourPackedEvent(pkt.data() + threePackedBytes, valueIndex)));
    processMrpEvent(event, valueIndex);
}

void MrpSm::skipMessageDueToFutureProtocolVersion(Pkt& pkt) {
    MRP_TRACE_HANDLER();
    if (mrpLib_->application() == MrpApplication::msrp) {
        const std::size_t rest = parseContext_->attributeListBytesLeft();
        pkt.delSharedHeadData(std::min(rest, pkt.bytes()));
        return;
    }
    if (mrpLib_->application() != MrpApplication::mvrp) {
        return;
    }
    do {
        std::size_t vectorSize = 0;
        if (pkt.bytes() >= VectorHeader::size) {
            // Counted in one octet: a vector of more than 255 octets is skipped short.
            vectorSize =
                static_cast<std::uint8_t>(threePackedBytes(mrpGetNumOfValues(pkt.data())) +
                                          parseContext_->attributeLength() + VectorHeader::size);
        }
        if (vectorSize == 0 || vectorSize > pkt.bytes()) {
            pkt.delSharedHeadData(pkt.bytes());
            return;
        }
        pkt.delSharedHeadData(vectorSize);
    } while (!atEndMark(pkt));
    pkt.delSharedHeadData(endMarkSize);
}

}  // namespace Mrp
