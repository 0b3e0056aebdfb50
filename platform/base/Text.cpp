#include "platform/base/Text.h"

#include <charconv>
#include <cstdio>

namespace Platform {

std::string hexStr(std::uint64_t number) {
    char digits[16];
    const auto result = std::to_chars(digits, digits + sizeof(digits), number, 16);
    return {digits, result.ptr};
}

std::string secondsText(double seconds) {
    char text[48];
    std::snprintf(text, sizeof(text), "%.6f", seconds);
    return text;
}

std::string hexBytes(std::span<const std::uint8_t> bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (std::uint8_t byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 0xfU];
    }
    return text;
}

std::string formatText(std::string_view pattern,
                       std::initializer_list<std::string_view> arguments) {
    std::string text;
    const auto* next = arguments.begin();
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const bool placeholder = pattern[i] == '%' && i + 1 < pattern.size() &&
                                 (pattern[i + 1] == 's' || pattern[i + 1] == 'd');
        if (placeholder && next != arguments.end()) {
            text += *next++;
            ++i;
        } else {
            text += pattern[i];
        }
    }
    return text;
}

}  // namespace Platform
