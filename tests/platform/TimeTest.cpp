#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <memory>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include "platform/time/ReviewTimer.h"
#include "platform/time/TimerWheel.h"
#include "platform/virtual/VirtualActivityManager.h"

namespace Platform {
namespace {

using Timer = TimerWheel::Timer;

TEST(TimerWheel, firesAtTheFirstTickThatIsNotBeforeTheExpiry) {
    Virtual::VirtualActivityManager manager;
    manager.runUntil(1.05);
    const auto wheel = makePtr<TimerWheel>(manager.clock(), 100U, 16U, true, 4U);
    Seconds fired = never;
    Timer timer(wheel, [&] { fired = manager.clock().now(); });
    // Six ticks of the wheel, which began at 1.05. Idle after that, it keeps to its ticks: at 31.05
    // the tick of that time has passed.
    for (const auto& [expiry, tick] : {std::pair{1.05 + 0.6, 1.65},
                                       {0.0, 31.15},
                                       {61.15 + 0.5e-6, 61.15},
                                       {91.15 + 2e-6, 91.25},
                                       {-never, 121.15}}) {
        timer.expiryIs(expiry);
        manager.runUntil(manager.clock().now() + 30);
        EXPECT_NEAR(fired, tick, 1e-9);
    }
}

TEST(TimerWheel, callbacksMayDestroyTimersAndTheWheel) {
    Virtual::VirtualActivityManager manager;
    auto wheel = makePtr<TimerWheel>(manager.clock(), 100U, 16U, true, 4U);
    std::unique_ptr<Timer> destroyer, destroyed;
    destroyer = std::make_unique<Timer>(wheel, [&] { destroyed.reset(); });
    destroyed = std::make_unique<Timer>(wheel, [] { ADD_FAILURE() << "destroyed, yet called"; });
    destroyer->expiryIs(1.15);
    destroyed->expiryIs(1.15);
    manager.runUntil(1.2);

    // The last timer takes the wheel with it, from within its callback.
    destroyer = std::make_unique<Timer>(std::exchange(wheel, nullptr), [&] { destroyer.reset(); });
    destroyer->expiryIs(1.4);
    manager.runUntil(2);
    EXPECT_EQ(manager.clock().nextExpiry(), never);
}

// A wheel against timers in a row, searched for the next one at each step. All times in
// milliseconds; the ticks are 100 of them.
class WheelModel {
  public:
    WheelModel(std::size_t reach, unsigned seed)
        : wheel_(makePtr<TimerWheel>(manager_.clock(), 100U, reach, true, 0U)), random_(seed) {
        for (std::size_t i = 0; i < keys_.size(); ++i) {
            timers_.push_back(std::make_unique<Timer>(wheel_, [this, i] { fired(i); }));
        }
    }

    void run() {
        for (int i = 0; i < 600; ++i) {
            lastTick_ = now_ / 100;
            setSome();
            // Sets come between ticks, so that which tick is next is beyond doubt.
            now_ += number(0, 1) * 100 + 37;
            now_ += now_ % 100 == 0 ? 1 : 0;
            manager_.runUntil(static_cast<Seconds>(now_) / 1000);
            ASSERT_GT(next()->tick, now_ / 100) << "a timer was left out";
        }
    }

  private:
    // Timers fire in the order of these.
    struct Key {
        long tick = LONG_MAX;  // none: not set
        long expiry = 0;
        long sequence = 0;
        auto operator<=>(const Key&) const = default;
    };

    const Key* next() const { return std::min_element(keys_.begin(), keys_.end()); }
    long number(long from, long to) { return std::uniform_int_distribution(from, to)(random_); }

    void fired(std::size_t i) {
        ASSERT_EQ(next(), &keys_[i]);
        lastTick_ = keys_[i].tick;
        ASSERT_NEAR(manager_.clock().now(), static_cast<Seconds>(lastTick_) / 10, 1e-9);
        keys_[i] = {};
        setSome();
    }

    void setSome() {
        for (long sets = number(0, 2); sets > 0; --sets) {
            const std::size_t i = random_() % keys_.size();
            const bool set = number(0, 4) != 0;
            static constexpr long reaches[] = {-300, 150, 700, 5000};
            const long reach = reaches[random_() % std::size(reaches)];
            const long expiry = 100 * lastTick_ + number(0, 9) * reach / 9;
            const long tick = std::max(lastTick_ + 1, (expiry + 99) / 100);
            keys_[i] = set ? Key{tick, expiry, ++sequence_} : Key{};
            timers_[i]->expiryIs(set ? static_cast<Seconds>(expiry) / 1000 : never);
        }
    }

    Virtual::VirtualActivityManager manager_;
    Ptr<TimerWheel> wheel_;
    std::mt19937 random_;
    std::array<Key, 12> keys_;
    std::vector<std::unique_ptr<Timer>> timers_;
    long now_ = 0;
    long lastTick_ = 0;
    long sequence_ = 0;
};

TEST(TimerWheelModel, agreesWithTimersInARow) {
    for (const std::size_t reach : {2U, 3U, 4U, 7U, 16U, 64U}) {
        for (unsigned seed = 0; seed < 20; ++seed) {
            ASSERT_NO_FATAL_FAILURE(WheelModel(reach, seed).run())
                << "reach " << reach << ", seed " << seed;
        }
    }
}

TEST(ReviewTimer, reviewsComeInBatchesOfBoundedRate) {
    Virtual::VirtualActivityManager manager;
    std::vector<long> reviews;  // in hundredths of a second
    std::optional<ReviewTimer> timer;
    Alarm reviewer(manager.clock(), [&] {
        EXPECT_FALSE(timer->reviewPending());
        reviews.push_back(std::lround(manager.clock().now() * 100));
        timer->doUpdateNextReview();
        EXPECT_TRUE(timer->reviewPending());
    });
    timer.emplace(reviewer, 1.0, 4, 0.1, 0.1);
    timer->doUpdateNextReview();
    manager.runUntil(2.25);
    EXPECT_EQ(reviews, (std::vector<long>{10, 20, 30, 40, 110, 120, 130, 140, 210, 220}));
}

}  // namespace
}  // namespace Platform
