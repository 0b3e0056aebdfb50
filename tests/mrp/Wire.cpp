#include "Wire.h"

#include <algorithm>

#include "platform/base/Text.h"
#include "platform/packet/PktManager.h"

namespace MrpTest::Wire {

std::string be(std::uint64_t number, int octets) {
    Bytes bytes;
    for (int i = octets; i-- > 0;) {
        bytes.push_back(static_cast<std::uint8_t>(i < 8 ? number >> 8 * i : 0));
    }
    return text(bytes);
}

std::string dense(const std::string& octets) {
    std::string result = octets;
    std::erase(result, ' ');
    return result;
}

void fill(std::span<std::uint8_t> slot, const std::string& value) {
    std::ranges::copy(hex(value), slot.begin());
}

std::string talker(std::uint64_t streamId, std::uint64_t dmac) {
    return be(streamId, 8) + be(dmac, 6) + "0002" + "0064" + "0001" + "70" + "000003e8";
}

std::string failed(std::uint64_t streamId, std::uint64_t dmac) {
    return talker(streamId, dmac) + "8000020000000011" + "0a";
}

std::string listener(std::uint64_t streamId, unsigned declaration) {
    return be(streamId, 8) + be(declaration, 1) + "000000";
}

std::string domain(unsigned classId, unsigned priority) {
    return be(classId, 1) + be(priority, 1) + "0002";
}

std::string vlan(unsigned vlanId) {
    return be(vlanId, 2);
}

std::string parsed(TestNode& node, const std::string& body, std::uint8_t version) {
    MrpSm& sm = node.sm();
    const auto versions = node.counters().numOfIncorrectPduVersion();
    const auto unknowns = node.counters().numOfUnknownAttributeType();
    const auto faults = node.counters().numOfMalformedPkts();
    const auto events = sm.parseContext()->eventsCounter();
    sm.parseContext()->intfIdIs(node.intf(1));
    const Bytes pdu = hex(be(version, 1) + body);
    sm.parseMrpdu(*PktManager::instance().newPkt(std::span(pdu)));
    std::string result;
    for (auto* queue : {&sm.msrpParsedDomainKey(), &sm.mrpParsedAttributeKey()}) {
        while (const auto place = queue->deq()) {
            const MrpParsedAttribute attribute = sm.mrpParsedAttribute().attribute(*place);
            result += std::to_string(attribute.key().attributeType) + ":" +
                      hexStr(attribute.key().attributeKey) + "=" +
                      std::to_string(attribute.attributeEvent()) + " ";
        }
    }
    for (const auto& [type, received] : sm.mrpRxLeaveAll()) {
        result += "LA:" + std::to_string(type) + " ";
    }
    sm.dropParsed();
    sm.mrpRxLeaveAllDelAll();
    MrpSm::futureProtocolVersionIs(false);
    const auto times = [&result](char name, MrpCounters::Count was, MrpCounters::Count is) {
        result += std::string(is - was, name) + (was < is ? " " : "");
    };
    times('v', versions, node.counters().numOfIncorrectPduVersion());
    times('u', unknowns, node.counters().numOfUnknownAttributeType());
    times('m', faults, node.counters().numOfMalformedPkts());
    return result + "e" + std::to_string(sm.parseContext()->eventsCounter() - events);
}

void Sender::send(AttributeType type, const std::string& value, std::uint8_t event, bool second,
                  std::size_t number) {
    fill(node.lib->txImage().octets(type, node.lib->application()), value);
    node.lib->mrpSendAttributeIntf({node.intf(number), type, event, false}, node.intf(number),
                                   second);
}

std::string Sender::flush(std::size_t number) {
    node.sm().mrpTransmitTxAttributes(node.intf(number));
    std::string result;
    for (; shown_ < node.sent.size(); ++shown_) {
        result += (result.empty() ? "" : "|") + node.sent[shown_].messages();
    }
    return result;
}

}  // namespace MrpTest::Wire
