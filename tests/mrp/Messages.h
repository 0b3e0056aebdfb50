#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "TestNode.h"

namespace MrpTest {

namespace Ev = AttributeEvent;
inline constexpr AttributeType talkerType = talkerAdvertiseType;

using Applicant = MrpApplicantState;
using Registrar = MrpRegistrarState;

inline std::string octet(unsigned number) {
    return text({static_cast<std::uint8_t>(number)});
}

// Values as hexadecimal text: identifiers up to 255, and what the test does not care about.
inline std::string stream(unsigned id) {
    return "00000000000000" + octet(id);
}
inline std::string talker(unsigned id, unsigned latency = 0) {
    return stream(id) + "91e0f00000" + octet(id) + "0002" + "05dc0001" + "70" + "000000" +
           octet(latency);
}
inline std::string vlan(unsigned id) {
    return octet(id >> 8U) + octet(id & 255U);
}

// One message of one vector as hexadecimal text: of one value with its event (and, for a Listener,
// its declaration type), or of no value. A value of two octets is a VLAN, all others are MSRP's.
inline std::string message(AttributeType type, const std::string& firstValue,
                           std::optional<std::uint8_t> event, bool leaveAll = false,
                           MsrpListenerEvent listener = MsrpListenerEvent::ready) {
    const std::size_t length = firstValue.size() / 2;
    const bool msrp = length != 2;
    std::string vector = leaveAll ? "20" : "00";
    vector += (event ? "01" : "00") + firstValue;
    if (event) {
        vector += octet(*event * 36U);
        if (msrp && type == listenerType) {
            vector += octet(static_cast<unsigned>(listener) << 6U);
        }
    }
    vector += "0000";
    std::string header = octet(type) + octet(static_cast<unsigned>(length));
    if (msrp) {
        header += "00" + octet(static_cast<unsigned>(vector.size() / 2));
    }
    return header + vector;
}

inline const std::string pduEnd = "0000";

// The MRPDU of one value, as it is received or sent.
inline std::string onePdu(AttributeType type, const std::string& firstValue, std::uint8_t event) {
    return message(type, firstValue, event) + pduEnd;
}
inline std::string vlanPdu(std::uint16_t id, std::uint8_t event, bool leaveAll = false) {
    return message(vlanType, vlan(id), event, leaveAll) + pduEnd;
}
inline std::string vlanJoin(std::uint16_t id) {
    return vlanPdu(id, Ev::joinIn);
}
inline std::string vlanLv(std::uint16_t id) {
    return vlanPdu(id, Ev::lv);
}
// A LeaveAll and nothing else.
inline const std::string vlanLeaveAll = message(vlanType, vlan(0), std::nullopt, true) + pduEnd;
// JoinIn for VLANs 100 to 102, in one vector.
inline const std::string joins100to102 = "010200030064" + octet(36 + 6 + 1) + "00000000";

// The MRPDUs sent since the last call, with a bar between them.
inline std::string takeSent(TestNode& node) {
    std::string pdus;
    for (const SentFrame& frame : node.sent) {
        pdus += (pdus.empty() ? "" : "|") + frame.messages();
    }
    node.sent.clear();
    return pdus;
}

// An attribute that exists without protocol.
inline Ptr<MrpAttrDatabase> placeVlan(TestNode& node, std::uint16_t id, Applicant applicant,
                                      Registrar registrar) {
    node.lib->rxImage().vlan.vlanId = id;
    return node.place(vlanType, id, applicant, registrar);
}

// The stored value that look-ups show, as hexadecimal text.
inline std::string stored(TestNode& node, AttributeType type, AttributeKey key) {
    const MrpAttrDatabase* record = node.sm().mrpGetAttrFromDatabase(node.intf(1), type, key, true);
    if (record == nullptr) {
        return "-";
    }
    const std::size_t size = mrpSizeOfStoredValue(type, node.lib->application());
    const auto value = record->attributeValue().first(size);
    return text({value.begin(), value.end()});
}

}  // namespace MrpTest
