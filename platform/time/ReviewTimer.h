#pragma once

#include <deque>

#include "platform/base/Seconds.h"
#include "platform/time/Clock.h"

namespace Platform {

// Decides when a reviewer's alarm fires, so that reviews come in batches: at most `maxReviews` in
// any `window` seconds, each `delay` after it was asked for and `gap` after the one before.
class ReviewTimer final {
  public:
    // The alarm is the reviewer's own and outlives the timer.
    ReviewTimer(Alarm& reviewer, Seconds window, std::size_t maxReviews, Seconds delay,
                Seconds gap);

    // Whether a review is to come. An alarm is parked when it fires, so this is true from the
    // request until the review begins, and again while the reviewer has set its alarm for a retry.
    bool reviewPending() const { return reviewer_.expiry() != never; }

    // Sets the reviewer's alarm for the next review.
    void doUpdateNextReview();

  private:
    Alarm& reviewer_;
    Seconds window_;
    std::size_t maxReviews_;
    Seconds delay_;
    Seconds gap_;
    std::deque<Seconds> reviews_;  // the times of the last `maxReviews`, oldest first
};

}  // namespace Platform
