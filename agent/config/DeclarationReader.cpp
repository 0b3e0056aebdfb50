#include "agent/config/DeclarationReader.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "platform/base/VlanId.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

constexpr std::uint64_t maxOctet = std::numeric_limits<std::uint8_t>::max();
constexpr std::uint64_t max16 = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint64_t max32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t maxPriority = 7;

// A required number; 0 when it is wrong, which is then among the errors.
template <class Number>
Number required(ConfigTable& table, std::string_view key, std::uint64_t min, std::uint64_t max) {
    return static_cast<Number>(table.number(key, min, max, Presence::required).value_or(0));
}

std::optional<std::uint16_t> vlanOf(std::string_view text) {
    std::uint16_t vlan = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), vlan);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    return whole && vlan >= VlanId::min && vlan <= VlanId::max ? std::optional(vlan) : std::nullopt;
}

// 100, "100" or "100-110".
std::optional<std::pair<std::uint16_t, std::uint16_t>> vlanRangeOf(const toml::node& node) {
    std::string text = node.value_exact<std::string>().value_or("");
    if (const auto number = node.value_exact<std::int64_t>()) {
        text = std::to_string(*number);
    }
    const std::size_t dash = text.find('-');
    const auto first = vlanOf(std::string_view(text).substr(0, dash));
    const auto last =
        dash == std::string::npos ? first : vlanOf(std::string_view(text).substr(dash + 1));
    return first && last && *first <= *last ? std::optional(std::pair(*first, *last))
                                            : std::nullopt;
}

}  // namespace

void DeclarationReader::read() {
    readTables({{"vlans", &DeclarationReader::readVlans},
                {"talkerAdvertise", &DeclarationReader::readTalkerAdvertise},
                {"talkerFailed", &DeclarationReader::readTalkerFailed},
                {"listener", &DeclarationReader::readListener},
                {"domain", &DeclarationReader::readDomain}});
}

void DeclarationReader::readWithdrawals() {
    readTables({{"vlans", &DeclarationReader::withdrawVlans},
                {"streams", &DeclarationReader::withdrawStream},
                {"domain", &DeclarationReader::withdrawDomain}});
}

void DeclarationReader::readTables(std::initializer_list<std::pair<const char*, Read>> readers) {
    for (const auto& [key, reader] : readers) {
        for (ConfigTable& table : root_.tables(key)) {
            if (count_ <= limit_) {
                (this->*reader)(table);
                table.finish();
            }
        }
    }
}

Declaration DeclarationReader::scopeOf(ConfigTable& table, MrpApplication application) const {
    Declaration scope;
    scope.application = application;
    scope.interfaces = config_.interfaces;
    const std::string expected = "a list of names out of the agent's interfaces";
    if (const auto names = table.texts("interfaces", expected, Presence::optional)) {
        scope.interfaces.clear();
        const auto& known = config_.interfaces;
        for (const auto& [name, line] : *names) {
            if (!known.empty() && std::find(known.begin(), known.end(), name) == known.end()) {
                table.errorIs(line, "interfaces", "expected " + expected);
            }
            scope.interfaces.push_back(name);
        }
    }
    const auto& applications = config_.applications;
    if (std::find(applications.begin(), applications.end(), application) == applications.end()) {
        table.errorIs(table.line(), "",
                      "expected \"" + std::string(stringValue(application)) +
                          "\" among the applications");
    }
    return scope;
}

Declaration DeclarationReader::newScopeOf(ConfigTable& table, MrpApplication application) const {
    Declaration scope = scopeOf(table, application);
    scope.newEvent = table.flag("new").value_or(false);
    return scope;
}

bool DeclarationReader::add(Declaration scope, AttributeType attributeType,
                            const MrpValueImage& image, ConfigTable& table) {
    const auto octets = image.octets(attributeType, scope.application);
    scope.attributeType = attributeType;
    scope.key = image.key(attributeType, scope.application);
    scope.value.assign(octets.begin(), octets.end());
    count_ += std::max<std::size_t>(scope.interfaces.size(), 1);
    if (count_ > limit_) {
        table.errorIs(table.line(), "",
                      "expected no more than " + std::to_string(limit_) + " attributes");
        return false;
    }
    auto& names = declared_[{scope.application, attributeType, scope.key}];
    const auto declare = [&](const std::string& name) {
        const bool before = names.contains("") || (name.empty() && !names.empty());
        if (before || !names.insert(name).second) {
            table.errorIs(table.line(), "",
                          "expected an attribute that is not declared before" +
                              (name.empty() ? "" : " on \"" + name + "\""));
            return false;
        }
        return true;
    };
    const bool added = scope.interfaces.empty()
                           ? declare("")
                           : std::all_of(scope.interfaces.begin(), scope.interfaces.end(), declare);
    if (added) {
        config_.declarations.push_back(std::move(scope));
    }
    return added;
}

void DeclarationReader::readVlans(ConfigTable& table) {
    Declaration scope = newScopeOf(table, MrpApplication::mvrp);
    const std::string expected = "\"normal\", \"fixed\" or \"forbidden\"";
    const auto registration = table.text("registration", expected, Presence::optional);
    if (registration == "fixed") {
        scope.registration = Registration::fixed;
    } else if (registration == "forbidden") {
        scope.registration = Registration::forbidden;
    } else if (registration && registration != "normal") {
        table.errorIs(table.lineOf("registration"), "registration", "expected " + expected);
    }
    readVlanIds(table, scope);
}

void DeclarationReader::readVlanIds(ConfigTable& table, const Declaration& scope) {
    const std::string expected =
        "VLANs from 1 to 4094: a number, a range like \"100-110\", or a list of these";
    std::set<std::uint16_t> vlans;  // a list may name one twice, by itself and in a range
    for (const toml::node* node : table.elements("ids", expected, Presence::required)) {
        const auto range = vlanRangeOf(*node);
        if (!range) {
            table.errorIs(table.lineOf(*node), "ids", "expected " + expected);
            continue;
        }
        for (std::uint16_t vlan = range->first; vlan <= range->second; ++vlan) {
            vlans.insert(vlan);
        }
    }
    for (const std::uint16_t vlan : vlans) {
        MrpValueImage image;
        image.vlan.vlanId = vlan;
        if (!add(scope, vlanType, image, table)) {
            return;  // one fault a table will do
        }
    }
}

MsrpTalkerAdvertiseAttribute DeclarationReader::talkerOf(ConfigTable& table) const {
    constexpr std::uint64_t maxRank = 1;  // not an emergency (clause 35.2.2.8.5)
    MsrpTalkerAdvertiseAttribute talker;
    talker.streamId = table.id("streamId", Presence::required).value_or(0);
    talker.frame.dmac = table.address("dmac", Presence::required).value_or(EthAddr());
    talker.frame.vlanId = required<std::uint16_t>(table, "vlanId", VlanId::min, VlanId::max);
    talker.tSpec.maxFrameSize = required<std::uint16_t>(table, "maxFrameSize", 1, max16);
    talker.tSpec.maxIntervalFrames = required<std::uint16_t>(table, "maxIntervalFrames", 1, max16);
    const auto priority = required<std::uint8_t>(table, "priority", 0, maxPriority);
    const auto rank = table.number("rank", 0, maxRank, Presence::optional).value_or(maxRank);
    talker.priorityAndRank = PriorityAndRank(priority, static_cast<std::uint8_t>(rank));
    talker.accumulatedLatency = static_cast<std::uint32_t>(
        table.number("accumulatedLatency", 0, max32, Presence::optional).value_or(0));
    return talker;
}

void DeclarationReader::readTalkerAdvertise(ConfigTable& table) {
    MrpValueImage image;
    image.talkerAdvertise = talkerOf(table);
    add(newScopeOf(table, MrpApplication::msrp), talkerAdvertiseType, image, table);
}

void DeclarationReader::readTalkerFailed(ConfigTable& table) {
    MrpValueImage image;
    image.talkerFailed.talkerAdvertiseAttribute = talkerOf(table);
    FailureInformation& failure = image.talkerFailed.failureInformation;
    failure.bridgeId = table.id("bridgeId", Presence::required).value_or(0);
    failure.failureCode = required<std::uint8_t>(table, "failureCode", 1, maxOctet);
    add(newScopeOf(table, MrpApplication::msrp), talkerFailedType, image, table);
}

void DeclarationReader::readListener(ConfigTable& table) {
    MrpValueImage image;
    image.listener.streamId = table.id("streamId", Presence::required).value_or(0);
    const std::string expected = "\"ready\", \"readyFailed\" or \"askingFailed\"";
    const auto event = table.text("event", expected, Presence::required);
    if (event) {
        for (const auto known : {MsrpListenerEvent::ready, MsrpListenerEvent::readyFailed,
                                 MsrpListenerEvent::askingFailed}) {
            if (*event == stringValue(known)) {
                image.listener.listenerEventIs(known);
            }
        }
        if (image.listener.listenerEvent() == MsrpListenerEvent::ignore) {
            table.errorIs(table.lineOf("event"), "event", "expected " + expected);
        }
    }
    add(newScopeOf(table, MrpApplication::msrp), listenerType, image, table);
}

void DeclarationReader::readDomain(ConfigTable& table) {
    MrpValueImage image;
    image.domain.srClassId = required<std::uint8_t>(table, "srClassId", 0, maxOctet);
    image.domain.srClassPriority = required<std::uint8_t>(table, "srClassPriority", 0, maxPriority);
    image.domain.srClassVID =
        required<std::uint16_t>(table, "srClassVID", VlanId::min, VlanId::max);
    add(newScopeOf(table, MrpApplication::msrp), domainType, image, table);
}

void DeclarationReader::withdrawVlans(ConfigTable& table) {
    readVlanIds(table, scopeOf(table, MrpApplication::mvrp));
}

void DeclarationReader::withdrawStream(ConfigTable& table) {
    const Declaration scope = scopeOf(table, MrpApplication::msrp);
    const std::uint64_t streamId = table.id("streamId", Presence::required).value_or(0);
    MrpValueImage image;
    image.talkerAdvertise.streamId = streamId;
    image.talkerFailed.talkerAdvertiseAttribute.streamId = streamId;
    image.listener.streamId = streamId;
    add(scope, talkerAdvertiseType, image, table);
    add(scope, talkerFailedType, image, table);
    add(scope, listenerType, image, table);
}

void DeclarationReader::withdrawDomain(ConfigTable& table) {
    MrpValueImage image;
    image.domain.srClassId = required<std::uint8_t>(table, "srClassId", 0, maxOctet);
    add(scopeOf(table, MrpApplication::msrp), domainType, image, table);
}

}  // namespace MrpAgent
