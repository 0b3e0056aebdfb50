#include "agent/mrpctl/AttributeText.h"

#include <array>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <set>

#include "agent/mrpctl/CellText.h"

namespace MrpCtl {

namespace {

// Members of rows that stand elsewhere, or say of the value what others say better.
bool isDetail(const std::string& name, Details details) {
    static const std::set<std::string> others{
        "time",      "change", "application", "port",  "attributeType", "key",      "applicant",
        "registrar", "age",    "vlan",        "value", "streamId",      "srClassId"};
    return !others.contains(name) && (name != "event" || details == Details::withEvent);
}

// "02:00:00:00:00:aa:00:01"
std::string streamIdText(std::uint64_t id) {
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016" PRIx64, id);
    std::string text;
    for (std::size_t at = 0; at < 16; at += 2) {
        text += at == 0 ? "" : ":";
        text.append(digits.data() + at, 2);
    }
    return text;
}

}  // namespace

std::string attributeName(const Json& row) {
    for (const char* member : {"vlan", "streamId", "srClassId"}) {
        if (!memberOf(row, member).is_null()) {
            return cellOf(row, member);
        }
    }
    const Json& key = memberOf(row, "key");
    const Json& type = memberOf(row, "attributeType");
    const bool ofStream =
        type == "talkerAdvertise" || type == "talkerFailed" || type == "listenerVector";
    return ofStream && key.is_number_unsigned() ? streamIdText(key.get<std::uint64_t>())
                                                : cellText(key);
}

std::string attributeDetails(const Json& row, Details details) {
    std::string text;
    if (row.is_object()) {
        for (const auto& [name, value] : row.items()) {
            if (isDetail(name, details)) {
                text += (text.empty() ? "" : " ") + printable(name) + '=' + cellText(value);
            }
        }
    }
    return text.empty() ? noValue : text;
}

}  // namespace MrpCtl
