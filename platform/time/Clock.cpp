#include "platform/time/Clock.h"

#include <tuple>
#include <utility>

#include "platform/time/Dispatch.h"

namespace Platform {

bool Clock::Earlier::operator()(const Alarm* a, const Alarm* b) const {
    return std::tie(a->expiry_, a->sequence_) < std::tie(b->expiry_, b->sequence_);
}

Seconds Clock::nextExpiry() const {
    if (alarms_.empty()) {
        return never;
    }
    return (*alarms_.begin())->expiry_;
}

bool Clock::fireNext(Seconds limit) {
    if (alarms_.empty() || (*alarms_.begin())->expiry_ > limit) {
        return false;
    }
    Alarm* alarm = *alarms_.begin();
    nowIs(alarm->expiry_);
    alarm->expiryIs(never);
    // The callback may destroy the alarm, and with it the function that is running.
    const std::function<void()> callback = alarm->callback_;
    dispatch(callback);
    return true;
}

Alarm::Alarm(Clock& clock, std::function<void()> callback)
    : clock_(clock), callback_(std::move(callback)) {}

Alarm::~Alarm() {
    expiryIs(never);
}

void Alarm::expiryIs(Seconds expiry) {
    if (expiry_ != never) {
        clock_.alarms_.erase(this);
    }
    expiry_ = expiry;
    sequence_ = clock_.sequence_++;
    if (expiry_ == never) {
        return;
    }
    try {
        clock_.alarms_.insert(this);
    } catch (...) {
        expiry_ = never;  // for want of memory it is not set
        throw;
    }
}

}  // namespace Platform
