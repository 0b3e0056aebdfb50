#include "lab/replay/JsonValue.h"

#include <charconv>
#include <cmath>
#include <set>

#include "lab/replay/StepError.h"

namespace MrpLab {

using namespace Platform;

namespace {

constexpr int maxDepth = 8;

bool isHex(std::string_view text) {
    return text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

template <class T>
T hexNumber(std::string_view digits) {
    T number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    return number;
}

// Follows the parser, which itself lets the last of two members of one name win.
class Watch {
  public:
    void event(int depth, Json::parse_event_t event, const Json& parsed) {
        if (depth > maxDepth) {
            throw StepError("nested deeper than any step");
        }
        if (event == Json::parse_event_t::object_start) {
            names_.emplace_back();
        } else if (event == Json::parse_event_t::object_end) {
            names_.pop_back();
        } else if (event == Json::parse_event_t::key) {
            const auto& name = parsed.get_ref<const std::string&>();
            if (!names_.back().insert(name).second) {
                throw StepError(quoted(name) + " stands twice in one object");
            }
        }
    }

  private:
    std::vector<std::set<std::string>> names_;  // of the objects that are open
};

}  // namespace

Json parseLine(std::string_view line) {
    Watch watch;
    try {
        return Json::parse(line, [&](int depth, Json::parse_event_t event, const Json& parsed) {
            watch.event(depth, event, parsed);
            return true;
        });
    } catch (const Json::parse_error& error) {
        throw StepError("no JSON: fault at octet " + std::to_string(error.byte));
    } catch (const Json::exception&) {
        throw StepError("no JSON: a number is too large");
    }
}

std::string quoted(const std::string& text) {
    return MrpAgent::jsonLine(Json(text));
}

bool JsonValue::boolean() const {
    if (!json_->is_boolean()) {
        refuse("true or false");
    }
    return json_->get<bool>();
}

void JsonValue::mustBeTrue() const {
    if (!json_->is_boolean() || !json_->get<bool>()) {
        refuse("true");
    }
}

std::int64_t JsonValue::whole(std::int64_t min, std::int64_t max) const {
    const bool fits = json_->is_number_unsigned()
                          ? json_->get<std::uint64_t>() <= static_cast<std::uint64_t>(INT64_MAX)
                          : json_->is_number_integer();
    const std::int64_t number = fits ? json_->get<std::int64_t>() : 0;
    if (!fits || number < min || number > max) {
        refuse("a whole number from " + std::to_string(min) + " to " + std::to_string(max));
    }
    return number;
}

std::uint8_t JsonValue::octet() const {
    return static_cast<std::uint8_t>(whole(0, UINT8_MAX));
}

Seconds JsonValue::seconds() const {
    const Seconds seconds = json_->is_number() ? json_->get<Seconds>() : -1;
    if (!std::isfinite(seconds) || seconds < 0) {
        refuse("a number of seconds >= 0");
    }
    return seconds + 0.0;  // -0.0 becomes 0.0
}

const std::string& JsonValue::text() const {
    if (!json_->is_string()) {
        refuse("a text");
    }
    return json_->get_ref<const std::string&>();
}

std::vector<std::uint8_t> JsonValue::octets() const {
    const std::string_view digits = json_->is_string() ? std::string_view(text()) : "?";
    if (digits.size() % 2 != 0 || !isHex(digits)) {
        refuse("an even number of hexadecimal digits");
    }
    std::vector<std::uint8_t> octets;
    octets.reserve(digits.size() / 2);
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        octets.push_back(hexNumber<std::uint8_t>(digits.substr(i, 2)));
    }
    return octets;
}

Mrp::AttributeKey JsonValue::key() const {
    constexpr std::size_t maxDigits = 16;
    const std::string_view key = json_->is_string() ? std::string_view(text()) : "";
    const std::string_view digits = key.starts_with("0x") ? key.substr(2) : "";
    const bool plain = digits == "0" || (!digits.empty() && digits.front() != '0');
    if (!plain || digits.size() > maxDigits || !isHex(digits)) {
        refuse("0x and up to 16 hexadecimal digits without leading zeros");
    }
    return hexNumber<Mrp::AttributeKey>(digits);
}

EthAddr JsonValue::mac() const {
    const std::string_view digits = json_->is_string() ? std::string_view(text()) : "";
    const auto addr = EthAddr::parse(digits);
    if (!addr || digits.find('-') != std::string_view::npos) {
        refuse("a MAC address such as 02:00:00:00:00:aa");
    }
    return *addr;
}

std::vector<JsonValue> JsonValue::list() const {
    if (!json_->is_array()) {
        refuse("a list");
    }
    std::vector<JsonValue> values;
    values.reserve(json_->size());
    for (const Json& element : *json_) {
        values.emplace_back(element, place_ + "[" + std::to_string(values.size()) + "]");
    }
    return values;
}

void JsonValue::refuse(const std::string& expected) const {
    throw StepError((place_.empty() ? "" : place_ + ": ") + "expected " + expected);
}

}  // namespace MrpLab
