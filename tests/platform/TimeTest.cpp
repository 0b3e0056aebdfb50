#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "platform/time/ReviewTimer.h"
#include "platform/time/TimerWheel.h"
#include "platform/virtual/VirtualActivityManager.h"

namespace Platform {
namespace {

using Timer = TimerWheel::Timer;

class TimerWheelTest : public testing::Test {
  protected:
    std::unique_ptr<Timer> timer(std::function<void()> callback) {
        return std::make_unique<Timer>(wheel, std::move(callback));
    }
    // When a timer fires that is set to the time.
    Seconds firing(Seconds expiry) {
        Seconds fired = never;
        const auto one = timer([&] { fired = manager.clock().now(); });
        one->expiryIs(expiry);
        manager.runUntil(manager.clock().now() + 30);
        EXPECT_EQ(one->expiry(), expiry);
        return fired;
    }

    Virtual::VirtualActivityManager manager;
    Ptr<TimerWheel> wheel =
        (manager.runUntil(1.05), makePtr<TimerWheel>(manager.clock(), 100U, 16U, true, 4U));
    std::string log;
};

TEST_F(TimerWheelTest, firesAtTheFirstTickThatIsNotBeforeTheExpiry) {
    EXPECT_NEAR(firing(1.05 + 0.6), 1.65, 1e-9);  // six ticks of the wheel, which began at 1.05
    // Idle meanwhile, the wheel keeps to its ticks; now is 31.05, a tick that has passed.
    EXPECT_NEAR(firing(0), 31.15, 1e-9);
    EXPECT_NEAR(firing(61.15 + 0.5e-6), 61.15, 1e-9);
    EXPECT_NEAR(firing(91.15 + 2e-6), 91.25, 1e-9);
    EXPECT_NEAR(firing(-never), 121.15, 1e-9);
}

TEST_F(TimerWheelTest, callbacksMayDestroyParkAndSetAnyTimer) {
    std::unique_ptr<Timer> again, destroyed, parked, himself, moved;
    again = timer([&] {
        log += "again ";
        destroyed.reset();
        parked->expiryIs(never);
        moved->expiryIs(manager.clock().now());
        if (again->expiry() < 1.2) {
            again->expiryIs(0);  // past: the next tick, never this one
        }
    });
    destroyed = timer([&] { log += "destroyed "; });
    parked = timer([&] { log += "parked "; });
    himself = timer([&] {
        himself.reset();
        log += "himself ";
    });
    moved = timer([&] { log += "moved "; });
    for (Timer* each : {again.get(), destroyed.get(), parked.get(), himself.get(), moved.get()}) {
        each->expiryIs(1.15);
    }
    manager.runUntil(1.2);
    EXPECT_EQ(log, "again himself ");
    again->expiryIs(5);
    manager.runUntil(1.3);
    EXPECT_EQ(log, "again himself moved ");

    // The last timer takes the wheel with it, from within its callback.
    parked = timer([&] {
        wheel = nullptr;
        moved = nullptr;
        again = nullptr;
        parked = nullptr;
    });
    parked->expiryIs(1.4);
    manager.runUntil(2);
    EXPECT_EQ(manager.clock().nextExpiry(), never);
}

// A wheel against timers in a row, searched for the next one at each step. All times in
// milliseconds; the ticks are 100 of them.
class WheelModel {
  public:
    WheelModel(std::size_t reach, unsigned seed)
        : wheel_(makePtr<TimerWheel>(manager_.clock(), 100U, reach, true, 0U)), random_(seed) {
        for (std::size_t i = 0; i < timers_; ++i) {
            entries_.push_back({std::make_unique<Timer>(wheel_, [this, i] { fired(i); })});
        }
    }

    void run() {
        for (int i = 0; i < 600; ++i) {
            lastTick_ = now_ / 100;
            setSome();
            // Sets come between ticks, so that which tick is next is beyond doubt.
            now_ += 100 * std::uniform_int_distribution<long>(0, 1)(random_) + 37;
            now_ += now_ % 100 == 0 ? 1 : 0;
            manager_.runUntil(static_cast<Seconds>(now_) / 1000);
            const Entry* next = nextDue();
            ASSERT_TRUE(next == nullptr || next->tick > now_ / 100) << "a timer was left out";
        }
        EXPECT_GT(count_, 300);
    }

  private:
    struct Entry {
        std::unique_ptr<Timer> timer;
        bool set = false;
        long expiry = 0;
        long sequence = 0;
        long tick = 0;
        auto key() const { return std::tie(tick, expiry, sequence); }
    };

    const Entry* nextDue() const {
        const Entry* next = nullptr;
        for (const Entry& entry : entries_) {
            if (entry.set && (next == nullptr || entry.key() < next->key())) {
                next = &entry;
            }
        }
        return next;
    }

    void fired(std::size_t i) {
        Entry& entry = entries_[i];
        ASSERT_EQ(nextDue(), &entry);
        ASSERT_NEAR(manager_.clock().now(), static_cast<Seconds>(entry.tick) / 10, 1e-9);
        entry.set = false;
        lastTick_ = entry.tick;
        ++count_;
        setSome();
    }

    void setSome() {
        for (long sets = std::uniform_int_distribution<long>(0, 2)(random_); sets > 0; --sets) {
            Entry& entry = entries_[random_() % timers_];
            static constexpr long reaches[] = {-300, 150, 700, 5000};
            const long reach = reaches[random_() % std::size(reaches)];
            entry.expiry =
                100 * lastTick_ + std::uniform_int_distribution<long>(0, 9)(random_) * reach / 9;
            entry.set = random_() % 5 != 0;
            entry.sequence = ++sequence_;
            entry.tick = std::max(lastTick_ + 1, (entry.expiry + 99) / 100);
            entry.timer->expiryIs(entry.set ? static_cast<Seconds>(entry.expiry) / 1000 : never);
        }
    }

    static constexpr std::size_t timers_ = 12;
    Virtual::VirtualActivityManager manager_;
    Ptr<TimerWheel> wheel_;
    std::mt19937 random_;
    std::vector<Entry> entries_;
    long now_ = 0;
    long lastTick_ = 0;
    long sequence_ = 0;
    int count_ = 0;
};

TEST(TimerWheelModel, agreesWithTimersInARow) {
    for (const std::size_t reach : {2U, 3U, 4U, 7U, 16U, 64U}) {
        for (unsigned seed = 0; seed < 20; ++seed) {
            SCOPED_TRACE(testing::Message() << "reach " << reach << ", seed " << seed);
            WheelModel(reach, seed).run();
            if (testing::Test::HasFailure()) {
                return;
            }
        }
    }
}

TEST(ReviewTimer, reviewsComeInBatchesOfBoundedRate) {
    Virtual::VirtualActivityManager manager;
    std::vector<long> reviews;  // in hundredths of a second
    ReviewTimer* timer = nullptr;
    Alarm reviewer(manager.clock(), [&] {
        EXPECT_FALSE(timer->reviewPending());
        reviews.push_back(std::lround(manager.clock().now() * 100));
        timer->doUpdateNextReview();
        EXPECT_TRUE(timer->reviewPending());
    });
    ReviewTimer reviewTimer(reviewer, 1.0, 4, 0.1, 0.1);
    timer = &reviewTimer;
    reviewTimer.doUpdateNextReview();
    manager.runUntil(2.25);
    EXPECT_EQ(reviews, (std::vector<long>{10, 20, 30, 40, 110, 120, 130, 140, 210, 220}));
    reviewer.expiryIs(never);
    manager.runUntil(10);
    reviewTimer.doUpdateNextReview();
    manager.runUntil(10.15);
    EXPECT_EQ(reviews.back(), 1010);
}

}  // namespace
}  // namespace Platform
