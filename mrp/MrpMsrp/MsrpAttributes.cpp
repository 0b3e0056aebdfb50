#include "mrp/MrpMsrp/MsrpAttributes.h"

#include <ostream>

#include "mrp/MrpSm/types/MrpTrace.h"
#include "platform/base/Text.h"

namespace Mrp {

namespace {

constexpr std::uint64_t addressMask = 0xffffffffffffULL;

std::string decimal(std::uint64_t number) {
    return std::to_string(number);
}

}  // namespace

MsrpListenerEvent MsrpListenerAttribute::listenerEvent() const {
    std::uint32_t number = 0;
    for (std::size_t i = listenerEvent_.size(); i-- > 0;) {
        number = number << 8U | listenerEvent_[i];
    }
    return static_cast<MsrpListenerEvent>(number);
}

void MsrpListenerAttribute::listenerEventIs(MsrpListenerEvent event) {
    auto number = static_cast<std::uint32_t>(event);
    for (std::uint8_t& octet : listenerEvent_) {
        octet = static_cast<std::uint8_t>(number);
        number >>= 8U;
    }
}

MsrpTalkerAdvertiseAttribute
mrpIncrementTalkerAttribute(const MsrpTalkerAdvertiseAttribute& talker) {
    MsrpTalkerAdvertiseAttribute next = talker;
    next.streamId = talker.streamId + 1;
    next.frame.dmac = EthAddr(talker.frame.dmac.number() + 1);
    MRP_TRACE(8, "original dmac = " << hexStr(talker.frame.dmac.number())
                                    << ", converted dmac = " << hexStr(next.frame.dmac.number()));
    return next;
}

bool mrpTalkerValueInSequence(std::uint64_t firstStreamId, std::uint64_t streamId,
                              const EthAddr& firstDmac, const EthAddr& dmac, std::uint16_t n) {
    return streamId == firstStreamId + n &&
           dmac.number() == ((firstDmac.number() + n) & addressMask);
}

bool mrpDomainValueInSequence(std::uint8_t firstClassId, std::uint8_t classId,
                              std::uint8_t firstPriority, std::uint8_t priority, std::uint16_t n) {
    return classId == firstClassId + n && priority == firstPriority + n;
}

std::string valueToStrep(const DataFrameParameters& value) {
    return formatText("Value('Mrp::DataFrameParameters', ** {'dmac': %s, 'vlanId': %s})",
                      {value.dmac.stringValue(), decimal(value.vlanId)});
}

std::string valueToStrep(const Tspec& value) {
    return formatText("Value('Mrp::Tspec', ** {'maxFrameSize': %s, 'maxIntervalFrames': %s})",
                      {decimal(value.maxFrameSize), decimal(value.maxIntervalFrames)});
}

std::string valueToStrep(const FailureInformation& value) {
    return formatText("Value('Mrp::FailureInformation', ** {'bridgeId': %s, 'failureCode': %s})",
                      {decimal(value.bridgeId), decimal(value.failureCode)});
}

std::string valueToStrep(const MsrpTalkerAdvertiseAttribute& value) {
    return formatText("Value('Mrp::MsrpTalkerAdvertiseAttribute', ** {'streamId': %s, 'frame': %s, "
                      "'tSpec': %s, 'priorityAndRank': %s, 'accumulatedLatency': %s})",
                      {decimal(value.streamId), valueToStrep(value.frame),
                       valueToStrep(value.tSpec), decimal(value.priorityAndRank.value()),
                       decimal(value.accumulatedLatency)});
}

std::string valueToStrep(const MsrpTalkerFailedAttribute& value) {
    return formatText(
        "Value('Mrp::MsrpTalkerFailedAttribute', ** {'talkerAdvertiseAttribute': %s, "
        "'failureInformation': %s})",
        {valueToStrep(value.talkerAdvertiseAttribute), valueToStrep(value.failureInformation)});
}

std::string valueToStrep(const MsrpListenerAttribute& value) {
    return formatText(
        "Value('Mrp::MsrpListenerAttribute', ** {'streamId': %s, 'listenerEvent': %s})",
        {decimal(value.streamId), stringValue(value.listenerEvent())});
}

std::string valueToStrep(const MsrpDomainAttribute& value) {
    return formatText(
        "Value('Mrp::MsrpDomainAttribute', ** {'srClassId': %s, 'srClassPriority': "
        "%s, 'srClassVID': %s})",
        {decimal(value.srClassId), decimal(value.srClassPriority), decimal(value.srClassVID)});
}

std::ostream& operator<<(std::ostream& out, const DataFrameParameters& value) {
    return out << valueToStrep(value);
}
std::ostream& operator<<(std::ostream& out, const Tspec& value) {
    return out << valueToStrep(value);
}
std::ostream& operator<<(std::ostream& out, const FailureInformation& value) {
    return out << valueToStrep(value);
}
std::ostream& operator<<(std::ostream& out, const MsrpTalkerAdvertiseAttribute& value) {
    return out << valueToStrep(value);
}
std::ostream& operator<<(std::ostream& out, const MsrpTalkerFailedAttribute& value) {
    return out << valueToStrep(value);
}
std::ostream& operator<<(std::ostream& out, const MsrpListenerAttribute& value) {
    return out << valueToStrep(value);
}
std::ostream& operator<<(std::ostream& out, const MsrpDomainAttribute& value) {
    return out << valueToStrep(value);
}

}  // namespace Mrp
