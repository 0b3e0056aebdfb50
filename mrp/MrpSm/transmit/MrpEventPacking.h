#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "mrp/MrpSm/transmit/MrpTxPacketContext.h"
#include "mrp/MrpSm/types/MrpEnums.h"

// The layout of vectors and the packing of events (IEEE 802.1Q clause 10.8.2), for the parser and
// the encoders. Positions n of values count from 1.

namespace Mrp {

namespace VectorHeader {
inline constexpr std::uint16_t leaveAllBit =
    0x2000;  // of the three LeaveAllEvent bits, the one read
inline constexpr std::uint16_t numOfValuesMask = 0x1fff;
inline constexpr std::size_t size = 2;
}  // namespace VectorHeader

inline constexpr std::size_t endMarkSize = 2;

// How many octets hold the events of n values.
constexpr std::size_t threePackedBytes(std::size_t n) {
    return (n + 2) / 3;
}
constexpr std::size_t fourPackedBytes(std::size_t n) {
    return (n + 3) / 4;
}

// The three events of each octet, first to last. Octets above 215 give a first event of 6 or 7.
using ThreeEvents = std::array<std::uint8_t, 3>;
inline constexpr std::array<ThreeEvents, 256> threePackedEvents = [] {
    std::array<ThreeEvents, 256> table{};
    for (unsigned octet = 0; octet < table.size(); ++octet) {
        table[octet] = {static_cast<std::uint8_t>(octet / 36),
                        static_cast<std::uint8_t>(octet / 6 % 6),
                        static_cast<std::uint8_t>(octet % 6)};
    }
    return table;
}();

// The event, or the declaration type, of a value in its packed area; values count from 0.
inline std::uint8_t threePackedEvent(const std::uint8_t* packed, std::uint32_t value) {
    return threePackedEvents[packed[value / 3]][value % 3];
}
inline std::uint8_t fourPackedEvent(const std::uint8_t* packed, std::uint32_t value) {
    return static_cast<std::uint8_t>(packed[value / 4] >> (6U - 2U * (value % 4U)) & 3U);
}

// The NumberOfValues of the vector header at the given octets.
std::uint16_t mrpGetNumOfValues(const std::uint8_t* header);

// Writes the event (0 to 5) of value n into the packed area, keeping the other two of its octet.
void mrpEncodeThreePackedEvent(std::uint8_t* bytes, std::uint8_t event, std::size_t n);
// Writes the declaration type of value n into the four-packed area, keeping the other three.
void mrpEncodeFourPackedEvent(std::uint8_t* bytes, MsrpListenerEvent listenerEvent, std::size_t n);

// The size of an MVRP vector by its header: 4 + ceil(N / 3) with values; without, 4 for a LeaveAll
// and 0 for none.
std::size_t mvrpGetSizeOfVector(const std::uint8_t* header);

// Closes the open message, if any, with its EndMark, and opens one of the type behind it. An
// unknown type traces and leaves the header unwritten.
//
// The EndMark of an MVRP message goes behind as many octets as its current vector takes, counted
// from the message's start: what stands there in a message of several vectors is overwritten.
void mrpCreateNewMsrpHeader(MrpTxPacketContext& context, AttributeType attributeType);
void mrpCreateNewMvrpHeader(MrpTxPacketContext& context, AttributeType attributeType);

// Extends the open vector by one value and tells by how many octets it has grown.
std::size_t mrpPackThreePackedEvent(MrpTxPacketContext& context, AttributeType attributeType,
                                    std::uint8_t event, MrpApplication application);
std::size_t mrpPackThreeAndFourPackedEvent(MrpTxPacketContext& context, std::uint8_t event,
                                           MsrpListenerEvent listenerEvent);

// The octets in use, from the packet's data start to the end of the open message's list (MSRP) or
// of the open vector (MVRP); 0 when none is open, or for another application.
std::size_t mrpGetNumOfPackedBytes(const MrpTxPacketContext& context, MrpApplication application);
std::size_t msrpGetNumOfPackedBytes(const MrpTxPacketContext& context);
std::size_t mvrpGetNumOfPackedBytes(const MrpTxPacketContext& context);

}  // namespace Mrp
