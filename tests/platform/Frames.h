#pragma once

#include <cstdint>
#include <vector>

#include "platform/packet/EthDev.h"
#include "platform/packet/PktManager.h"

namespace Platform {

using Frame = std::vector<std::uint8_t>;

inline Ptr<Pkt> pktOf(const Frame& frame) {
    return PktManager::instance().newPkt(frame);
}

// The filter of one protocol: its group address and its type, untagged or behind one tag.
inline SocketFilter protocolFilter(const EthAddr& group, std::uint16_t type) {
    using namespace SocketFilterCode;
    const auto upper = static_cast<std::uint32_t>(group.number() >> 32U);
    const auto lower = static_cast<std::uint32_t>(group.number());
    return {{loadWord, 0, 0, 2},       {jumpEqual, 0, 8, lower}, {loadHalfWord, 0, 0, 0},
            {jumpEqual, 0, 6, upper},  {loadHalfWord, 0, 0, 12}, {jumpEqual, 3, 0, type},
            {jumpEqual, 0, 3, 0x8100}, {loadHalfWord, 0, 0, 16}, {jumpEqual, 0, 1, type},
            {accept, 0, 0, 65535},     {accept, 0, 0, 0}};
}

inline const EthAddr groupAddr(0x0180c200000eULL);
constexpr std::uint16_t protocolType = 0x22ea;

// A frame to the address, of the type, with `payload` octets of 0x55; tagged when tci is not 0.
inline Frame frameOf(const EthAddr& to, std::uint16_t type, std::size_t payload,
                     std::uint16_t tci = 0) {
    Frame frame(to.octets().begin(), to.octets().end());
    const auto add16 = [&frame](std::uint16_t value) {
        frame.push_back(static_cast<std::uint8_t>(value >> 8U));
        frame.push_back(static_cast<std::uint8_t>(value));
    };
    frame.insert(frame.end(), {2, 0, 0, 0, 0, 1});
    if (tci != 0) {
        add16(0x8100);
        add16(tci);
    }
    add16(type);
    frame.insert(frame.end(), payload, 0x55);
    return frame;
}

}  // namespace Platform
