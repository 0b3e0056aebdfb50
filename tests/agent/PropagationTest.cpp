#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "agent/propagation/IndicationLib.h"
#include "agent/propagation/InstanceVlanRequests.h"
#include "agent/propagation/StreamPropagation.h"
#include "agent/propagation/VlanPropagation.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"
#include "platform/virtual/VirtualWire.h"

namespace MrpAgent {
namespace {

using namespace Platform;
using namespace Mrp;
using Virtual::VirtualActivityManager;

using Place = std::pair<std::string, std::uint16_t>;  // port and VLAN

// Keeps what is declared, and notes each request as "+a5", "+a5!" (New) or "-a5".
struct StandIn final : VlanRequests {
    void declare(IntfId port, std::uint16_t vlan, bool isNew) override {
        declared.insert({port.name(), vlan});
        requests.insert("+" + port.name() + std::to_string(vlan) + (isNew ? "!" : ""));
    }
    void withdraw(IntfId port, std::uint16_t vlan) override {
        EXPECT_EQ(declared.erase({port.name(), vlan}), 1U) << port.name() << vlan;
        requests.insert("-" + port.name() + std::to_string(vlan));
    }
    void forget(IntfId port, std::uint16_t vlan) override {
        requests.insert("x" + port.name() + std::to_string(vlan));
    }
    std::string taken() {
        std::string text;
        for (const std::string& request : std::exchange(requests, {})) {
            text += (text.empty() ? "" : " ") + request;
        }
        return text.empty() ? "0" : text;
    }

    std::set<Place> declared;
    std::multiset<std::string> requests;
};

struct Bridge {
    explicit Bridge(bool propagates = true) : propagation(manager, standIn, propagates) {}

    // One step, "<op>" or "<op><port><VLAN>" with a port of one letter, "*" for all:
    //   i x   the port comes, goes              f t s  forwards, with a topology change, stops
    //   j n l Join, New, Leave is indicated     > 3 s pass (topologyChangeTime)
    //   c C   the node declares it, as New      F B u  fixed, forbidden, none of these any more
    void step(const std::string& text) {
        const IntfId port(text.substr(1, 1));
        const auto vlan =
            static_cast<std::uint16_t>(text.size() > 2 ? std::stoi(text.substr(2)) : 0);
        const char op = text[0];
        if (op == 'i') {
            propagation.portIs(port);
        } else if (op == 'x') {
            std::erase_if(standIn.declared, [&](auto& p) { return p.first == port.name(); });
            propagation.portDel(port);
        } else if (op == 'f' || op == 't' || op == 's') {
            propagation.forwardingIs(port, op != 's', op == 't');
        } else if (op == 'j' || op == 'n') {
            discarded += propagation.joinIndicated({port, vlanType, vlan}, op == 'n') ? 1 : 0;
        } else if (op == 'l') {
            propagation.leaveIndicated({port, vlanType, vlan});
        } else if (op == '>') {
            manager.runUntil(manager.clock().now() + VlanPropagation::topologyChangeTime);
        } else {
            own(op, {port.name(), vlan});
        }
    }
    void own(char op, const Place& place) {
        said[place] = op;
        std::vector<Declaration> declarations(said.size());
        auto next = declarations.begin();
        for (const auto& [at, what] : said) {
            *next = {MrpApplication::mvrp, vlanType, at.second, {}, what == 'C', {}, {at.first}};
            next->application =
                what == 'u' || what == 0 ? MrpApplication::msrp : MrpApplication::mvrp;
            next->registration = what == 'F' ? Registration::fixed : Registration::normal;
            next->registration = what == 'B' ? Registration::forbidden : next->registration;
            if (at.first == "*") {
                next->interfaces.clear();
            }
            ++next;
        }
        propagation.declarationsAre(declarations);
    }
    // Makes the steps, and settles at each "|". What was requested, likewise.
    std::string run(const std::string& script) {
        std::istringstream words(script + " |");
        std::string out;
        for (std::string word; words >> word;) {
            if (word == "|") {
                manager.settle();
                out += (out.empty() ? "" : " | ") + standIn.taken();
            } else {
                step(word);
            }
        }
        return out;
    }

    VirtualActivityManager manager;
    StandIn standIn;
    VlanPropagation propagation;
    std::map<Place, char> said;  // the last op of the node's own
    std::uint64_t discarded = 0;
    std::set<Place> members;
    Reactor reactor = propagation.memberChanged().react([this](IntfId port, auto vlan, bool is) {
        const bool changed = is ? members.insert({port.name(), vlan}).second
                                : members.erase({port.name(), vlan}) == 1;
        EXPECT_TRUE(changed) << port.name() << vlan;
    });
};

TEST(VlanPropagation, followsTheRules) {
    const std::vector<std::array<const char*, 2>> cases{
        // Registration: on the others; on all from the second on; back again.
        {"ja5 | jb5 | jc5 | lc5 | la5 | lb5", "+b5 +c5 | +a5 | 0 | 0 | -b5 | -a5 -c5"},
        {"ja5 la5 | ja5 ja5 jb7 lb7 | la5 ja5", "0 | +b5 +c5 | 0"},
        {"ja0 ja4095 ja70000 jz5 lz5 la6 | ja1 jb4094", "0 | +a4094 +b1 +c1 +c4094"},
        // Forwarding, and ports that come and go.
        {"sa ja5 | fa | sa | la5 fa | sb fb", "0 | +b5 +c5 | -b5 -c5 | 0 | 0"},
        {"ja5 | xb ib | fb | xa ia fa xz fz", "+b5 +c5 | 0 | +b5 | -b5 -c5"},
        // New: everywhere but there, again and again; only that of registrations that stay.
        {"ja5 | na5 | nb5 | na5 nb5", "+b5 +c5 | +b5! +c5! | +a5! +c5! | +a5! +b5! +c5!"},
        {"na5 la5 | sa na5 | fa | jb5", "0 | 0 | +b5 +c5 | +a5"},
        {"na5 xa ia fa ja5", "+b5 +c5"},
        // Topology change: what the port brings, and what joins on it for 3 s.
        {"sa ja5 jb6 | ta | ja7 jb8 | ja7 | >a ja9",
         "+c6 | +a6! +b5! +c5! | +a8 +b7! +c7! +c8 | +b7! +c7! | +b9 +c9"},
        {"jb6 | ta | ja7 | sa fa", "+a6 +c6 | 0 | +b7! +c7! | 0"},
        // The node's own, as New the first time.
        {"ca5 | c*6 | ub5 ua5 | id fd", "+a5 | +a6 +b6 +c6 | -a5 | +d6"},
        {"Ca5 | jb5 | Ca5 | sa | fa", "+a5! | +c5 | 0 | -a5 | +a5!"},
        // Fixed counts as registered where it is; forbidden is neither, until it is allowed again.
        {"Fa5 | jb5 | lb5 | sa", "+a5 +b5 +c5 | 0 | 0 | -a5 -b5 -c5"},
        {"ja5 | Ba5 | ua5", "+b5 +c5 | -b5 -c5 xa5 | 0"},
        {"ja5 | Ba5 | ja5 ua5 | ja5", "+b5 +c5 | -b5 -c5 xa5 | 0 | +b5 +c5"},
        {"B*5 ja5 | cb5 | Fb5 | u*5", "0 | 0 | 0 | +a5 +b5 +c5"},
    };
    for (const auto& [script, expected] : cases) {
        SCOPED_TRACE(script);
        Bridge bridge;
        EXPECT_EQ(bridge.run(std::string("ia ib ic fa fb fc | ") + script).substr(4), expected);
    }
}

constexpr std::array<std::uint16_t, 6> someVlans{1, 2, 3, 4, 5, 6};

// The rules once more, asked for each pair of ports.
struct Model {
    Bridge& bridge;
    bool propagates;
    std::map<std::string, Seconds> newUntil = {};  // of all ports
    std::set<std::string> forwards = {}, newOn = {};
    std::set<Place> registered = {}, newFrom = {}, declared = {};
    std::multiset<std::string> news = {};

    bool says(const Place& place, const std::string& ops) const {
        return ops.find(bridge.said[place]) != std::string::npos ||
               ops.find(bridge.said[{"*", place.second}]) != std::string::npos;
    }
    VlanPropagation::Membership membership(const Place& place) const {
        auto registration = says(place, "F") ? Registration::fixed : Registration::normal;
        registration = says(place, "B") ? Registration::forbidden : registration;
        return {registered.contains(place), registration, says(place, "cCF"),
                declared.contains(place)};
    }
    void step(char op, const Place& place) {
        const std::string& name = place.first;
        const Seconds now = bridge.manager.clock().now();
        if (op == 'i') {
            newUntil.try_emplace(name, 0);
        } else if (op == 'x') {
            newUntil.erase(name), forwards.erase(name), newOn.erase(name);
            for (auto* set : {&registered, &newFrom, &declared}) {
                std::erase_if(*set, [&](const Place& other) { return other.first == name; });
            }
        } else if (!newUntil.contains(name)) {
            return;
        } else if (op == 'f' || op == 't') {
            newUntil[name] = op == 't' ? now + 3 : newUntil[name];
            if (forwards.insert(name).second && op == 't') {
                newOn.insert(name);
            }
        } else if (op == 's') {
            forwards.erase(name);
        } else if (op == 'l') {
            registered.erase(place);
        } else if (membership(place).registration != Registration::forbidden) {
            registered.insert(place);
            if (op == 'n' || now < newUntil[name]) {
                newFrom.insert(place);
            }
        }
    }
    void settle() {
        news.clear();
        std::set<Place> next;
        for (const std::string& name : forwards) {
            for (const std::uint16_t vlan : someVlans) {
                const Place place{name, vlan};
                bool isNew =
                    newOn.contains(name) || (says(place, "C") && !declared.contains(place));
                bool wanted = membership(place).configured;
                for (const std::string& other : forwards) {
                    if (propagates && other != name && membership({other, vlan}).member()) {
                        wanted = true;
                        isNew |= newOn.contains(other) || newFrom.contains({other, vlan});
                    }
                }
                if (wanted && !says(place, "B")) {
                    next.insert(place);
                    if (isNew) {
                        news.insert("+" + name + std::to_string(vlan) + "!");
                    }
                }
            }
        }
        declared = next;
        newOn.clear(), newFrom.clear();
        std::erase_if(registered, [this](const Place& place) { return says(place, "B"); });
    }
};

// Ports before these let a set's word end among them.
void compareHistories(int portsBefore, bool propagates) {
    Bridge bridge(propagates);
    Model model{bridge, propagates};
    for (int i = 0; i < portsBefore; ++i) {
        bridge.propagation.portIs(IntfId("other" + std::to_string(i)));
    }
    std::mt19937 random(7);
    const auto pick = [&](const auto& from) { return from[random() % from.size()]; };
    for (int i = 0; i < 1500; ++i) {
        const char op = pick(std::string("ixffftssjjjjjjjnnllllllcCFBuuu>"));
        const bool own = std::string("cCFBu").find(op) != std::string::npos;
        const Place at{std::string(1, pick(std::string(own ? "abcde*" : "abcde"))),
                       pick(someVlans)};
        if (!own && op != '>') {
            model.step(op, at);
        }
        bridge.step(op + at.first + std::to_string(at.second));
        if (op != '>' && random() % 3 != 0) {
            continue;
        }
        bridge.manager.settle();
        model.settle();
        std::multiset<std::string> news = std::exchange(bridge.standIn.requests, {});
        std::erase_if(news, [](const std::string& text) { return text.back() != '!'; });
        ASSERT_EQ(bridge.standIn.declared, model.declared) << i;
        ASSERT_EQ(news, model.news) << i;
        for (const auto& [name, newUntil] : model.newUntil) {
            for (const std::uint16_t vlan : someVlans) {
                const auto membership = bridge.propagation.membership(IntfId(name), vlan);
                ASSERT_EQ(membership, model.membership({name, vlan})) << i;
                ASSERT_EQ(bridge.members.contains({name, vlan}), membership.member()) << i;
            }
        }
    }
    EXPECT_EQ(bridge.propagation.counters().forbidden, bridge.discarded);
}

TEST(VlanPropagation, agreesWithANaiveModelOverALongHistory) {
    compareHistories(0, true);
    compareHistories(62, true);
    compareHistories(0, false);
}

TEST(VlanPropagation, doesALotInTurnsAndMayGoMeanwhile) {
    for (const std::size_t goesAfter : {0U, 4096U, 4 * 4094U}) {
        VirtualActivityManager manager;
        StandIn standIn;
        auto propagation = std::make_unique<VlanPropagation>(manager, standIn, true);
        for (const IntfId port : {IntfId("a"), IntfId("b"), IntfId("c"), IntfId("d")}) {
            propagation->portIs(port);
            propagation->forwardingIs(port, true, false);
            for (std::uint16_t vlan = 1; vlan <= 4094; ++vlan) {
                propagation->joinIndicated({port, vlanType, vlan}, false);
            }
        }
        if (goesAfter != 0) {
            EXPECT_TRUE(standIn.requests.empty());
            manager.settle();
            EXPECT_EQ(standIn.requests.size(), 4096U);
        }
        if (goesAfter <= 4096) {
            propagation.reset();
        }
        manager.runUntil(1);
        EXPECT_EQ(standIn.requests.size(), goesAfter);
    }
}

// --- With engines ---

// An indication as "+5", "+5!" (New) or "-5".
struct StationLib final : MrpLib {
    bool mrpJoinIndication(const MrpParameters& parameters) override {
        const bool isNew = parameters.attributeEvent == AttributeEvent::newEvent;
        log += "+" + std::to_string(mrpSm()->parseContext()->attribute().key) + (isNew ? "!" : "");
        return false;
    }
    void mrpLeaveIndication(const MrpParameters&) override {
        log += "-" + std::to_string(mrpSm()->parseContext()->attribute().key);
    }

    std::string log;
};

struct Node {
    Node(ActivityManager& manager, MrpApplication application,
         const std::vector<std::string>& ports, const Ptr<MrpLib>& lib = nullptr) {
        for (const std::string& port : ports) {
            devs.push_back(makePtr<Virtual::VirtualEthDev>(port, manager));
            interfaces.kernelStatus->valueIs(IntfId(port), devs.back());
        }
        MrpInstance::Parameters parameters;
        parameters.application = application;
        parameters.mrpLib = lib;
        instance = std::make_unique<MrpInstance>(manager, interfaces, parameters);
        for (const std::string& port : ports) {
            instance->enable(IntfId(port));
        }
    }

    NodeInterfaces interfaces = NodeInterfaces::make();
    std::vector<Ptr<Virtual::VirtualEthDev>> devs;
    std::unique_ptr<MrpInstance> instance;
};

const std::vector<std::string> bridgePorts{"p1", "p2", "p3"};

// Stations, each on a port of a bridge.
struct Network {
    Network() {
        bridgeLib->propagationIs(&propagation);
        for (std::size_t i = 0; i < bridgePorts.size(); ++i) {
            libs.push_back(makePtr<StationLib>());
            const std::string name = "s" + std::to_string(i + 1);
            stations.emplace_back(manager, MrpApplication::mvrp, std::vector{name}, libs.back());
            wires.push_back(std::make_unique<Virtual::VirtualWire>(manager));
            wires.back()->connect(*stations.back().devs[0]);
            wires.back()->connect(*bridge.devs[i]);
            propagation.portIs(IntfId(bridgePorts[i]));
            propagation.forwardingIs(IntfId(bridgePorts[i]), true, false);
        }
    }
    ~Network() { bridgeLib->propagationIs(nullptr); }

    // A request of a station's; what the stations are told within the seconds after it.
    std::string request(std::size_t station, std::uint8_t event, std::uint8_t vlan, Seconds time) {
        stations[station - 1].instance->request(IntfId("s" + std::to_string(station)), vlanType,
                                                event, std::array<std::uint8_t, 2>{1, vlan});
        manager.runUntil(manager.clock().now() + time);
        std::string told;
        for (const Ptr<StationLib>& lib : libs) {
            told += std::exchange(lib->log, {}) + ";";
        }
        return told;
    }

    VirtualActivityManager manager;
    Ptr<IndicationLib> bridgeLib = makePtr<IndicationLib>();
    Node bridge{manager, MrpApplication::mvrp, bridgePorts, bridgeLib};
    InstanceVlanRequests requests{*bridge.instance};
    VlanPropagation propagation{manager, requests, true};
    std::vector<Ptr<StationLib>> libs;
    std::vector<Node> stations;
    std::vector<std::unique_ptr<Virtual::VirtualWire>> wires;
};

TEST(Propagation, joinsStationsThroughABridgeOfEngines) {
    Network network;
    const auto joinIn = AttributeEvent::joinIn;
    EXPECT_EQ(network.request(1, joinIn, 2, 0.5), ";+258;+258;");
    EXPECT_EQ(network.request(2, joinIn, 2, 0.5), "+258;;;");
    EXPECT_EQ(network.request(1, AttributeEvent::lv, 2, 2), ";-258;;");
    EXPECT_EQ(network.request(3, AttributeEvent::newEvent, 2, 0.5), "+258!+258!;+258!+258!;;");
    network.propagation.declarationsAre(
        {{MrpApplication::mvrp, vlanType, 259, {}, false, Registration::forbidden, {"p1"}}});
    EXPECT_EQ(network.request(1, joinIn, 3, 0.5), ";;;");
    EXPECT_EQ(network.request(2, joinIn, 3, 0.5), ";;+259;");
}

// In the engine's database VLAN 258 is declared on p2 and p3 and registered on p1.
TEST(Propagation, goesOnFromAnEnginesDatabaseWithPatience) {
    Network network;
    network.request(1, AttributeEvent::joinIn, 2, 0.5);
    StandIn standIn;
    standIn.declared = {{"p2", 258}};
    VlanPropagation resumed(network.manager, standIn, true);
    for (const char* port : {"p1", "p2"}) {
        resumed.portIs(IntfId(port));
        resumed.forwardingIs(IntfId(port), true, false);
    }
    resumed.resume(*network.bridge.instance, 5);
    network.manager.settle();
    EXPECT_TRUE(resumed.membership(IntfId("p1"), 258).member());
    EXPECT_EQ(standIn.taken(), "0");
    resumed.leaveIndicated({IntfId("p1"), vlanType, 258});
    resumed.joinIndicated({IntfId("p1"), vlanType, 7}, false);
    network.manager.runUntil(5.4);
    EXPECT_EQ(standIn.taken(), "+p27");
    network.manager.runUntil(5.6);
    EXPECT_EQ(standIn.taken(), "-p2258");
}

TEST(StreamPropagation, declaresTheNodesOwnOnEveryPortThatItConcerns) {
    VirtualActivityManager manager;
    Node node(manager, MrpApplication::msrp, bridgePorts);
    const auto declared = [&](AttributeKey key) {
        std::string ports;
        for (const std::string& port : bridgePorts) {
            const MrpAttribute attribute{IntfId(port), domainType, key};
            const auto* record = node.instance->mrpSm().mrpGetAttrFromDatabase(
                attribute.intfId, domainType, key, true);
            const bool is = node.instance->declares(attribute);
            ports += is ? port + "=" + std::to_string(record->attributeValue()[3]) + " " : "";
        }
        return ports;
    };
    const auto domain = [](std::uint8_t key, std::uint8_t vlan, std::vector<std::string> ports) {
        return Declaration{MrpApplication::msrp, domainType,      key, {key, 3, 0, vlan}, false,
                           Registration::normal, std::move(ports)};
    };
    const auto start = [&] {
        auto streams = std::make_unique<StreamPropagation>(manager, *node.instance);
        for (const std::string& port : bridgePorts) {
            streams->portIs(IntfId(port));
        }
        return streams;
    };
    auto streams = start();
    streams->declarationsAre({domain(6, 2, {}), domain(5, 2, {"p1"}), Declaration()});
    EXPECT_EQ(declared(6), "");
    manager.settle();
    EXPECT_EQ(declared(6) + declared(5), "p1=2 p2=2 p3=2 p1=2 ");
    streams->declarationsAre({domain(6, 9, {})});
    manager.runUntil(0.5);
    EXPECT_EQ(declared(6) + declared(5), "p1=9 p2=9 p3=9 ");

    streams = start();
    streams->portDel(IntfId("p3"));
    streams->resume(*node.instance, 2);
    streams->declarationsAre({domain(5, 2, {"p2"}), domain(6, 9, {"p2"})});
    manager.runUntil(2.4);
    EXPECT_EQ(declared(6) + declared(5), "p1=9 p2=9 p3=9 p2=2 ");
    manager.runUntil(3);
    EXPECT_EQ(declared(6) + declared(5), "p2=9 p3=9 p2=2 ");
}

}  // namespace
}  // namespace MrpAgent
