#include <gmock/gmock.h>

#include <chrono>
#include <ctime>

#include "ControlFixture.h"
#include "platform/virtual/VirtualActivityManager.h"

namespace MrpAgent {
namespace {

using testing::HasSubstr;

const std::string ok = "{\"ok\":true}\n";

TEST_F(Control, showsTablesByFilters) {
    record(0, "cp1", vlanType, 10, MrpRegistrarState::IN);
    record(0, "cp2", vlanType, 10, MrpRegistrarState::MT);
    record(0, "cp2", vlanType, 11, MrpRegistrarState::LV);
    record(1, "cp2", listenerType, 7, MrpRegistrarState::IN);
    record(1, "cp1", talkerAdvertiseType, 7, MrpRegistrarState::MT);
    record(1, "cp1", talkerFailedType, 9, MrpRegistrarState::MT);
    const std::vector<std::uint8_t> vlan12{0, 12};
    node.instances_[0]->request(IntfId("cp1"), vlanType, AttributeEvent::joinIn, vlan12);

    const auto keys = [this](const std::string& filters) {
        Client client(path);
        EXPECT_TRUE(soon(client, [&] { return !client.lines.empty(); }));
        std::string text;
        for (const Json& line : ask(client, show("\"attributes\"" + filters))) {
            if (line.contains("row")) {
                const Json& row = line["row"];
                text += row["port"].get<std::string>() + "/" + row["key"].dump() + " ";
            }
        }
        return text;
    };
    EXPECT_EQ(keys(""), "cp1/10 cp1/12 cp2/10 cp2/11 cp1/7 cp1/9 cp2/7 ");
    EXPECT_EQ(keys(R"(, "application": "msrp", "port": ["cp1", "cp9"])"), "cp1/7 cp1/9 ");
    EXPECT_EQ(keys(R"(, "vlan": ["1-10", "12,4094"], "state": "registered")"), "cp1/10 ");
    EXPECT_EQ(keys(R"(, "stream": "00:00:00:00:00:00:00:07")"), "cp1/7 cp2/7 ");
    EXPECT_EQ(keys(R"(, "type": ["listener", "talkerFailed"])"), "cp1/9 cp2/7 ");
    EXPECT_EQ(keys(R"(, "state": ["declared", "LV"])"), "cp1/12 cp2/11 ");

    EXPECT_EQ(rows(show(R"("vlans", "vlan": "10-11")")),
              R"({"vlan":10,"registered":["cp1"],"fixed":[],"forbidden":[],"configured":[],)"
              R"("declared":[]})"
              "\n"
              R"({"vlan":11,"registered":["cp2"],"fixed":[],"forbidden":[],"configured":[],)"
              R"("declared":[]})"
              "\n" +
                  ok);
    const std::string streams = rows(show(R"("streams")"));
    EXPECT_THAT(streams, HasSubstr(R"({"streamId":"00:00:00:00:00:00:00:07","talkers":[{"port":)"
                                   R"("cp1","attributeType":"talkerAdvertise","applicant":"VO",)"
                                   R"("registrar":"MT","age":0.)"));
    EXPECT_THAT(streams, HasSubstr(R"("listeners":[{"port":"cp2","event":"ignore","applicant":)"
                                   R"("VO","registrar":"IN","age":0.)"));
    EXPECT_THAT(streams, HasSubstr(R"({"streamId":"00:00:00:00:00:00:00:09")"));
    const std::string ports = rows(show(R"("ports", "port": "cp2")"));
    EXPECT_THAT(ports, HasSubstr(R"({"port":"cp2","link":true,"state":"forwarding","role":2,)"
                                 R"("forwarding":true,"mac":"00:00:00:00:00:01","mtu":1500,)"
                                 R"("nativeVlan":1,"applications":[{"application":"mvrp",)"
                                 R"("packetAccess":true,"error":null,"registered":1,"declared":0},)"
                                 R"({"application":"msrp",)"));
    EXPECT_THAT(ports, testing::Not(HasSubstr("cp1")));
    EXPECT_THAT(rows(show(R"("timers", "application": "mvrp", "port": "cp1")")),
                HasSubstr(R"({"application":"mvrp","port":"cp1","timer":"leaveAll",)"
                          R"("attributeType":"vlanVector","due":1)"));
    EXPECT_THAT(rows(show(R"("agent")")),
                HasSubstr(R"({"role":"active","version":"0.1.0","control":{"clients":)"));
    EXPECT_EQ(rows(R"({"request": "doctor"})"),
              "{\"severity\":\"warning\",\"text\":\"no bridge\",\"advice\":null}\n" + ok);
    node.instances_[0]->mrpSm().portCountersIs(IntfId("cp1")).eventsIn.values[5] = 3;
    EXPECT_THAT(rows(show(R"("counters", "port": "cp1", "application": "mvrp")")),
                HasSubstr(R"("Mt":0,"Lv":3,"LeaveAll":0},"eventsOut":)"));
    EXPECT_EQ(rows(R"({"request": "clear", "what": "counters"})"), ok);
    EXPECT_EQ(node.instances_[0]->mrpSm().portCounters().count(IntfId("cp1")) == 0
                  ? 0
                  : node.instances_[0]->mrpSm().portCountersIs(IntfId("cp1")).eventsIn.values[5],
              0U);
    log.add(6, "MRP_JOIN", "first");
    log.add(4, "", "second");
    EXPECT_EQ(rows(show(R"("log", "limit": 1)")),
              R"({"time":"1970-01-01T00:01:02.003Z","severity":4,"name":null,"text":"second"})"
              "\n" +
                  ok);
}

TEST_F(Control, aFaultyRequestIsToldAndEndsNothing) {
    Client client(path);
    const std::string deep(2000, '[');
    const std::pair<std::string, std::string> faults[] = {
        {"", "expected a JSON object"},
        {std::string("\0\xff\x80", 3), "expected a JSON object"},
        {"{\"request\": \"\xff\"}", "expected a JSON object"},
        {"{\"a\": \"\\\"[\", \"b\":" + deep, "deep nesting"},
        {"{}", "request: expected one of: show, watch"},
        {show("\"tables\""), "what: expected one of: agent"},
        {show(R"("vlans", "stream": "x")"), "stream: unknown member, expected one of: id, port,"},
        {show(R"("vlans", "vlan": "5-4")"), "vlan: expected VLANs from 1 to 4094"},
        {show(R"("attributes", "state": "X")"), "state: expected a state"},
        {show(R"("log", "limit": 0)"), "limit: expected a whole number"},
        {R"({"request": "wait", "vlan": 10, "state": "IN", "timeout": -1})", "timeout: expected"},
        {R"({"request": "wait", "state": "IN"})", "vlan: expected a VLAN or a stream"},
        {R"({"request": "declare", "vlans": [{"ids": 5, "speed": 1}]})",
         "vlans.speed: unknown key, expected one of: ids,"},
        {R"({"request": "declare", "vlans": [{"ids": null}]})", "ids: expected a value"},
        {R"({"request": "declare"})", "expected an attribute at the least"},
        {R"({"request": "declare", "domain": [{"srClassId": 6, "srClassPriority": 3,)"
         R"("srClassVID": 18446744073709551615}]})",
         "domain.srClassVID: expected a whole number from 1 to 4094"},
        {R"({"request": "declare", "vlans": [{"ids": "1-4094"}, {"ids": "1-4094"}]})",
         "vlans: expected an attribute that is not declared before"},
    };
    for (const auto& [request, text] : faults) {
        EXPECT_TRUE(soon(client, [&] { return !client.lines.empty(); }));
        const Json end = ask(client, request).back()["end"];
        EXPECT_EQ(end["code"], "badRequest");
        EXPECT_THAT(end["text"].get<std::string>(), HasSubstr(text)) << request;
    }
    // Very many attributes at once cost no more than telling so.
    std::string names;
    for (int i = 0; i < 100; ++i) {
        names += (i > 0 ? ",\"p" : "\"p") + std::to_string(i) + "\"";
    }
    EXPECT_THAT(
        rows(client, R"({"request": "declare", "vlans": [{"ids": "1-4094", "interfaces": [)" +
                         names + "]}]}"),
        HasSubstr("expected no more than 65536 attributes"));
    EXPECT_TRUE(node.declared.empty());
    EXPECT_EQ(jsonLine(ask(client, R"({"id": [1], "request": "activate"})").back()),
              R"({"id":[1],"end":{"ok":false,"code":"refused","text":"it is active"}})");
    client.lines.clear();
    client.send(std::string(200000, 'x'));
    EXPECT_TRUE(soon(client, [&] { return client.gone; }));
    EXPECT_EQ(client.lines.back()["end"]["code"], "tooLong");
}

TEST_F(Control, declaresAndWithdrawsByTheRulesOfTheConfiguration) {
    EXPECT_EQ(
        rows(R"({"request": "declare", "vlans": [{"ids": ["9-10", 12], "interfaces": ["cp1"],)"
             R"("registration": "fixed"}], "listener": [{"streamId": 7, "event": "ready"}]})"),
        ok);
    ASSERT_EQ(node.declared.size(), 4U);
    EXPECT_EQ(node.declared[2].key, 12U);
    EXPECT_EQ(node.declared[2].registration, Registration::fixed);
    EXPECT_TRUE(node.declared[3].interfaces.empty());
    // What counts is what the node declares by itself, whatever became of it on the ports.
    const auto stream = [](const std::string& id) {
        return R"({"request": "withdraw", "streams": [{"streamId": "00:00:00:00:00:00:00:)" + id +
               R"(", "interfaces": ["cp2"]}]})";
    };
    EXPECT_EQ(rows(stream("07")), ok);
    ASSERT_EQ(node.withdrawn.size(), 1U);
    EXPECT_EQ(node.withdrawn[0].attributeType, listenerType);
    EXPECT_THAT(rows(stream("08")), HasSubstr("stream 00:00:00:00:00:00:00:08 is not declared"));
    node.declared[3].interfaces = {"cp1"};
    EXPECT_THAT(rows(stream("07")), HasSubstr("is not declared"));
    node.obstacle = "VLAN 5 is not declared";
    EXPECT_THAT(rows(R"({"request": "withdraw", "vlans": [{"ids": 5}]})"),
                HasSubstr(R"("code":"refused","text":"VLAN 5 is not declared")"));
    Client reader(path + "-ro");
    ASSERT_TRUE(soon(reader, [&] { return reader.lines.size() == 1; }));
    EXPECT_EQ(reader.lines[0]["access"], "readOnly");
    for (const char* request : {"declare", "withdraw", "clear", "activate"}) {
        EXPECT_EQ(ask(reader, R"({"request": ")" + std::string(request) + "\"}")[0]["end"]["code"],
                  "readOnly");
    }
}

TEST_F(Control, watchesUntilItIsEnough) {
    Client client(path);
    client.send(R"({"id": 1, "request": "watch", "vlan": "10", "limit": 2})"
                "\n");
    ASSERT_TRUE(soon(client, [&] { return server->status()["requests"] == 1; }));
    manager.runFor(0);
    record(0, "cp1", vlanType, 11, MrpRegistrarState::IN);
    record(0, "cp1", vlanType, 10, MrpRegistrarState::IN);
    node.portsChanged_.notify();
    ASSERT_TRUE(soon(client, [&] { return client.lines.size() == 2; }));
    node.instances_[0]
        ->mrpSm()
        .applicationDatabase()
        ->attrDatabase(IntfId("cp1"))
        ->intfTypeApplicant(vlanType)
        ->mrpAttributeDel(10);
    ASSERT_TRUE(soon(client, [&] { return client.ends() == 1; }));
    EXPECT_EQ(jsonLine(client.lines[1]),
              R"({"id":1,"row":{"time":"1970-01-01T00:00:01.500Z","change":"changed",)"
              R"("application":"mvrp","port":"cp1","attributeType":"vlanVector","key":10,)"
              R"("applicant":"VO","registrar":"IN","value":"000a","vlan":10}})");
    EXPECT_EQ(jsonLine(client.lines[2]["row"]),
              R"({"time":"1970-01-01T00:00:01.500Z","change":"removed","application":"mvrp",)"
              R"("port":"cp1","attributeType":"vlanVector","key":10})");

    client.lines.clear();
    client.send("{\"request\": \"watch\"}\n");
    ASSERT_TRUE(soon(client, [&] { return server->status()["requests"] == 2; }));
    manager.runFor(0);
    node.ports_[0].forwarding = false;
    node.ports_.pop_back();
    node.portsChanged_.notify();
    ASSERT_TRUE(soon(client, [&] { return client.lines.size() == 2; }));
    EXPECT_EQ(client.lines[0]["row"]["change"], "portRemoved");
    EXPECT_EQ(client.lines[1]["row"]["forwarding"], false);
    client.lines.clear();
    client.send(R"({"id": 2, "request": "activate"})"
                "\n");
    ASSERT_TRUE(soon(client, [&] { return client.ends() == 2; }));
    EXPECT_EQ(jsonLine(client.lines[0]), R"({"id":null,"end":{"ok":true}})");
    EXPECT_EQ(client.lines[1]["id"], 2);
}

TEST_F(Control, manyWatchTheSameChanges) {
    serverIs([](auto& parameters) { parameters.changeLimit = 1000; });
    constexpr std::size_t watchers = 100;
    const auto first = record(0, "cp1", vlanType, 1, MrpRegistrarState::MT);
    std::vector<std::unique_ptr<Client>> clients;
    const auto watch = [&] {
        clients.push_back(std::make_unique<Client>(path));
        clients.back()->send("{\"request\": \"watch\"}\n");
        const std::size_t asked = clients.size();
        ASSERT_TRUE(soon(*clients.back(), [&] { return server->status()["requests"] == asked; }));
        manager.runFor(0);
        clients.back()->lines.clear();
    };
    const auto told = [&](Client& client, std::size_t count) {
        const auto result = soon(client, [&] { return client.lines.size() >= count; });
        std::string text;
        for (const Json& line : client.lines) {
            const Json& row = line["row"];
            text += row["change"] == "lost"
                        ? "lost/" + row["rows"].dump() + " "
                        : row["change"].get<std::string>() + "/" + row["key"].dump() +
                              row.value("registrar", "") + " ";
        }
        client.lines.clear();
        return result ? text : "only " + text;
    };
    while (clients.size() < watchers) {
        watch();
    }
    // What is overtaken before it is told is told once, as it is then.
    record(0, "cp1", vlanType, 2, MrpRegistrarState::IN);
    first->registrarStateIs(MrpRegistrarState::IN);
    first->registrarStateIs(MrpRegistrarState::LV);
    for (const auto& client : clients) {
        EXPECT_EQ(told(*client, 2), "changed/2IN changed/1LV ");
    }
    first->registrarStateIs(MrpRegistrarState::IN);
    const auto database = node.instances_[0]->mrpSm().applicationDatabase();
    database->attrDatabase(IntfId("cp1"))->intfTypeApplicant(vlanType)->mrpAttributeDel(2);
    for (const auto& client : clients) {
        EXPECT_EQ(told(*client, 2), "changed/1IN removed/2 ");
    }
    // Within the change next to nothing is done for each of them.
    std::clock_t before = std::clock();
    for (AttributeKey key = 1; key <= 900; ++key) {
        record(1, "cp1", listenerType, key, MrpRegistrarState::IN);
    }
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 20);
    manager.runFor(0);
    double longest = 0;
    for (const auto& client : clients) {
        while (client->lines.size() < 900 && longest < 0.1) {
            before = std::clock();
            manager.runFor(0);
            longest =
                std::max(longest, static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC);
            client->read();
        }
        EXPECT_THAT(told(*client, 900), testing::EndsWith("changed/900IN "));
    }
    EXPECT_LT(longest, 0.1) << "others have their turns in between";
    // What finds no room is lost, and what comes later is told again.
    for (AttributeKey key = 1; key <= 1500; ++key) {
        record(1, "cp2", listenerType, key, MrpRegistrarState::IN);
    }
    for (const auto& client : clients) {
        EXPECT_THAT(told(*client, 501),
                    testing::StartsWith("lost/1000 changed/1001IN changed/1002IN "));
    }
}

TEST_F(Control, whoBeginsToWatchOrIsSlowMissesNothing) {
    struct Looker final : RecordChanges::Reader {
        using Reader::Reader;
        void handleChanges() override { ++woken; }
        std::string look() {
            std::string registrars;
            for (; next() != nullptr; pass()) {
                registrars += Json::parse(made().row)["registrar"].get<std::string>();
            }
            return registrars;
        }
        int woken = 0;
    };
    RecordChanges changes(node, [] { return WallTime(); });
    Looker quick(changes);
    Looker slow(changes);
    const auto changing = record(0, "cp1", vlanType, 10, MrpRegistrarState::IN);
    Looker late(changes);
    changing->registrarStateIs(MrpRegistrarState::LV);
    EXPECT_EQ(late.look(), "LV");
    EXPECT_EQ(quick.look(), "LVLV");
    changing->registrarStateIs(MrpRegistrarState::MT);
    EXPECT_EQ(quick.look(), "MT");
    EXPECT_EQ(quick.woken + slow.woken, 3) << "again once it was at the end";
    EXPECT_EQ(slow.look(), "LVLVMT");
}

TEST_F(Control, waitsForAState) {
    const auto wait = [](const std::string& goal) {
        return R"({"request": "wait", "timeout": 0.1, )" + goal + "}";
    };
    Client client(path);
    client.send(wait(R"("vlan": 10, "port": "cp2", "state": "registered")") + "\n");
    manager.runFor(0.02);
    record(0, "cp1", vlanType, 10, MrpRegistrarState::IN);
    manager.runFor(0.02);
    client.read();
    EXPECT_EQ(client.ends(), 0U);
    const auto second = record(0, "cp2", vlanType, 10, MrpRegistrarState::MT);
    manager.runFor(0);
    second->registrarStateIs(MrpRegistrarState::IN);
    manager.runFor(0.02);
    client.read();
    ASSERT_EQ(client.ends(), 1U) << "told at once";
    EXPECT_EQ(client.lines.back()["end"]["ok"], true);
    EXPECT_THAT(rows(wait(R"("vlan": "10", "state": "absent")")), HasSubstr("timeout"));
    EXPECT_EQ(rows(wait(R"("vlan": 10, "state": "absent", "port": "eth3")")), ok);
    EXPECT_THAT(rows(wait(R"("stream": "00:00:00:00:00:00:00:07", "state": "IN")")),
                HasSubstr("timeout"));
}

TEST_F(Control, servesMaimedAndManyClients) {
    Client half(path);
    half.send(show("\"log\"").substr(0, 10));
    manager.runFor(0.01);
    half.send(show("\"log\"").substr(10) + "\n" + show("\"log\"") + "\n{\"half");
    ::shutdown(half.socket.get(), SHUT_WR);
    EXPECT_TRUE(soon(half, [&] { return half.gone; }));
    EXPECT_EQ(half.ends(), 2U);
    EXPECT_EQ(half.lines[0]["mrpControl"], 1);

    std::vector<std::unique_ptr<Client>> many;
    constexpr std::size_t readers = ControlServer::clientLimit - ControlServer::reservedClients;
    for (std::size_t i = 0; i < ControlServer::clientLimit; ++i) {
        many.push_back(std::make_unique<Client>(path + (i < readers ? "-ro" : "")));
        many.back()->send("{\"request\": \"watch\"}\n");
        manager.runFor(0);
        if (i + 1 == readers) {
            Client reader(path + "-ro");
            EXPECT_TRUE(soon(reader, [&] { return reader.gone; }));
            EXPECT_EQ(reader.lines[0]["end"]["text"], "there are 120 clients already");
        }
    }
    Client late(path);
    EXPECT_TRUE(soon(late, [&] { return late.gone; }));
    EXPECT_EQ(late.lines[0]["end"]["code"], "busy");
    const std::clock_t before = std::clock();
    manager.runFor(0.05);
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 50) << "the loop spins";
    many.resize(1);
    EXPECT_TRUE(soon(late, [&] { return server->status()["clients"] == 1; }));
    EXPECT_EQ(server->status()["refused"], 2);
}

TEST_F(Control, aClientThatDoesNotReadCostsOthersNothing) {
    constexpr AttributeKey streams = 50000;
    for (AttributeKey key = 1; key <= streams; ++key) {
        record(1, "cp1", talkerAdvertiseType, key, MrpRegistrarState::IN);
    }
    Client slow(path);
}

TEST_F(Control, aClientThatTakesNothingIsGivenUp) {
    for (AttributeKey key = 1; key <= 5000; ++key) {
        record(1, "cp1", talkerAdvertiseType, key, MrpRegistrarState::IN);
    }
    serverIs([](auto& parameters) { parameters.patience = 0.05; });
    Client slow(path);
    slow.send(show("\"attributes\"") + "\n");
    Client idle(path);
    EXPECT_TRUE(soon(idle, [&] { return server->status()["clients"] == 2; }));
    EXPECT_TRUE(soon(idle, [&] { return server->status()["clients"] == 1; }));
    EXPECT_FALSE(idle.gone);
}

TEST(AttributeAges, knowsSinceWhenARegistrarIsInItsState) {
    Virtual::VirtualActivityManager manager;
    const NodeInterfaces interfaces = NodeInterfaces::make();
    std::vector<std::unique_ptr<MrpInstance>> instances;
    instances.push_back(
        std::make_unique<MrpInstance>(manager, interfaces, MrpInstance::Parameters{}));
    MrpInstance& mvrp = *instances[0];
    const MrpAttribute attribute{IntfId("cp1"), vlanType, 10};
    const auto records = mvrp.mrpSm()
                             .applicationDatabase()
                             ->attrDatabaseIs(attribute.intfId)
                             ->intfTypeApplicantIs(vlanType);
    const auto record = records->mrpAttributeIs(10);
    record->applicantStateIs(MrpApplicantState::AA);
    AttributeAges ages(manager.clock());
    ages.instancesAre(instances);
    record->applicantStateIs(MrpApplicantState::QA);
    EXPECT_EQ(ages.age(mvrp, attribute), std::nullopt);
    record->registrarStateIs(MrpRegistrarState::IN);
    manager.runUntil(2);
    record->applicantStateIs(MrpApplicantState::AA);
    EXPECT_EQ(ages.age(mvrp, attribute), 2);
    records->mrpAttributeDel(10);
    EXPECT_EQ(ages.age(mvrp, attribute), std::nullopt);
}

}  // namespace
}  // namespace MrpAgent
