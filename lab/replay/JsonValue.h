#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "agent/status/StatusJson.h"
#include "mrp/MrpSm/types/MrpAttribute.h"
#include "platform/base/EthAddr.h"
#include "platform/base/Seconds.h"

namespace MrpLab {

using MrpAgent::Json;

// Reads one JSON value out of a line, and nothing else. StepError for what is no JSON, for an
// object with two members of one name, and for values nested deeper than any step's.
Json parseLine(std::string_view line);

// A text as JSON writes it, for messages: whatever it holds, it prints on one line.
std::string quoted(const std::string& text);

// One value inside a step. Every reader throws StepError, with the value's place, for a value of
// another type or out of its range. The JSON outlives it.
class JsonValue {
  public:
    // The place is as in "receive.frame"; empty for the step itself.
    JsonValue(const Json& json, std::string place) : json_(&json), place_(std::move(place)) {}

    const Json& json() const { return *json_; }
    const std::string& place() const { return place_; }

    bool boolean() const;
    // Nothing but true, of actions that have no other value.
    void mustBeTrue() const;
    std::int64_t whole(std::int64_t min, std::int64_t max) const;
    std::uint8_t octet() const;
    // A time or span, finite and not negative.
    Platform::Seconds seconds() const;
    const std::string& text() const;
    // "00642a": two digits an octet, of either case.
    std::vector<std::uint8_t> octets() const;
    // "0x64": without leading zeros, at most 64 bits.
    Mrp::AttributeKey key() const;
    // "02:00:00:00:00:aa".
    Platform::EthAddr mac() const;
    std::vector<JsonValue> list() const;

    [[noreturn]] void refuse(const std::string& expected) const;

  private:
    const Json* json_;
    std::string place_;
};

}  // namespace MrpLab
