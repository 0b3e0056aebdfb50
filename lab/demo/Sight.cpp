#include "lab/demo/Sight.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace MrpLab {

using MrpAgent::Json;

namespace {

constexpr std::array listNames{"registered", "declared", "fixed", "forbidden"};
constexpr auto className = "the SR class";

std::string vlanName(unsigned vlan) {
    return "VLAN " + std::to_string(vlan);
}

std::set<std::string> vlanNames(const std::string& vlans) {
    std::set<std::string> names;
    std::istringstream ranges(vlans);
    for (std::string range; std::getline(ranges, range, ',');) {
        const std::size_t dash = range.find('-');
        const unsigned long first = std::stoul(range);
        const unsigned long last =
            dash == std::string::npos ? first : std::stoul(range.substr(dash + 1));
        for (unsigned long vlan = first; vlan <= last; ++vlan) {
            names.insert(vlanName(static_cast<unsigned>(vlan)));
        }
    }
    return names;
}

}  // namespace

void Sight::vlansAre(const std::string& node, const Rows& rows) {
    for (const Json& row : rows) {
        const std::string vlan = vlanName(row.at("vlan").get<unsigned>());
        for (std::size_t list = 0; list < lists; ++list) {
            for (const Json& port : row.at(listNames[list])) {
                ports_[node + " " + port.get<std::string>()].names[list].insert(vlan);
            }
        }
    }
}

void Sight::domainsAre(const std::string& node, const Rows& rows) {
    for (const Json& row : rows) {
        if (row.at("registrar") != "MT") {
            ports_[node + " " + row.at("port").get<std::string>()].names[registered].insert(
                className);
        }
    }
}

Sight::Port Sight::expected(const PortExpectation& expectation) {
    return {{vlanNames(expectation.registered), vlanNames(expectation.declared),
             vlanNames(expectation.fixed), vlanNames(expectation.forbidden)}};
}

std::vector<std::string> Sight::differences(const Stage& stage) const {
    std::map<std::string, Port> wanted;
    for (const PortExpectation& expectation : stage.ports) {
        wanted[std::string(expectation.node) + " " + expectation.port] = expected(expectation);
    }
    for (const std::string& port : stage.classes) {
        wanted[port].names[registered].insert(className);
    }
    for (const auto& [port, seen] : ports_) {
        wanted[port];  // nothing is expected of ports that the stage does not have
    }
    std::vector<std::string> lines;
    for (const auto& [port, want] : wanted) {
        const auto found = ports_.find(port);
        const Port seen = found != ports_.end() ? found->second : Port();
        for (std::size_t list = 0; list < lists; ++list) {
            const auto tell = [&, &name = port](const Names& some, const Names& others,
                                                const char* verb) {
                Names rest;
                std::set_difference(some.begin(), some.end(), others.begin(), others.end(),
                                    std::inserter(rest, rest.end()));
                for (const std::string& one : rest) {
                    lines.push_back(name);
                    lines.back().append(": ").append(one).append(verb).append(listNames[list]);
                }
            };
            tell(want.names[list], seen.names[list], " is not ");
            tell(seen.names[list], want.names[list], " should not be ");
        }
    }
    return lines;
}

std::size_t Sight::registrations() const {
    return registrationsWithout(Sight());
}

std::size_t Sight::registrationsWithout(const Sight& other) const {
    std::size_t count = 0;
    for (const auto& [port, seen] : ports_) {
        const auto found = other.ports_.find(port);
        const Names& names = seen.names[registered];
        count += static_cast<std::size_t>(
            std::count_if(names.begin(), names.end(), [&](const std::string& name) {
                return found == other.ports_.end() ||
                       !found->second.names[registered].contains(name);
            }));
    }
    return count;
}

}  // namespace MrpLab
