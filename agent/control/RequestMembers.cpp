#include "agent/control/RequestMembers.h"

#include <cmath>

#include "agent/control/RequestError.h"

namespace MrpAgent {

namespace {

// The parser's stack grows with the nesting of what a client sends.
constexpr int deepest = 16;

bool tooDeep(std::string_view line) {
    int depth = 0;
    bool inText = false;
    for (std::size_t at = 0; at < line.size(); ++at) {
        const char octet = line[at];
        if (inText) {
            at += octet == '\\' ? 1U : 0U;
            inText = octet != '"';
        } else if (octet == '"') {
            inText = true;
        } else if (octet == '{' || octet == '[') {
            if (++depth > deepest) {
                return true;
            }
        } else if (octet == '}' || octet == ']') {
            --depth;
        }
    }
    return false;
}

}  // namespace

Json RequestMembers::parse(std::string_view line) {
    if (tooDeep(line)) {
        throw RequestError(RequestError::badRequest, "expected no such deep nesting");
    }
    Json request = Json::parse(line, nullptr, false);
    if (!request.is_object()) {
        throw RequestError(RequestError::badRequest, "expected a JSON object on one line");
    }
    return request;
}

RequestMembers::RequestMembers(const Json& request) : request_(request) {}

void RequestMembers::fault(std::string_view key, const std::string& text) {
    throw RequestError(RequestError::badRequest, std::string(key) + ": " + text);
}

const Json* RequestMembers::find(std::string_view key) {
    known_.emplace(key);
    const auto found = request_.find(key);
    return found != request_.end() ? &*found : nullptr;
}

std::optional<std::string> RequestMembers::text(std::string_view key, const std::string& expected) {
    const Json* member = find(key);
    if (member == nullptr) {
        return std::nullopt;
    }
    if (!member->is_string()) {
        fault(key, "expected " + expected);
    }
    return member->get<std::string>();
}

std::optional<std::vector<std::string>> RequestMembers::texts(std::string_view key,
                                                              const std::string& expected) {
    const Json* member = find(key);
    if (member == nullptr) {
        return std::nullopt;
    }
    std::vector<std::string> result;
    const auto add = [&](const Json& text) {
        if (!text.is_string()) {
            fault(key, "expected " + expected);
        }
        result.push_back(text.get<std::string>());
    };
    if (member->is_array()) {
        for (const Json& element : *member) {
            add(element);
        }
    } else {
        add(*member);
    }
    return result;
}

std::optional<double> RequestMembers::number(std::string_view key, double min, double max) {
    const Json* member = find(key);
    if (member == nullptr) {
        return std::nullopt;
    }
    const double value = member->is_number() ? member->get<double>() : NAN;
    if (!(value >= min && value <= max)) {
        fault(key, "expected a number from " + Json(min).dump() + " to " + Json(max).dump());
    }
    return value;
}

std::optional<std::uint64_t> RequestMembers::count(std::string_view key) {
    const Json* member = find(key);
    if (member == nullptr) {
        return std::nullopt;
    }
    if (!member->is_number_unsigned() || *member == 0U) {
        fault(key, "expected a whole number of 1 or more");
    }
    return member->get<std::uint64_t>();
}

void RequestMembers::finish() const {
    for (const auto& [key, value] : request_.items()) {
        if (!known_.contains(key)) {
            std::string expected;
            for (const std::string& known : known_) {
                expected += (expected.empty() ? "" : ", ") + known;
            }
            fault(key, "unknown member, expected one of: " + expected);
        }
    }
}

}  // namespace MrpAgent
