#include "agent/mrpctl/CellText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace MrpCtl {

namespace {

constexpr std::uint64_t minute = 60;
constexpr std::uint64_t hour = 60 * minute;
constexpr std::uint64_t day = 24 * hour;

bool isControl(unsigned char octet) {
    return octet < 0x20 || octet == 0x7f;
}

void appendHex(std::string& text, unsigned char octet) {
    constexpr auto digits = "0123456789abcdef";
    text += {'\\', 'x', digits[octet >> 4], digits[octet & 0xf]};
}

std::string format(const char* pattern, std::uint64_t first, std::uint64_t second) {
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), pattern, static_cast<unsigned long long>(first),
                  static_cast<unsigned long long>(second));
    return text.data();
}

// Whole seconds of any number, also of those that no clock has.
std::uint64_t wholeSeconds(const Json& seconds) {
    constexpr double most = 1e15;
    return static_cast<std::uint64_t>(std::clamp(seconds.get<double>(), 0.0, most));
}

}  // namespace

std::string printable(std::string_view text) {
    constexpr unsigned char c1Lead = 0xc2;  // U+0080 to U+009F are c2 80 to c2 9f
    std::string shown;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto octet = static_cast<unsigned char>(text[at]);
        const auto next = static_cast<unsigned char>(at + 1 < text.size() ? text[at + 1] : 0);
        if (isControl(octet)) {
            appendHex(shown, octet);
        } else if (octet == c1Lead && next >= 0x80 && next < 0xa0) {
            appendHex(shown, next);
            ++at;
        } else {
            shown += text[at];
        }
    }
    return shown;
}

std::string cellText(const Json& value) {
    std::string text;
    if (value.is_string()) {
        text = printable(value.get_ref<const std::string&>());
    } else if (value.is_boolean()) {
        text = value.get<bool>() ? "yes" : "no";
    } else if (value.is_array()) {
        for (const Json& element : value) {
            text += (text.empty() ? "" : ",") + cellText(element);
        }
    } else if (!value.is_null()) {
        text = printable(jsonLine(value));
    }
    return text.empty() ? noValue : text;
}

const Json& memberOf(const Json& row, const char* name) {
    static const Json none;
    if (!row.is_object()) {
        return none;
    }
    const auto found = row.find(name);
    return found == row.end() ? none : *found;
}

std::string cellOf(const Json& row, const char* name) {
    return cellText(memberOf(row, name));
}

std::string ageText(const Json& seconds) {
    if (!seconds.is_number()) {
        return cellText(seconds);
    }
    const std::uint64_t age = wholeSeconds(seconds);
    if (age < minute) {
        return std::to_string(age) + 's';
    }
    if (age < hour) {
        return format("%llum%02llus", age / minute, age % minute);
    }
    if (age < day) {
        return format("%lluh%02llum", age / hour, age % hour / minute);
    }
    return format("%llud%lluh", age / day, age % day / hour);
}

std::string dueText(const Json& seconds) {
    if (!seconds.is_number() || wholeSeconds(seconds) >= minute) {
        return ageText(seconds);
    }
    const auto tenths = static_cast<std::uint64_t>(std::max(seconds.get<double>(), 0.0) * 10);
    return format("%llu.%llus", tenths / 10, tenths % 10);
}

}  // namespace MrpCtl
