#include "platform/time/ReviewTimer.h"

#include <algorithm>

#include "platform/base/Assert.h"

namespace Platform {

ReviewTimer::ReviewTimer(Alarm& reviewer, Seconds window, std::size_t maxReviews, Seconds delay,
                         Seconds gap)
    : reviewer_(reviewer), window_(window), maxReviews_(maxReviews), delay_(delay), gap_(gap) {
    require(maxReviews > 0, "maxReviews > 0");
}

void ReviewTimer::doUpdateNextReview() {
    Seconds next = reviewer_.clock().now() + delay_;
    if (!reviews_.empty()) {
        next = std::max(next, reviews_.back() + gap_);
    }
    if (reviews_.size() == maxReviews_) {
        next = std::max(next, reviews_.front() + window_);
        reviews_.pop_front();
    }
    reviews_.push_back(next);
    reviewer_.expiryIs(next);
}

}  // namespace Platform
