#pragma once

#include <gtest/gtest.h>

#include <sched.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include "lab/processes/AgentProcess.h"
#include "platform/linux/EpollActivityManager.h"
#include "platform/log/Log.h"
#include "platform/time/Dispatch.h"

namespace MrpTest {

using namespace MrpLab;
using Json = MrpAgent::Json;
using Role = AgentProcess::Role;

// What the tests share: a network namespace of the process's own with a virtual Ethernet cable "va"
// to "vb" in it, a folder for sockets, and a loop for what runs in the test's process.
class Takeover : public testing::Test {
  public:
    void SetUp() override {
        const char* cable = "ip link add va type veth peer name vb && "
                            "ip link set va up && ip link set vb up && "
                            "until [ $(ip -o link | grep -c 'state UP') = 2 ]; do sleep 0.01; done";
        if (::unshare(CLONE_NEWNET) < 0 || std::system(cable) != 0) {
            GTEST_SKIP() << "no network namespace with a virtual Ethernet cable to be had here";
        }
        std::filesystem::create_directory(folder_);
        Platform::logSinkIs([](const auto&, const auto&) {});
    }
    void TearDown() override {
        Platform::logToStandardError();
        EXPECT_EQ(Platform::DispatchErrors::count(), 0U);
    }
    ~Takeover() override { std::filesystem::remove_all(folder_); }

    // Of a socket.
    std::string path(const std::string& name) const { return folder_ + "/" + name; }
    // Of an agent on "vb" whose attribute log is the socket of that name.
    std::string config(const std::string& application, const std::string& log) const {
        return "interfaces = [\"vb\"]\napplications = [\"" + application +
               "\"]\n[attributeLog]\npath = \"" + path(log) + "\"\n";
    }

    // Waits for the condition, with the loop running or, the neighbour being mute then, without.
    enum class Loop { running, halted };
    template <class Condition>
    testing::AssertionResult soon(Condition condition, Loop loop = Loop::running) {
        using Clock = std::chrono::steady_clock;
        const auto end = Clock::now() + std::chrono::seconds(10);
        bool met = condition();
        for (; !met && Clock::now() < end; met = condition()) {
            loop == Loop::running ? manager.runFor(0.002) : static_cast<void>(::usleep(500));
        }
        return testing::AssertionResult(met);
    }
    Json statusOf(AgentProcess& agent, Loop loop = Loop::running) {
        agent.signal(SIGUSR1);
        return answerOf(agent, loop);
    }
    // To SIGUSR1.
    Json answerOf(AgentProcess& agent, Loop loop = Loop::running) {
        std::optional<Json> status;
        EXPECT_TRUE(soon([&] { return status || (status = agent.status()); }, loop))
            << agent.messages();
        return status.value_or(Json());
    }
    // The keys of those attributes of the one application whose registrar is in one of the states.
    static std::set<unsigned> keysOf(const Json& status, const std::string& states = "IN LV MT") {
        std::set<unsigned> keys;
        for (const Json& attribute : status["applications"][0]["attributes"]) {
            if (states.find(attribute["registrar"].get<std::string>()) != std::string::npos) {
                keys.insert(attribute["key"].get<unsigned>());
            }
        }
        return keys;
    }

    Platform::Linux::EpollActivityManager manager;

  private:
    const std::string folder_ = testing::TempDir() + "takeover-" + std::to_string(::getpid());
};

}  // namespace MrpTest
