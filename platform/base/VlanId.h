#pragma once

#include <compare>
#include <cstdint>
#include <stdexcept>

namespace Platform {

// A VLAN that a bridge can carry: 1 to 4094 (IEEE 802.1Q clause 9.6; 0 and 4095 are reserved).
class VlanId {
  public:
    static constexpr std::uint16_t min = 1;
    static constexpr std::uint16_t max = 4094;

    // Throws std::range_error for a number outside the range.
    explicit VlanId(std::uint16_t value) : value_(value) {
        if (value < min || value > max) {
            throw std::range_error("VlanId::value < 1 or > 4094 not allowed");
        }
    }

    std::uint16_t value() const { return value_; }
    auto operator<=>(const VlanId&) const = default;

  private:
    std::uint16_t value_;
};

}  // namespace Platform
