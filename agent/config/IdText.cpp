#include "agent/config/IdText.h"

#include <charconv>

namespace MrpAgent {

namespace {

constexpr std::size_t octets = 8;
constexpr std::size_t octetText = 3;  // two digits and a separator

}  // namespace

std::string idText(std::uint64_t id) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned shift = 64; shift > 0; shift -= 8) {
        text += digits[id >> (shift - 4) & 0xfU];
        text += digits[id >> (shift - 8) & 0xfU];
        text += shift > 8 ? ":" : "";
    }
    return text;
}

std::optional<std::uint64_t> idOf(std::string_view text) {
    if (text.size() != octets * octetText - 1) {
        return std::nullopt;
    }
    std::uint64_t id = 0;
    for (std::size_t at = 0; at < text.size(); at += octetText) {
        std::uint8_t octet = 0;
        const char* first = text.data() + at;
        const auto [end, error] = std::from_chars(first, first + 2, octet, 16);
        const bool separated = at + 2 == text.size() || text[at + 2] == ':' || text[at + 2] == '-';
        if (error != std::errc{} || end != first + 2 || !separated) {
            return std::nullopt;
        }
        id = id << 8U | octet;
    }
    return id;
}

}  // namespace MrpAgent
