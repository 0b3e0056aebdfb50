#pragma once

#include "platform/time/ActivityManager.h"

namespace Platform::Virtual {

// An event loop whose time passes only when it is told to. Its clock starts at 0 and stands still
// between the calls. Neither call is made from within a callback.
class VirtualActivityManager final : public ActivityManager {
  public:
    // Runs everything that is posted and every alarm due at `t` or before, in the order of time and
    // with posted work before the next alarm; then now is `t` (finite), or stays where it was when
    // that is later.
    void runUntil(Seconds t);
    // Runs what is posted; no time passes.
    void settle();

  private:
    bool running_ = false;
};

}  // namespace Platform::Virtual
