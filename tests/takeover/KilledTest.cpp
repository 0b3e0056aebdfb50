#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "Takeover.h"
#include "lab/processes/FrameWatch.h"
#include "lab/processes/Neighbour.h"
#include "lab/processes/Relay.h"

namespace MrpTest {
namespace {

constexpr Seconds leaveTime = 0.3;  // at the neighbour
constexpr unsigned declared = 40;   // VLANs of both agents, from 1 on
constexpr unsigned burstBegin = 100;

unsigned fromEnvironment(const char* name, unsigned otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::stoul(text)) : otherwise;
}

std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// An active agent, a standby one that follows it, and the neighbour of both.
class Round {
  public:
    Round(Takeover& test, std::mt19937& random) : test_(test), random_(random) {
        relay_.passed = [this] {
            if (relay_.lines == killAtLine_) {
                kill();
            }
        };
    }

    void killInABurst(bool atALine);
    void killInTheFirstState();
    void seeItTakenOver();
    const Relay& relay() const { return relay_; }

    double milliseconds = 0;  // from the kill to the first declaration
    unsigned burst = 0;       // VLANs that the neighbour has declared

  private:
    std::string config(const std::string& log) const {
        return test_.config("mvrp", log) + "[standby]\ntakeover = \"on-disconnect\"\n" +
               "attributeLog = \"" + test_.path("relay") + "\"\n[[vlans]]\nids = \"1-" +
               std::to_string(declared) + "\"\n";
    }
    double between(double low, double high) {
        return std::uniform_real_distribution<>(low, high)(random_);
    }
    bool declaredHere() const {
        const auto registered = neighbour_.registered();
        return registered.size() == declared && *registered.rbegin() == declared;
    }
    void kill() {
        if (!killedAt_) {
            active_.kill();
            killedAt_ = FrameWatch::Clock::now();
            watch_.startAnew();
        }
    }

    Takeover& test_;
    std::mt19937& random_;
    Relay relay_{test_.manager, test_.path("active"), test_.path("relay")};
    FrameWatch watch_{test_.manager};
    Neighbour neighbour_{test_.manager, MrpApplication::mvrp, leaveTime};
    AgentProcess active_{config("active"), Role::active};
    std::optional<AgentProcess> standby_;
    std::optional<FrameWatch::Clock::time_point> killedAt_;
    std::size_t killAtLine_ = 0;
    Alarm killAlarm_{test_.manager.clock(), [this] { kill(); }};
};

void Round::killInABurst(bool atALine) {
    constexpr Seconds step = 0.01;
    constexpr unsigned perStep = 30;
    ASSERT_TRUE(test_.soon([&] { return active_.said("running"); })) << active_.messages();
    standby_.emplace(config("standby"), Role::standby);
    ASSERT_TRUE(test_.soon([&] { return standby_->said(AgentProcess::inStep) && declaredHere(); }))
        << standby_->messages();
    // What is declared is told of some tenths of a second later.
    const Seconds length = between(0.1, 0.2);
    const Seconds begin = test_.manager.clock().now() + 0.03;
    if (atALine) {
        killAtLine_ = relay_.lines + static_cast<std::size_t>(between(1, 100));
    } else {
        killAlarm_.expiryIs(begin + between(-0.03, length + 0.3));
    }
    test_.manager.runFor(0.03);
    for (; test_.manager.clock().now() < begin + length; test_.manager.runFor(step)) {
        neighbour_.declare(burstBegin + burst, perStep);
        burst += perStep;
    }
}

// A state so large that the log tells it in many parts.
void Round::killInTheFirstState() {
    burst = 3000;
    ASSERT_TRUE(test_.soon([&] { return active_.said("running"); })) << active_.messages();
    neighbour_.declare(burstBegin, burst);
    ASSERT_TRUE(test_.soon([&] {
        return declaredHere() &&
               Takeover::keysOf(test_.statusOf(active_)).size() == declared + burst;
    }));
    test_.manager.runFor(0.6);  // in which the database takes it in
    killAtLine_ = static_cast<std::size_t>(between(1, 1500));
    standby_.emplace(config("standby"), Role::standby);
}

void Round::seeItTakenOver() {
    ASSERT_TRUE(test_.soon([&] { return relay_.ending.has_value(); }));
    EXPECT_TRUE(relay_.ending->clean) << relay_.ending->why;
    // What it holds before the neighbour tells it anew.
    const auto runs = [&] {
        watch_.look();
        return standby_->said("running");
    };
    ASSERT_TRUE(test_.soon(runs, Takeover::Loop::halted)) << standby_->messages();
    const Json status = test_.statusOf(*standby_, Takeover::Loop::halted);
    const std::set<unsigned> held = Takeover::keysOf(status);
    EXPECT_TRUE(std::includes(held.begin(), held.end(), relay_.vlans.begin(), relay_.vlans.end()))
        << relay_.vlans.size() << " told of, " << held.size() << " held";
    EXPECT_EQ(status["standby"]["sessions"], 1);
    EXPECT_EQ(status["standby"]["faults"], 0);

    ASSERT_TRUE(test_.soon([&] { return watch_.first.has_value(); }));
    using Milliseconds = std::chrono::duration<double, std::milli>;
    milliseconds = Milliseconds(*watch_.first - *killedAt_).count();
    EXPECT_LE(milliseconds, 200);

    const auto end = *killedAt_ + std::chrono::duration<double>(leaveTime + 0.3);
    ASSERT_TRUE(test_.soon([&] { return FrameWatch::Clock::now() > end; }));
    EXPECT_EQ(neighbour_.left(), Neighbour::Keys());
    EXPECT_TRUE(declaredHere());
    Json later;
    EXPECT_TRUE(test_.soon([&] {
        later = test_.statusOf(*standby_);
        return Takeover::keysOf(later, "IN").size() == burst;
    })) << "what was lost comes back";
    EXPECT_EQ(later["applications"][0]["counters"]["numOfLeaveIndications"], 0);
}

TEST_F(Takeover, killedInTheMidstOfABurst) {
    const unsigned seed = fromEnvironment("MRP_TAKEOVER_SEED", 1);
    const unsigned rounds = fromEnvironment("MRP_TAKEOVER_ROUNDS", 20);
    std::vector<double> times;
    unsigned inState = 0;
    unsigned inBurst = 0;
    std::ptrdiff_t descriptors = 0;
    for (unsigned number = 0; number < rounds && !HasFatalFailure(); ++number) {
        SCOPED_TRACE("round " + std::to_string(number) + " of seed " + std::to_string(seed));
        std::seed_seq sequence{seed, number};
        std::mt19937 random(sequence);
        {
            Round round(*this, random);
            number % 4 == 0 ? round.killInTheFirstState() : round.killInABurst(number % 4 == 1);
            if (!HasFatalFailure()) {
                round.seeItTakenOver();
            }
            const std::size_t told = round.relay().vlans.size();
            inState += round.relay().complete ? 0 : 1;
            inBurst += round.relay().complete && told > declared && told < declared + round.burst;
            times.push_back(round.milliseconds);
        }
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a process is left";
        descriptors = number == 0 ? openDescriptors() : descriptors;
        EXPECT_EQ(openDescriptors(), descriptors);
    }
    std::sort(times.begin(), times.end());
    std::printf("%zu takeovers, %u of them in the midst of the first state, %u of the changes; "
                "first declaration after %.1f ms (median), %.1f ms (worst)\n",
                times.size(), inState, inBurst, times[times.size() / 2], times.back());
}

}  // namespace
}  // namespace MrpTest
