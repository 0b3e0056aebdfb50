#pragma once

#include <array>
#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace Platform {

// The number between the processor's order of bytes and the network's, either way.
template <class T>
T networkOrder(T number) {
    static_assert(std::is_unsigned_v<T>);
    if constexpr (std::endian::native == std::endian::big || sizeof(T) == 1) {
        return number;
    } else if constexpr (sizeof(T) == 2) {
        return __builtin_bswap16(number);
    } else if constexpr (sizeof(T) == 4) {
        return __builtin_bswap32(number);
    } else {
        static_assert(sizeof(T) == 8);
        return __builtin_bswap64(number);
    }
}

// An unsigned number held as its bytes in network order, for records whose bytes are the wire's.
// Has no alignment of its own, so a record of such fields has no holes.
template <class T>
class BigEndian {
    static_assert(std::is_unsigned_v<T>);

  public:
    BigEndian() = default;
    explicit BigEndian(T value) { *this = value; }

    BigEndian& operator=(T value) {
        value = networkOrder(value);
        std::memcpy(bytes_.data(), &value, sizeof(T));
        return *this;
    }

    operator T() const {
        T value;
        std::memcpy(&value, bytes_.data(), sizeof(T));
        return networkOrder(value);
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

// The same of another width.
template <class T>
T readBe(const std::uint8_t* bytes) {
    T number = 0;
    std::memcpy(&number, bytes, sizeof(T));
    return networkOrder(number);
}

inline void writeBe16(std::uint8_t* bytes, std::uint16_t value) {
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

}  // namespace Platform
