#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Platform {

// An Ethernet MAC address: six octets in transmission order, all zero when nothing is said.
class EthAddr {
  public:
    using Octets = std::array<std::uint8_t, 6>;

    EthAddr() = default;
    explicit EthAddr(const Octets& octets) : octets_(octets) {}
    // The address whose octets are the low 48 bits of the number, highest first.
    explicit EthAddr(std::uint64_t number);

    // Reads "02:00:00:00:00:aa" (either case, '-' as separator too); nothing for anything else.
    static std::optional<EthAddr> parse(std::string_view text);

    const Octets& octets() const { return octets_; }
    std::uint64_t number() const;
    // "02:00:00:00:00:aa", lower-case.
    std::string stringValue() const;

    auto operator<=>(const EthAddr&) const = default;

  private:
    Octets octets_{};
};

}  // namespace Platform
