#pragma once

#include <cstdint>
#include <functional>
#include <set>

#include "platform/base/Seconds.h"

namespace Platform {

class Alarm;

// The time of a node, and the alarms set on it. Now stands still while a callback runs; whoever
// drives the node (an event loop, or a virtual one) moves it on between callbacks.
class Clock final {
  public:
    explicit Clock(Seconds now = 0) : now_(now) {}
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;

    Seconds now() const { return now_; }
    // Sets the time; never backwards.
    void nowIs(Seconds now) { now_ = now > now_ ? now : now_; }

    // When the earliest alarm is due; never without one.
    Seconds nextExpiry() const;
    // Runs the earliest alarm if it is due at `limit` or before, with now at its expiry (or where
    // it was, if that is later), and tells whether there was one.
    bool fireNext(Seconds limit);

  private:
    friend class Alarm;
    struct Earlier {
        bool operator()(const Alarm* a, const Alarm* b) const;
    };

    Seconds now_;
    std::uint64_t sequence_ = 0;
    std::set<Alarm*, Earlier> alarms_;
};

// One expiry on a clock. Alarms that are due at the same time run in the order in which they were
// set. An alarm is parked when it is made and again just before its callback runs, which may set it
// anew or destroy it. Must not outlive its clock.
class Alarm final {
  public:
    Alarm(Clock& clock, std::function<void()> callback);
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;
    ~Alarm();

    Clock& clock() const { return clock_; }
    Seconds expiry() const { return expiry_; }
    // Sets the absolute time at which the callback runs, in place of the one before.
    void expiryIs(Seconds expiry);

  private:
    friend class Clock;

    Clock& clock_;
    std::function<void()> callback_;
    Seconds expiry_ = never;
    std::uint64_t sequence_ = 0;
};

}  // namespace Platform
