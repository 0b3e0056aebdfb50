#pragma once

#include <gtest/gtest.h>

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "agent/control/ControlServer.h"
#include "platform/linux/UnixAddress.h"
#include "platform/virtual/VirtualEthDev.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;
using Linux::FileDescriptor;

// A node of real instances on devices in memory, whose other answers the test gives.
struct NodeStandIn final : ControlNode {
    Json agentJson() const override { return {{"role", "active"}}; }
    std::vector<Port> ports() const override { return ports_; }
    Instances instances() const override { return instances_; }
    const VlanPropagation* vlans() const override { return nullptr; }
    Notification<>& portsChanged() override { return portsChanged_; }
    std::optional<std::string> declare(const std::vector<Declaration>& some) override {
        declared = some;
        return obstacle;
    }
    std::optional<std::string> withdraw(const std::vector<Declaration>& some) override {
        withdrawn = some;
        return obstacle;
    }
    std::vector<Declaration> declarations() const override { return declared; }
    std::optional<std::string> activate() override { return "it is active"; }
    std::vector<Finding> examine() const override {
        return {{Finding::Severity::warning, "no bridge", ""}};
    }

    std::vector<Port> ports_;
    std::vector<std::unique_ptr<MrpInstance>> instances_;
    Notification<> portsChanged_;
    std::vector<Declaration> declared, withdrawn;
    std::optional<std::string> obstacle;
};

// Keeps the lines that it has read.
struct Client {
    explicit Client(const std::string& path) : socket(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{};
        EXPECT_EQ(Linux::unixAddressOf(path, address), 0);
        EXPECT_EQ(::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)),
                  0);
    }
    void send(const std::string& octets) const {
        ::send(socket.get(), octets.data(), octets.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
    void read() {
        std::array<char, 65536> buffer;
        ssize_t count = 0;
        while ((count = ::recv(socket.get(), buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0) {
            begun.append(buffer.data(), static_cast<std::size_t>(count));
        }
        gone = count == 0;
        std::size_t end = 0;
        std::size_t at = 0;
        for (; (end = begun.find('\n', at)) != std::string::npos; at = end + 1) {
            lines.push_back(Json::parse(begun.substr(at, end - at)));
        }
        begun.erase(0, at);
    }
    std::size_t ends() const {
        return static_cast<std::size_t>(std::count_if(
            lines.begin(), lines.end(), [](const Json& line) { return line.contains("end"); }));
    }

    FileDescriptor socket;
    std::string begun;
    std::vector<Json> lines;
    bool gone = false;
};

class Control : public testing::Test {
  protected:
    Control() {
        for (const char* name : {"cp1", "cp2"}) {
            devices.push_back(makePtr<Virtual::VirtualEthDev>(name, manager));
            interfaces.kernelStatus->valueIs(IntfId(name), devices.back());
            node.ports_.push_back({name, true, "forwarding", 2, true, EthAddr(1), 1500, 1});
        }
        for (const auto application : {MrpApplication::mvrp, MrpApplication::msrp}) {
            MrpInstance::Parameters parameters;
            parameters.application = application;
            node.instances_.push_back(
                std::make_unique<MrpInstance>(manager, interfaces, parameters));
            for (const auto& device : devices) {
                node.instances_.back()->enable(IntfId(device->name()));
            }
        }
        serverIs([](auto&) {});
    }
    // In place of the one before.
    template <class Set>
    void serverIs(Set set) {
        ControlServer::Parameters parameters;
        parameters.path = path;
        parameters.readOnlyPath = path + "-ro";
        parameters.wallClock = [] { return WallTime(std::chrono::milliseconds(1500)); };
        set(parameters);
        server.reset();
        server.emplace(node, log, manager, parameters);
        server->listen();
    }
    void TearDown() override {
        server.reset();
        for (const char* end : {".lock", "-ro.lock"}) {
            ::unlink((path + end).c_str());
        }
    }
    template <class Condition>
    testing::AssertionResult soon(Client& client, Condition condition) {
        const Seconds end = manager.clock().now() + 5;
        while (!condition() && manager.clock().now() < end) {
            manager.runFor(0);
            client.read();
        }
        return testing::AssertionResult(condition());
    }
    // The lines of the answer, the last of which has the end.
    std::vector<Json> ask(Client& client, const std::string& request) {
        client.lines.clear();
        client.send(request + "\n");
        EXPECT_TRUE(soon(client, [&] { return client.ends() == 1; })) << request;
        return client.lines;
    }
    std::string rows(Client& client, const std::string& request) {
        std::string text;
        for (const Json& line : ask(client, request)) {
            text += jsonLine(line.contains("row") ? line["row"] : line["end"]) + "\n";
        }
        return text;
    }
    std::string rows(const std::string& request) {
        Client client(path);
        EXPECT_TRUE(soon(client, [&] { return client.lines.size() == 1; }));
        return rows(client, request);
    }
    static std::string show(const std::string& what) {
        return R"({"request": "show", "what": )" + what + "}";
    }
    // A committed record.
    Ptr<MrpAttrDatabase> record(std::size_t instance, const char* port, AttributeType type,
                                AttributeKey key, MrpRegistrarState state) {
        const auto made = node.instances_[instance]
                              ->mrpSm()
                              .applicationDatabase()
                              ->attrDatabaseIs(IntfId(port))
                              ->intfTypeApplicantIs(type)
                              ->mrpAttributeIs(key);
        const auto content = MrpAttrDatabase::make(key);
        MrpValueImage image;
        image.vlan.vlanId = static_cast<std::uint16_t>(key);
        const MrpApplication application = node.instances_[instance]->application();
        if (application == MrpApplication::msrp) {
            image.listener.streamId = key;
            image.talkerAdvertise.streamId = key;
        }
        content->attributeValueIs(ValueIndex(0), image.octets(type, application));
        content->registrarStateIs(state);
        made->copyFrom(*content);
        return made;
    }

    const std::string path = testing::TempDir() + "control-" + std::to_string(::getpid());
    Linux::EpollActivityManager manager;
    std::vector<Ptr<Virtual::VirtualEthDev>> devices;
    NodeInterfaces interfaces = NodeInterfaces::make();
    NodeStandIn node;
    LogMemory log{[] { return WallTime(std::chrono::milliseconds(62003)); }};
    std::optional<ControlServer> server;
};

}  // namespace MrpAgent
