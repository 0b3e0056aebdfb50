#include "platform/base/EthAddr.h"

#include <cstdio>

namespace Platform {

namespace {

std::optional<std::uint8_t> hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<std::uint8_t>(c - '0');
    }
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f') {
        return static_cast<std::uint8_t>(lower - 'a' + 10);
    }
    return std::nullopt;
}

}  // namespace

EthAddr::EthAddr(std::uint64_t number) {
    for (std::size_t i = octets_.size(); i-- > 0;) {
        octets_[i] = static_cast<std::uint8_t>(number);
        number >>= 8U;
    }
}

std::optional<EthAddr> EthAddr::parse(std::string_view text) {
    constexpr std::size_t length = 17;
    if (text.size() != length) {
        return std::nullopt;
    }
    Octets octets{};
    for (std::size_t i = 0; i < octets.size(); ++i) {
        const auto high = hexDigit(text[3 * i]);
        const auto low = hexDigit(text[3 * i + 1]);
        const bool lastOctet = i + 1 == octets.size();
        if (!high || !low || (!lastOctet && text[3 * i + 2] != ':' && text[3 * i + 2] != '-')) {
            return std::nullopt;
        }
        octets[i] = static_cast<std::uint8_t>(*high << 4 | *low);
    }
    return EthAddr(octets);
}

std::uint64_t EthAddr::number() const {
    std::uint64_t number = 0;
    for (std::uint8_t octet : octets_) {
        number = number << 8U | octet;
    }
    return number;
}

std::string EthAddr::stringValue() const {
    char text[18];
    std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", octets_[0], octets_[1],
                  octets_[2], octets_[3], octets_[4], octets_[5]);
    return text;
}

}  // namespace Platform
