#include "lab/replay/StepReader.h"

#include <algorithm>
#include <array>

#include "lab/replay/StepError.h"

namespace MrpLab {

using namespace Platform;
using namespace Mrp;

namespace {

// About thirty years. Up to here times are exact to a microsecond, which timers need.
constexpr Seconds latest = 1e7;  // a minute of work, even for an idle engine

// The sizes of value records, for types that the application does not have.
constexpr std::array<std::size_t, 5> storedSizes{25, 34, 12, 4, 2};

// A state by its name; the numbers that the names also read as are not meant.
template <class State>
std::optional<State> stateOf(JsonMembers& members, const std::string& name,
                             std::optional<State> (*instance)(std::string_view),
                             const char* names) {
    const auto value = members.find(name);
    if (!value) {
        return std::nullopt;
    }
    const std::string& text = value->json().is_string() ? value->text() : "";
    const auto state = instance(text);
    if (!state || stringValue(*state) != text) {
        value->refuse(names);
    }
    return state;
}

}  // namespace

// --- The line ---

std::optional<Step> StepReader::step(std::string_view line) {
    if (line.empty() || line == "\r" || line.front() == '#') {
        return std::nullopt;
    }
    const Json json = parseLine(line);
    JsonMembers members(JsonValue(json, ""));
    const Seconds at = time(members.at("at"));
    const std::string& name = actionName(json);
    checkPlace(name);
    Step step{at, (this->*actions().at(name))(members.at(name))};
    at_ = at;
    return step;
}

const std::map<std::string, StepReader::ReadAction, std::less<>>& StepReader::actions() {
    static const std::map<std::string, ReadAction, std::less<>> theActions{
        {"start", &StepReader::start},
        {"enable", &StepReader::enable},
        {"disable", &StepReader::disable},
        {"receive", &StepReader::receive},
        {"request", &StepReader::request},
        {"transmitAllLeaveAll", &StepReader::transmitAllLeaveAll},
        {"role", &StepReader::role},
        {"config", &StepReader::config},
        {"active", &StepReader::active},
        {"discard", &StepReader::discard},
        {"cleanUp", &StepReader::cleanUp},
        {"clog", &StepReader::clog},
        {"recycled", &StepReader::recycled},
        {"state", &StepReader::state},
        {"dump", &StepReader::dump},
        {"end", &StepReader::end},
    };
    return theActions;
}

const std::string& StepReader::actionName(const Json& json) const {
    const std::string* action = nullptr;
    for (const auto& [name, value] : json.items()) {
        if (name == "at") {
            continue;
        }
        const auto known = actions().find(name);
        if (known == actions().end()) {
            throw StepError(quoted(name) + ": unknown");
        }
        if (action != nullptr) {
            throw StepError(name + ": a second action, beside " + *action);
        }
        action = &known->first;
    }
    if (action == nullptr) {
        throw StepError("no action");
    }
    return *action;
}

void StepReader::checkPlace(const std::string& action) const {
    if (ended_) {
        throw StepError(action + ": a step after the end");
    }
    if (!started_ && action != "start") {
        throw StepError(action + ": the first step must be start");
    }
    if (started_ && action == "start") {
        throw StepError("start: only the first step");
    }
}

Seconds StepReader::time(const JsonValue& value) const {
    const Seconds at = value.seconds();
    if (at > latest) {
        value.refuse("at the most 1e7 seconds");
    }
    if (at < at_) {
        throw StepError("at: before the step that stands before it");
    }
    return at;
}

// --- The first step, and the configuration ---

Step::Action StepReader::start(const JsonValue& value) {
    JsonMembers members(value);
    StartStep start;
    start.application = static_cast<MrpApplication>(members.at("application").whole(0, UINT32_MAX));
    start.standby = members.boolean("standby", false);
    start.bridgeMac = members.at("bridgeMac").mac();
    for (const JsonValue& interface : members.at("interfaces").list()) {
        start.interfaces.push_back(newInterface(interface));
    }
    if (const auto mode = members.find("stpMode")) {
        start.stpMode = static_cast<int>(mode->whole(INT32_MIN, INT32_MAX));
    }
    start.log = members.boolean("log", false);
    start.randomize = members.boolean("randomize", false);
    start.config = configOf(members);
    members.end();
    application_ = start.application;
    started_ = true;
    return start;
}

StartStep::Interface StepReader::newInterface(const JsonValue& value) {
    JsonMembers members(value);
    const JsonValue name = members.at("name");
    if (name.text().empty()) {
        name.refuse("a name");
    }
    if (interfaces_.contains(name.text())) {
        name.refuse("another name: this one stands before");
    }
    StartStep::Interface interface;
    interface.intfId = interfaces_[name.text()] = IntfId(name.text());
    if (const auto mac = members.find("mac")) {
        interface.mac = mac->mac();
    }
    if (const auto limit = members.find("frameSizeLimit")) {
        interface.frameSizeLimit = static_cast<std::size_t>(limit->whole(0, UINT32_MAX));
    }
    if (const auto vlan = members.find("nativeVlan")) {
        interface.nativeVlan = static_cast<std::uint16_t>(vlan->whole(0, UINT16_MAX));
    }
    members.end();
    return interface;
}

ConfigStep StepReader::configOf(JsonMembers& members) const {
    const auto seconds = [&members](const char* name) {
        const auto value = members.find(name);
        return value ? std::optional(value->seconds()) : std::nullopt;
    };
    const auto boolean = [&members](const char* name) {
        const auto value = members.find(name);
        return value ? std::optional(value->boolean()) : std::nullopt;
    };
    const auto times = [this, &members](const char* name) {
        const auto value = members.find(name);
        return value ? intfTimes(*value) : ConfigStep::IntfTimes();
    };
    return {.leaveTime = seconds("leaveTime"),
            .leaveAllTime = seconds("leaveAllTime"),
            .txLeaveAllExpiryTime = seconds("txLeaveAllExpiryTime"),
            .mrpFlooding = boolean("mrpFlooding"),
            .timersEnabled = boolean("timersEnabled"),
            .intfLeaveTime = times("intfLeaveTime"),
            .intfLeaveAllTime = times("intfLeaveAllTime")};
}

ConfigStep::IntfTimes StepReader::intfTimes(const JsonValue& value) const {
    ConfigStep::IntfTimes times;
    for (const auto& [name, time] : JsonMembers(value).all()) {
        times[known(name, value.place())] =
            time.json().is_null() ? std::nullopt : std::optional(time.seconds());
    }
    return times;
}

Step::Action StepReader::config(const JsonValue& value) {
    JsonMembers members(value);
    ConfigStep config = configOf(members);
    members.end();
    return config;
}

// --- The other steps ---

IntfId StepReader::known(const std::string& name, const std::string& place) const {
    const auto found = interfaces_.find(name);
    if (found == interfaces_.end()) {
        throw StepError(place + ": no interface " + quoted(name) + " in start");
    }
    return found->second;
}

IntfId StepReader::intf(const JsonValue& value) const {
    return known(value.text(), value.place());
}

MrpAttribute StepReader::attribute(JsonMembers& members) const {
    return {intf(members.at("interface")), members.at("attributeType").octet(),
            members.at("key").key()};
}

Step::Action StepReader::enable(const JsonValue& value) {
    return EnableStep{intf(value)};
}

Step::Action StepReader::disable(const JsonValue& value) {
    return DisableStep{intf(value)};
}

Step::Action StepReader::receive(const JsonValue& value) {
    JsonMembers members(value);
    ReceiveStep receive{intf(members.at("interface")), members.at("frame").octets(),
                        members.boolean("notify", true)};
    members.end();
    return receive;
}

Step::Action StepReader::request(const JsonValue& value) {
    JsonMembers members(value);
    RequestStep request;
    for (const JsonValue& name : members.at("queue").list()) {
        request.queue.push_back(intf(name));
    }
    request.parameters.intfId = intf(members.at("interface"));
    request.parameters.attributeType = members.at("attributeType").octet();
    request.parameters.attributeEvent = members.at("event").octet();
    if (const auto stored = members.find("value")) {
        request.value = storedValue(*stored, request.parameters.attributeType);
    }
    members.end();
    return request;
}

// A type that the application does not have has no place for its value, but a request for it can be
// made.
Octets StepReader::storedValue(const JsonValue& value, AttributeType attributeType) const {
    Octets octets = value.octets();
    const std::size_t size = mrpSizeOfStoredValue(attributeType, application_);
    if (size != 0 && octets.size() != size) {
        value.refuse("the " + std::to_string(size) + " octets of the type's values");
    }
    if (std::find(storedSizes.begin(), storedSizes.end(), octets.size()) == storedSizes.end()) {
        value.refuse("25, 34, 12, 4 or 2 octets");
    }
    return octets;
}

Step::Action StepReader::transmitAllLeaveAll(const JsonValue& value) {
    return TransmitAllLeaveAllStep{intf(value)};
}

// A port may be none of the scenario's interfaces: the spanning tree has ports of its own.
Step::Action StepReader::role(const JsonValue& value) {
    JsonMembers members(value);
    RoleStep role{members.at("port").text(), members.at("msti").text(),
                  members.at("instance").text(),
                  static_cast<int>(members.at("role").whole(INT32_MIN, INT32_MAX))};
    members.end();
    return role;
}

Step::Action StepReader::active(const JsonValue& value) {
    value.mustBeTrue();
    return ActiveStep{};
}

Step::Action StepReader::discard(const JsonValue& value) {
    DiscardStep discard;
    for (const JsonValue& element : value.list()) {
        JsonMembers members(element);
        discard.attributes.emplace(members.at("attributeType").octet(), members.at("key").key());
        members.end();
    }
    return discard;
}

Step::Action StepReader::cleanUp(const JsonValue& value) {
    JsonMembers members(value);
    const CleanUpStep cleanUp{attribute(members)};
    members.end();
    return cleanUp;
}

Step::Action StepReader::clog(const JsonValue& value) {
    return ClogStep{value.boolean()};
}

Step::Action StepReader::recycled(const JsonValue& value) {
    return RecycledStep{value.boolean()};
}

Step::Action StepReader::state(const JsonValue& value) {
    JsonMembers members(value);
    const StateStep state{
        attribute(members),
        stateOf(members, "applicant", MrpApplicantStateInstance,
                "one of VO VP VN AN AA QA LA AO QO AP QP LO"),
        stateOf(members, "registrar", MrpRegistrarStateInstance, "one of IN LV MT")};
    members.end();
    return state;
}

Step::Action StepReader::dump(const JsonValue& value) {
    value.mustBeTrue();
    return DumpStep{};
}

Step::Action StepReader::end(const JsonValue& value) {
    value.mustBeTrue();
    ended_ = true;
    return EndStep{};
}

}  // namespace MrpLab
