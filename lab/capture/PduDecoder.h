#pragma once

#include <cstdint>
#include <span>

#include "agent/status/StatusJson.h"
#include "mrp/MrpSm/types/MrpEnums.h"

namespace MrpLab {

// Spells out an MRPDU (IEEE 802.1Q clause 10.8) from its protocol version on, value by value:
//   {"version": 0, "messages": [{"attributeType": "vlanVector", "attributeLength": 2,
//     "vectors": [{"leaveAll": false, "values": [{"attributeEvent": "JoinIn", "key": 100,
//     "vlan": 100}]}]}]}
// with "attributeListLength" in the messages of MSRP, and "malformed": {"offset": N, "reason": …}
// at its end when an engine would count it as malformed; the offset is that of the octet where it
// shows, from the protocol version on. What is behind the end mark is not looked at. An empty
// MRPDU, without a version (null), is not malformed.
//
// Written apart from the engine's parser: the two check each other.
MrpAgent::Json decodeMrpdu(Mrp::MrpApplication application, std::span<const std::uint8_t> pdu);

}  // namespace MrpLab
