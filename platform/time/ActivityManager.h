#pragma once

#include <deque>
#include <functional>

#include "platform/time/Clock.h"

namespace Platform {

// The event loop of one thread: its clock, and work put off until the running callback is done.
// The Linux binding waits on descriptors and real time, the virtual one moves the clock itself.
class ActivityManager {
  public:
    ActivityManager() = default;
    explicit ActivityManager(Seconds now) : clock_(now) {}
    ActivityManager(const ActivityManager&) = delete;
    ActivityManager& operator=(const ActivityManager&) = delete;
    virtual ~ActivityManager() = default;

    Clock& clock() { return clock_; }

    // Runs the work soon, from the loop, after what was posted before; never from within post().
    void post(std::function<void()> work);

  protected:
    // Runs what is posted, also what is posted meanwhile.
    void runPosted();
    bool hasPosted() const { return !posted_.empty(); }

  private:
    Clock clock_;
    std::deque<std::function<void()>> posted_;
};

}  // namespace Platform
