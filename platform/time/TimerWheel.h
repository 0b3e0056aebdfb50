#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "platform/base/Ptr.h"
#include "platform/base/Seconds.h"
#include "platform/time/Clock.h"

namespace Platform {

// Many timers on one alarm. The wheel ticks at multiples of the tick length since its creation; a
// timer fires at the first tick that is not before its expiry (to 1 microsecond, so that 0.6 s set
// on a tick of 0.1 s is six ticks). An expiry in the past fires at the next tick, never within the
// dispatch in which it was set. Timers of one tick fire in the order of their expiries, then in the
// order in which they were set.
class TimerWheel final : public RefCounted {
  public:
    class Timer;

    // `initialMaxTicks` is the reach of the wheel: timers further away wait outside of it.
    // `defaultBucketSize` is how many timers of one tick fire without memory being asked for. The
    // order within a tick is always kept; `preserveOrder` must be true and says so at the call.
    TimerWheel(Clock& clock, unsigned tickMsecs, std::size_t initialMaxTicks, bool preserveOrder,
               std::size_t defaultBucketSize);
    TimerWheel(const TimerWheel&) = delete;
    TimerWheel& operator=(const TimerWheel&) = delete;
    ~TimerWheel();

    Clock& clock() const { return alarm_.clock(); }
    Seconds tickLength() const { return static_cast<Seconds>(tickMsecs_) / msecsPerSecond; }

  private:
    static constexpr Seconds msecsPerSecond = 1000.0;

    // Timers of one slot: a list through the timers themselves.
    struct Slot {
        Timer* first = nullptr;
    };

    Seconds tickTime(std::int64_t tick) const;
    std::int64_t tickOf(Seconds expiry) const;
    Slot& slotOf(std::int64_t tick);
    void link(Timer& timer);
    void unlink(Timer& timer);
    void catchUp();
    void arm();
    void handleTick();
    void collect(Slot& slot);

    unsigned tickMsecs_;
    Seconds origin_;
    std::int64_t lastTick_ = 0;     // the last tick that was dispatched
    std::int64_t horizonTick_ = 0;  // timers at or beyond it are in `outside_`
    std::uint64_t sequence_ = 0;
    std::size_t linked_ = 0;
    bool dispatching_ = false;
    std::vector<Slot> slots_;
    Slot outside_;
    std::vector<Timer*> due_;  // the timers of the tick in hand; null once gone
    Alarm alarm_;
};

// One timer on a wheel. Parked when made. When it fires its expiry stays as it was, and it is idle
// until it is set anew. The callback may set it, park it or destroy it, and others too. A timer
// keeps its wheel alive.
class TimerWheel::Timer final {
  public:
    Timer(Ptr<TimerWheel> wheel, std::function<void()> callback);
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer();

    // The absolute time that was last set; never when parked.
    Seconds expiry() const { return expiry_; }
    void expiryIs(Seconds expiry);

  private:
    friend class TimerWheel;

    Ptr<TimerWheel> wheel_;
    std::function<void()> callback_;
    Seconds expiry_ = never;
    std::uint64_t sequence_ = 0;
    std::int64_t tick_ = 0;
    Timer* next_ = nullptr;
    Timer** link_ = nullptr;  // what points at this timer; null while in no list
    std::size_t dueIndex_ = notDue;
    static constexpr std::size_t notDue = SIZE_MAX;
};

}  // namespace Platform
