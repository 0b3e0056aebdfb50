#pragma once

#include <cstdint>
#include <stdexcept>

namespace Mrp {

// An index into the value octets of an attribute, 0 to 64.
class ValueIndex {
  public:
    static constexpr std::uint8_t min = 0;
    static constexpr std::uint8_t max = 64;

    // Throws std::range_error for a number outside the range.
    constexpr explicit(false) ValueIndex(unsigned value)
        : value_(static_cast<std::uint8_t>(value)) {
        if (value > max) {
            throw std::range_error(
                "ValueIndex::value < ValueIndex::min or > ValueIndex::max not allowed");
        }
    }

    constexpr std::uint8_t value() const { return value_; }

  private:
    std::uint8_t value_;
};

}  // namespace Mrp
