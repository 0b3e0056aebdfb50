#include <algorithm>
#include <ctime>
#include <fstream>

#include "Takeover.h"
#include "lab/processes/Neighbour.h"

namespace MrpTest {
namespace {

// With sanitizers a program is so slow and large that its cost says nothing.
#ifdef __SANITIZE_ADDRESS__
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

struct Cost {
    double cpuMilliseconds = 0;
    long peakKib = 0;  // of memory
    unsigned dropped = 0;
};
enum class Reader { none, running, stopped, stoppedLater };

Cost costOf(const AgentProcess& agent) {
    Cost cost;
    clockid_t clock{};
    timespec time{};
    ::clock_getcpuclockid(agent.pid(), &clock);
    ::clock_gettime(clock, &time);
    cost.cpuMilliseconds =
        1e3 * static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_nsec);
    std::ifstream status("/proc/" + std::to_string(agent.pid()) + "/status");
    std::string field;
    while (status >> field && field != "VmHWM:") {
    }
    status >> cost.peakKib;
    return cost;
}

// What an agent spends on having very many attributes registered, and refreshed some times. The
// reader of its log is stopped before, or when it has been told of them.
Cost costWith(Reader reader, Takeover& test) {
    constexpr unsigned count = sanitized ? 1000 : 10000;
    constexpr unsigned refreshed = 5;
    const std::string config = test.config("msrp", "log") + "[timers]\nleaveAllTime = 0.6\n";
    Neighbour neighbour(test.manager, MrpApplication::msrp, 0.6);
    AgentProcess active(config, Role::active);
    EXPECT_TRUE(test.soon([&] { return active.said("running"); })) << active.messages();
    std::optional<AgentProcess> standby;
    if (reader != Reader::none) {
        standby.emplace(config, Role::standby);
        EXPECT_TRUE(test.soon([&] { return standby->said(AgentProcess::inStep); }));
    }
    if (reader == Reader::stopped) {
        standby->signal(SIGSTOP);
    }
    neighbour.declare(1, count);
    if (reader == Reader::stoppedLater) {
        EXPECT_TRUE(
            test.soon([&] { return Takeover::keysOf(test.statusOf(*standby)).size() == count; }));
        standby->signal(SIGSTOP);
    }
    const unsigned before = neighbour.leaveAlls;
    EXPECT_TRUE(test.soon([&] { return neighbour.leaveAlls >= before + refreshed; }));
    test.manager.runFor(0.4);  // in which all is declared anew
    Cost cost = costOf(active);
    const Json status = test.statusOf(active);
    EXPECT_EQ(Takeover::keysOf(status, "IN").size(), count);
    cost.dropped = status["attributeLog"]["dropped"];

    if (standby) {
        standby->signal(SIGCONT);
        const auto equal = [&] {
            active.signal(SIGUSR1);
            standby->signal(SIGUSR1);
            const Json here = test.answerOf(active)["applications"][0]["attributes"];
            const Json there = test.answerOf(*standby)["applications"][0]["attributes"];
            return here.size() == count && here == there;
        };
        EXPECT_TRUE(test.soon(equal));
    }
    return cost;
}

TEST_F(Takeover, stoppedReader) {
    const Cost none = costWith(Reader::none, *this);
    const Cost running = costWith(Reader::running, *this);
    Cost stopped = costWith(Reader::stopped, *this);
    // While the reader is stopped additions wait, and what waits takes longer to find.
    const double limit = 1.5 * none.cpuMilliseconds + 15;
    if (!sanitized && stopped.cpuMilliseconds >= limit) {
        stopped = costWith(Reader::stopped, *this);  // other work on the machine disturbs a little
    }
    const Cost later = costWith(Reader::stoppedLater, *this);
    std::printf("CPU: %.1f ms without a reader; %.2f times that with one, %.2f with a stopped one. "
                "Memory: %ld, %ld, %ld KiB; %ld with one that is stopped later, dropped %u times\n",
                none.cpuMilliseconds, running.cpuMilliseconds / none.cpuMilliseconds,
                stopped.cpuMilliseconds / none.cpuMilliseconds, none.peakKib, running.peakKib,
                stopped.peakKib, later.peakKib, later.dropped);
    if (sanitized) {
        return;
    }
    EXPECT_LT(stopped.cpuMilliseconds, limit);
    EXPECT_LT(std::max(stopped.peakKib, later.peakKib), none.peakKib + 32 * 1024);
    EXPECT_GT(later.dropped, 0U) << "so many refreshed attributes are more than the log keeps";
}

}  // namespace
}  // namespace MrpTest
