#include "agent/attributelog/LogLines.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "agent/status/StatusJson.h"
#include "mrp/MrpSm/types/MrpValueImage.h"
#include "platform/base/Text.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

template <class Number>
void appendNumber(std::string& text, Number number) {
    std::array<char, 32> digits;
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    text.append(digits.data(), result.ptr);
}

void appendHex(std::string& text, std::span<const std::uint8_t> octets) {
    constexpr std::string_view digits = "0123456789abcdef";
    for (const std::uint8_t octet : octets) {
        text += digits[octet >> 4U];
        text += digits[octet & 0xfU];
    }
}

}  // namespace

// --- Writing ---

std::string headerLine(const std::string& node, std::span<const MrpApplication> applications) {
    Json names = Json::array();
    for (const MrpApplication application : applications) {
        names.push_back(stringValue(application));
    }
    return jsonLine({{"attributeLog",
                      {{"version", attributeLogVersion},
                       {"node", node},
                       {"applications", std::move(names)}}}}) +
           '\n';
}

std::string refusalLine(std::string_view reason) {
    return jsonLine({{"attributeLog", {{"version", attributeLogVersion}}}, {"error", reason}}) +
           '\n';
}

std::string completeLine() {
    return "{\"complete\":true}\n";
}

const std::string& LineWriter::placeText(const Place& place) {
    if (placeText_.empty() || place_ != place) {
        const Json members = {
            {"application", stringValue(application_)},
            {"interface", place.intfId.name()},
            {"attributeType", attributeTypeName(place.attributeType, application_)}};
        placeText_ = jsonLine(members);
        placeText_.pop_back();
        place_ = place;
    }
    return placeText_;
}

void LineWriter::record(std::string& lines, const MrpAttribute& attribute,
                        const MrpAttrDatabase* record) {
    lines += record != nullptr ? "{\"record\":" : "{\"deleted\":";
    lines += placeText({attribute.intfId, attribute.attributeType});
    lines += ",\"key\":";
    appendNumber(lines, attribute.key);
    if (record != nullptr) {
        const std::size_t size = mrpSizeOfStoredValue(attribute.attributeType, application_);
        lines += ",\"value\":\"";
        appendHex(lines, record->attributeValue().first(size));
        lines += "\",\"applicant\":\"";
        lines += stringValue(record->applicantState());
        lines += "\",\"registrar\":\"";
        lines += stringValue(record->registrarState());
        lines += '"';
    }
    lines += "}}\n";
}

void LineWriter::leaveAllTime(std::string& lines, const Place& key, std::optional<Seconds> time) {
    lines += "{\"leaveAllTime\":";
    lines += placeText(key);
    lines += ",\"seconds\":";
    if (time) {
        constexpr Seconds most = std::numeric_limits<Seconds>::max();  // JSON has no infinity
        appendNumber(lines, std::clamp(*time, -most, most));
    } else {
        lines += "null";
    }
    lines += "}}\n";
}

// --- Reading ---

namespace {

constexpr std::array<MrpApplication, 2> knownApplications{MrpApplication::msrp,
                                                          MrpApplication::mvrp};

// A line that is JSON but not what it should be.
struct Fault {
    std::string text;
};

const Json& member(const Json& object, const char* name) {
    const auto found = object.find(name);
    if (!object.is_object() || found == object.end()) {
        throw Fault{std::string("the member \"") + name + "\" is missing"};
    }
    return *found;
}

std::string text(const Json& object, const char* name) {
    const Json& found = member(object, name);
    if (!found.is_string()) {
        throw Fault{std::string("\"") + name + "\" is no text"};
    }
    return found.get<std::string>();
}

// Nothing for an application that this program does not know.
std::optional<MrpApplication> applicationOf(const Json& object) {
    const std::string name = text(object, "application");
    const auto found = std::find_if(knownApplications.begin(), knownApplications.end(),
                                    [&](auto known) { return stringValue(known) == name; });
    return found != knownApplications.end() ? std::optional(*found) : std::nullopt;
}

AttributeType typeOf(const Json& object, MrpApplication application) {
    const std::string name = text(object, "attributeType");
    for (AttributeType type = 1; type <= mrpMaxAttrTypes(application); ++type) {
        if (attributeTypeName(type, application) == name) {
            return type;
        }
    }
    throw Fault{"\"attributeType\" is none of its application"};
}

IntfId intfIdOf(const Json& object) {
    constexpr std::size_t longest = 255;
    const std::string name = text(object, "interface");
    if (name.empty() || name.size() > longest) {
        throw Fault{"\"interface\" is no name of an interface"};
    }
    return IntfId(name);
}

std::vector<std::uint8_t> octetsOf(const Json& object, std::size_t size) {
    const std::string digits = text(object, "value");
    std::vector<std::uint8_t> octets(size);
    if (digits.size() != 2 * size) {
        throw Fault{"\"value\" is not as long as the values of its type"};
    }
    for (std::size_t i = 0; i < size; ++i) {
        const char* begin = digits.data() + 2 * i;
        const auto result = std::from_chars(begin, begin + 2, octets[i], 16);
        if (result.ptr != begin + 2) {
            throw Fault{"\"value\" is no row of octets"};
        }
    }
    return octets;
}

Ptr<MrpAttrDatabase> recordOf(const Json& object, MrpApplication application,
                              const MrpAttribute& attribute) {
    const AttributeType type = attribute.attributeType;
    const auto octets = octetsOf(object, mrpSizeOfStoredValue(type, application));
    MrpValueImage image;
    std::copy(octets.begin(), octets.end(), image.octets(type, application).begin());
    if (image.key(type, application) != attribute.key) {
        throw Fault{"\"key\" is not that of \"value\""};
    }
    const auto applicant = MrpApplicantStateInstance(text(object, "applicant"));
    const auto registrar = MrpRegistrarStateInstance(text(object, "registrar"));
    if (!applicant || !registrar) {
        throw Fault{"\"applicant\" or \"registrar\" is no state"};
    }
    auto record = MrpAttrDatabase::make(attribute.key, octets.size());
    record->attributeValueIs(ValueIndex(0), octets);
    record->applicantStateIs(*applicant);
    record->registrarStateIs(*registrar);
    return record;
}

LogLine readRecord(const Json& object, bool deleted) {
    const auto application = applicationOf(object);
    if (!application) {
        return OtherLine{};
    }
    const Json& key = member(object, "key");
    if (!key.is_number_unsigned()) {
        throw Fault{"\"key\" is no whole number of up to 64 bits"};
    }
    RecordLine line{*application,
                    {intfIdOf(object), typeOf(object, *application), key.get<AttributeKey>()},
                    nullptr};
    if (!deleted) {
        line.record = recordOf(object, *application, line.attribute);
    }
    return line;
}

LogLine readLeaveAllTime(const Json& object) {
    const auto application = applicationOf(object);
    if (!application) {
        return OtherLine{};
    }
    const Json& seconds = member(object, "seconds");
    if (!seconds.is_null() && !seconds.is_number()) {
        throw Fault{"\"seconds\" is neither a number nor null"};
    }
    return LeaveAllTimeLine{*application,
                            {intfIdOf(object), typeOf(object, *application)},
                            seconds.is_null() ? std::nullopt
                                              : std::optional(seconds.get<Seconds>())};
}

LogLine readHeader(const Json& line) {
    const Json& header = line.at("attributeLog");
    const Json& version = member(header, "version");
    if (version != attributeLogVersion) {
        return FaultyLine{"expected version " + std::to_string(attributeLogVersion) +
                          " of the log, found " +
                          (version.is_number() ? version.dump() : "another one")};
    }
    if (line.contains("error")) {
        constexpr std::size_t most = 100;  // of what a stranger says
        return FaultyLine{"refused: " + text(line, "error").substr(0, most)};
    }
    return HeaderLine{text(header, "node")};
}

LogLine readObject(const Json& line) {
    if (line.contains("attributeLog")) {
        return readHeader(line);
    }
    for (const char* name : {"record", "deleted"}) {
        if (const auto found = line.find(name); found != line.end()) {
            return readRecord(*found, std::string_view(name) == "deleted");
        }
    }
    if (const auto found = line.find("leaveAllTime"); found != line.end()) {
        return readLeaveAllTime(*found);
    }
    return line.contains("complete") ? LogLine(CompleteLine{}) : LogLine(OtherLine{});
}

}  // namespace

LogLine readLogLine(std::string_view line) {
    constexpr bool throws = false;
    const Json json = Json::parse(line, nullptr, throws);
    if (!json.is_object()) {
        return FaultyLine{"expected a JSON object"};
    }
    try {
        return readObject(json);
    } catch (const Fault& fault) {
        return FaultyLine{fault.text};
    }
}

}  // namespace MrpAgent
