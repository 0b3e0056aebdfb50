#pragma once

#include <cstdint>
#include <vector>

#include "mrp/MrpSm/root/MrpSocketFilter.h"
#include "platform/packet/EthDev.h"
#include "platform/packet/PktManager.h"

namespace Platform {

using Frame = std::vector<std::uint8_t>;

inline Ptr<Pkt> pktOf(const Frame& frame) {
    return PktManager::instance().newPkt(frame);
}

inline const EthAddr groupAddr(0x0180c200000eULL);
constexpr std::uint16_t protocolType = 0x22ea;
// The one filter there is: of the group address and the type, untagged or behind one tag.
inline const SocketFilter protocolFilter = Mrp::mrpSocketFilter(groupAddr, protocolType);

// A frame to the address, of the type, with `payload` octets of 0x55; tagged when tci is not 0.
inline Frame frameOf(const EthAddr& to, std::uint16_t type, std::size_t payload,
                     std::uint16_t tci = 0) {
    Frame frame;
    const auto add = [&frame](std::uint64_t value, unsigned octets) {
        for (unsigned i = octets; i > 0; --i) {
            frame.push_back(static_cast<std::uint8_t>(value >> 8 * (i - 1)));
        }
    };
    add(to.number(), 6);
    add(0x020000000001, 6);
    if (tci != 0) {
        add(0x81000000U | tci, 4);
    }
    add(type, 2);
    frame.insert(frame.end(), payload, 0x55);
    return frame;
}

}  // namespace Platform
