#pragma once

#include "mrp/MrpSm/database/MrpAttrLogSm.h"
#include "mrp/MrpSm/types/PlatformNames.h"
#include "platform/base/Ptr.h"
#include "platform/time/Clock.h"
#include "platform/time/ReviewTimer.h"

namespace Mrp {

class MrpSm;

// Applies a set of pending database changes in batches: at most four reviews a second, each 0.1 s
// after it was asked for, and pausing for 0.1 s at a time while the attribute log is clogged. What
// is pending and how one entry is applied is the derived reviewer's.
class MrpDatabaseReviewSm : public RefCounted {
  public:
    MrpDatabaseReviewSm(MrpSm& mrpSm, Ptr<MrpAttrLogSm> mrpAttrLogSm, Clock& clock);
    MrpDatabaseReviewSm(const MrpDatabaseReviewSm&) = delete;
    MrpDatabaseReviewSm& operator=(const MrpDatabaseReviewSm&) = delete;
    virtual ~MrpDatabaseReviewSm() = default;

    // Asks for a review when entries are pending and none is under way. Never reviews at once.
    void doUpdateReviewTimer();
    // Applies what is pending, first entry first.
    void doReview();

    // When the last complete review ended.
    Seconds lastReview() const { return lastReview_; }

  protected:
    MrpSm& mrpSm() const { return mrpSm_; }
    virtual const char* className() const = 0;
    virtual bool pendingEmpty() const = 0;
    // Applies the first pending entry and removes it from the set.
    virtual void reviewFirst() = 0;

  private:
    void handleInitialized();
    bool reviewAll();

    MrpSm& mrpSm_;
    Ptr<MrpAttrLogSm> mrpAttrLogSm_;
    Alarm clock_;
    ReviewTimer reviewTimer_;
    Seconds lastReview_ = 0;
    bool initialized_ = false;
};

}  // namespace Mrp
