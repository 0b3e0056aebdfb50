#include "mrp/MrpSm/database/MrpDatabaseReviewSm.h"

#include <utility>

#include "mrp/MrpSm/types/MrpTrace.h"

namespace Mrp {

namespace {
constexpr Seconds reviewWindow = 1.0;
constexpr std::size_t reviewsPerWindow = 4;
constexpr Seconds reviewDelay = 0.1;
constexpr Seconds reviewGap = 0.1;
constexpr Seconds cloggedRetry = 0.1;
}  // namespace

MrpDatabaseReviewSm::MrpDatabaseReviewSm(MrpSm& mrpSm, Ptr<MrpAttrLogSm> mrpAttrLogSm, Clock& clock)
    : mrpSm_(mrpSm),
      mrpAttrLogSm_(std::move(mrpAttrLogSm)),
      clock_(clock, [this] { doReview(); }),
      reviewTimer_(clock_, reviewWindow, reviewsPerWindow, reviewDelay, reviewGap) {
    handleInitialized();
}

void MrpDatabaseReviewSm::handleInitialized() {
    MRP_TRACE_HANDLER();
    initialized_ = true;
}

void MrpDatabaseReviewSm::doUpdateReviewTimer() {
    MRP_TRACE(8, className() << "::doUpdateReviewTimer()");
    if (!reviewTimer_.reviewPending() && !pendingEmpty()) {
        reviewTimer_.doUpdateNextReview();
    }
}

void MrpDatabaseReviewSm::doReview() {
    if (!initialized_) {
        return;
    }
    MRP_TRACE(8, className() << "::doReview()");
    try {
        if (!reviewAll()) {
            clock_.expiryIs(clock_.clock().now() + cloggedRetry);
            return;
        }
    } catch (...) {
        doUpdateReviewTimer();  // what is left for want of memory is tried again
        throw;
    }
    lastReview_ = clock_.clock().now();
    doUpdateReviewTimer();
}

// False when the log is clogged before the end.
bool MrpDatabaseReviewSm::reviewAll() {
    while (!pendingEmpty()) {
        if (mrpAttrLogSm_ && mrpAttrLogSm_->isAttrLogOutClogged()) {
            return false;
        }
        reviewFirst();
    }
    return true;
}

}  // namespace Mrp
