#pragma once

#include <bitset>
#include <cstdint>
#include <functional>
#include <string>

namespace MrpAgent {

// VLANs by number.
using VlanSet = std::bitset<4096>;

constexpr std::uint16_t lastVlan = 4094;

// Calls `each` with the first and the last VLAN of every run of neighbours in the set, in order.
void eachRange(const VlanSet& vlans,
               const std::function<void(std::uint16_t first, std::uint16_t last)>& each);

// "1-3, 7", the first few of many.
std::string stringValue(const VlanSet& vlans);

}  // namespace MrpAgent
