#include "agent/control/AttributeFilter.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "agent/config/IdText.h"
#include "mrp/MrpSm/protocol/MrpApplicantTable.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

// The names of the rows, and those that the configuration has for the same.
constexpr const char* typeNames[] = {"vlanVector",     "talkerAdvertise", "talkerFailed",
                                     "listenerVector", "domainVector",    "listener",
                                     "domain"};

std::optional<std::uint16_t> vlanOf(std::string_view text) {
    std::uint16_t vlan = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), vlan);
    const bool whole = error == std::errc{} && end == text.data() + text.size();
    return whole && vlan >= VlanId::min && vlan <= VlanId::max ? std::optional(vlan) : std::nullopt;
}

template <class State>
std::optional<std::size_t> stateNumber(const std::string& name, std::size_t states) {
    for (std::size_t number = 0; number < states; ++number) {
        if (stringValue(static_cast<State>(number)) == name) {
            return number;
        }
    }
    return std::nullopt;
}

bool isStream(MrpApplication application, AttributeType type) {
    return application == MrpApplication::msrp && type <= listenerType;
}

}  // namespace

bool registers(MrpRegistrarState state) {
    return state != MrpRegistrarState::MT;
}

std::optional<std::bitset<VlanId::max + 1>> vlansOf(const std::string& text) {
    std::bitset<VlanId::max + 1> vlans;
    std::string_view rest = text;
    while (true) {
        const std::size_t comma = rest.find(',');
        const std::string_view range = rest.substr(0, comma);
        const std::size_t dash = range.find('-');
        const auto first = vlanOf(range.substr(0, dash));
        const auto last = dash == std::string_view::npos ? first : vlanOf(range.substr(dash + 1));
        if (!first || !last || *first > *last) {
            return std::nullopt;
        }
        for (std::size_t vlan = *first; vlan <= *last; ++vlan) {
            vlans.set(vlan);
        }
        if (comma == std::string_view::npos) {
            return vlans;
        }
        rest.remove_prefix(comma + 1);
    }
}

bool AttributeStates::add(const std::string& name) {
    if (const auto applicant = stateNumber<MrpApplicantState>(name, applicantStates)) {
        applicants_.set(*applicant);
    } else if (const auto registrar = stateNumber<MrpRegistrarState>(name, registrarStates)) {
        registrars_.set(*registrar);
    } else if (name == "registered") {
        registered_ = true;
    } else if (name == "declared") {
        declared_ = true;
    } else {
        return false;
    }
    return true;
}

bool AttributeStates::fits(MrpApplicantState applicant, MrpRegistrarState registrar) const {
    return applicants_.test(static_cast<std::size_t>(applicant)) ||
           registrars_.test(static_cast<std::size_t>(registrar)) ||
           (registered_ && registers(registrar)) || (declared_ && mrpDeclares(applicant));
}

AttributeFilter::AttributeFilter(RequestMembers& members, unsigned kinds) {
    const std::string expected = "\"mvrp\", \"msrp\" or a list of these";
    if ((kinds & application) != 0) {
        if (const auto names = members.texts("application", expected)) {
            applications_.emplace();
            for (const std::string& name : *names) {
                const auto known = {MrpApplication::mvrp, MrpApplication::msrp};
                const auto* const found = std::find_if(
                    known.begin(), known.end(), [&](auto app) { return stringValue(app) == name; });
                if (found == known.end()) {
                    RequestMembers::fault("application", "expected " + expected);
                }
                applications_->insert(*found);
            }
        }
    }
    if ((kinds & port) != 0) {
        if (const auto names = members.texts("port", "the name of a port, or a list of names")) {
            ports_.emplace(names->begin(), names->end());
        }
    }
    if ((kinds & vlan) != 0) {
        readVlans(members);
    }
    if ((kinds & stream) != 0) {
        readStreams(members);
    }
    if ((kinds & type) != 0) {
        readTypes(members);
    }
    if ((kinds & state) != 0) {
        readStates(members);
    }
}

void AttributeFilter::readVlans(RequestMembers& members) {
    const std::string expected = "VLANs from 1 to 4094, like \"10,20-30\", or a list of such texts";
    if (const auto texts = members.texts("vlan", expected)) {
        vlans_.emplace();
        for (const std::string& text : *texts) {
            const auto some = vlansOf(text);
            if (!some) {
                RequestMembers::fault("vlan", "expected " + expected);
            }
            *vlans_ |= *some;
        }
    }
}

void AttributeFilter::readStreams(RequestMembers& members) {
    const std::string expected = "eight octets like \"02:00:00:00:00:aa:00:01\", or a list of such";
    if (const auto texts = members.texts("stream", expected)) {
        streams_.emplace();
        for (const std::string& text : *texts) {
            const auto id = idOf(text);
            if (!id) {
                RequestMembers::fault("stream", "expected " + expected);
            }
            streams_->insert(*id);
        }
    }
}

void AttributeFilter::readTypes(RequestMembers& members) {
    std::string expected = "an attribute type, or a list of types:";
    for (const char* name : typeNames) {
        expected += std::string(" ") + name;
    }
    if (const auto texts = members.texts("type", expected)) {
        types_.emplace();
        for (const std::string& text : *texts) {
            if (std::find(std::begin(typeNames), std::end(typeNames), text) ==
                std::end(typeNames)) {
                RequestMembers::fault("type", "expected " + expected);
            }
            const bool shortName = text == "listener" || text == "domain";
            types_->insert(text + (shortName ? "Vector" : ""));
        }
    }
}

void AttributeFilter::readStates(RequestMembers& members) {
    const std::string expected =
        "a state of an applicant or a registrar, registered, declared, or a list of these";
    if (const auto texts = members.texts("state", expected)) {
        states_.emplace();
        for (const std::string& text : *texts) {
            if (!states_->add(text)) {
                RequestMembers::fault("state", "expected " + expected);
            }
        }
    }
}

void AttributeFilter::domainOnly() {
    types_.emplace({std::string(attributeTypeName(domainType, MrpApplication::msrp))});
}

bool AttributeFilter::fitsApplication(MrpApplication value) const {
    return !applications_ || applications_->contains(value);
}

bool AttributeFilter::fitsType(MrpApplication app, AttributeType value) const {
    return (!types_ || types_->contains(attributeTypeName(value, app))) &&
           (!vlans_ || app == MrpApplication::mvrp) && (!streams_ || isStream(app, value));
}

bool AttributeFilter::fitsKey(MrpApplication app, AttributeType value, AttributeKey key) const {
    if (app == MrpApplication::mvrp) {
        return !streams_ && (!vlans_ || (key <= VlanId::max && vlans_->test(key)));
    }
    return !vlans_ && (!streams_ || (isStream(app, value) && streams_->contains(key)));
}

bool AttributeFilter::fits(MrpApplication app, const MrpAttribute& attribute) const {
    return fitsApplication(app) && fitsPort(attribute.intfId.name()) &&
           fitsType(app, attribute.attributeType) &&
           fitsKey(app, attribute.attributeType, attribute.key);
}

}  // namespace MrpAgent
