#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Platform {

// An unsigned number held as its bytes in network order, for records whose bytes are the wire's.
// Has no alignment of its own, so a record of such fields has no holes.
template <class T>
class BigEndian {
    static_assert(std::is_unsigned_v<T>);

  public:
    BigEndian() = default;
    explicit BigEndian(T value) { *this = value; }

    BigEndian& operator=(T value) {
        for (std::size_t i = sizeof(T); i-- > 0;) {
            bytes_[i] = static_cast<std::uint8_t>(value);
            value = static_cast<T>(static_cast<std::uint64_t>(value) >> 8U);
        }
        return *this;
    }

    operator T() const {
        std::uint64_t value = 0;
        for (std::uint8_t byte : bytes_) {
            value = value << 8U | byte;
        }
        return static_cast<T>(value);
    }

    bool operator==(const BigEndian&) const = default;

  private:
    std::array<std::uint8_t, sizeof(T)> bytes_{};
};

using Be16 = BigEndian<std::uint16_t>;
using Be32 = BigEndian<std::uint32_t>;
using Be64 = BigEndian<std::uint64_t>;

// The 16-bit number in network order at the given bytes, which the caller knows to be there.
inline std::uint16_t readBe16(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

inline void writeBe16(std::uint8_t* bytes, std::uint16_t value) {
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

}  // namespace Platform
