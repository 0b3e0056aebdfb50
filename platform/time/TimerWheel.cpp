#include "platform/time/TimerWheel.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include "platform/base/Assert.h"
#include "platform/base/ScopeGuard.h"
#include "platform/time/Dispatch.h"

namespace Platform {

namespace {
// What an expiry may lie behind a tick and still count as that tick.
constexpr Seconds tolerance = 1e-6;
}  // namespace

TimerWheel::TimerWheel(Clock& clock, unsigned tickMsecs, std::size_t initialMaxTicks,
                       bool preserveOrder, std::size_t defaultBucketSize)
    : tickMsecs_(tickMsecs),
      origin_(clock.now()),
      horizonTick_(static_cast<std::int64_t>(initialMaxTicks)),
      slots_(initialMaxTicks),
      alarm_(clock, [this] { handleTick(); }) {
    require(preserveOrder && tickMsecs > 0 && initialMaxTicks > 1, "a usable timer wheel");
    due_.reserve(defaultBucketSize);
}

TimerWheel::~TimerWheel() = default;

Seconds TimerWheel::tickTime(std::int64_t tick) const {
    return origin_ + static_cast<Seconds>(tick * tickMsecs_) / msecsPerSecond;
}

std::int64_t TimerWheel::tickOf(Seconds expiry) const {
    constexpr double farthest = 9e15;  // beyond any wheel's life, and exact in a double
    const double ticks = std::ceil((expiry - origin_ - tolerance) / tickLength());
    const auto tick = static_cast<std::int64_t>(std::clamp(ticks, 0.0, farthest));
    return std::max(tick, lastTick_ + 1);
}

TimerWheel::Slot& TimerWheel::slotOf(std::int64_t tick) {
    return tick >= horizonTick_ ? outside_ : slots_[static_cast<std::size_t>(tick) % slots_.size()];
}

void TimerWheel::link(Timer& timer) {
    timer.tick_ = tickOf(timer.expiry_);
    Slot& slot = slotOf(timer.tick_);
    timer.next_ = slot.first;
    timer.link_ = &slot.first;
    if (slot.first != nullptr) {
        slot.first->link_ = &timer.next_;
    }
    slot.first = &timer;
    ++linked_;
}

void TimerWheel::unlink(Timer& timer) {
    if (timer.link_ != nullptr) {
        *timer.link_ = timer.next_;
        if (timer.next_ != nullptr) {
            timer.next_->link_ = timer.link_;
        }
        timer.link_ = nullptr;
        --linked_;
    }
    if (timer.dueIndex_ != Timer::notDue) {
        due_[timer.dueIndex_] = nullptr;
        timer.dueIndex_ = Timer::notDue;
    }
}

// An idle wheel does not tick. Before it starts again it is turned to where it would be by now.
void TimerWheel::catchUp() {
    const Seconds elapsed = clock().now() - origin_ + tolerance;
    lastTick_ = std::max(lastTick_, static_cast<std::int64_t>(elapsed / tickLength()));
    horizonTick_ = lastTick_ + static_cast<std::int64_t>(slots_.size());
}

void TimerWheel::arm() {
    alarm_.expiryIs(linked_ > 0 ? tickTime(lastTick_ + 1) : never);
}

// Takes the slot's timers that are due at the tick in hand into `due_`, in firing order.
void TimerWheel::collect(Slot& slot) {
    for (Timer* timer = slot.first; timer != nullptr;) {
        Timer* next = timer->next_;
        if (timer->tick_ <= lastTick_) {
            unlink(*timer);
            due_.push_back(timer);
        }
        timer = next;
    }
    const auto earlier = [](const Timer* a, const Timer* b) {
        return std::tie(a->expiry_, a->sequence_) < std::tie(b->expiry_, b->sequence_);
    };
    // Mostly they were set in that order, and the slot has the last one first.
    std::reverse(due_.begin(), due_.end());
    if (!std::is_sorted(due_.begin(), due_.end(), earlier)) {
        std::sort(due_.begin(), due_.end(), earlier);
    }
    for (std::size_t i = 0; i < due_.size(); ++i) {
        due_[i]->dueIndex_ = i;
    }
}

void TimerWheel::handleTick() {
    const Ptr<TimerWheel> self(this);  // a callback may drop the last timer, and so the wheel
    ++lastTick_;
    dispatching_ = true;
    const ScopeGuard rearm([this] {
        for (Timer* timer : due_) {
            if (timer != nullptr) {
                timer->dueIndex_ = Timer::notDue;
            }
        }
        due_.clear();
        dispatching_ = false;
        arm();
    });
    Slot& slot = slots_[static_cast<std::size_t>(lastTick_) % slots_.size()];
    // Half a turn before the wheel's reach ends it is moved on, and what waits outside comes in.
    if (horizonTick_ - lastTick_ <= static_cast<std::int64_t>(slots_.size() / 2)) {
        horizonTick_ = lastTick_ + static_cast<std::int64_t>(slots_.size());
        Timer* timer = std::exchange(outside_.first, nullptr);
        while (timer != nullptr) {
            Timer* next = timer->next_;
            --linked_;
            link(*timer);
            timer = next;
        }
    }
    collect(slot);
    for (std::size_t i = 0; i < due_.size(); ++i) {
        if (Timer* timer = std::exchange(due_[i], nullptr)) {
            timer->dueIndex_ = Timer::notDue;
            const std::function<void()> callback = timer->callback_;
            dispatch(callback);
        }
    }
}

TimerWheel::Timer::Timer(Ptr<TimerWheel> wheel, std::function<void()> callback)
    : wheel_(std::move(wheel)), callback_(std::move(callback)) {}

TimerWheel::Timer::~Timer() {
    wheel_->unlink(*this);
}

void TimerWheel::Timer::expiryIs(Seconds expiry) {
    const bool setLast = sequence_ + 1 == wheel_->sequence_;
    if (link_ != nullptr && setLast && expiry == expiry_) {
        return;  // nothing would change, not even the order
    }
    wheel_->unlink(*this);
    expiry_ = expiry;
    sequence_ = wheel_->sequence_++;
    if (expiry_ != never) {
        const bool idle = wheel_->linked_ == 0 && !wheel_->dispatching_;
        if (idle) {
            wheel_->catchUp();
        }
        wheel_->link(*this);
        if (idle) {
            wheel_->arm();
        }
    }
}

}  // namespace Platform
