#pragma once

#include <deque>
#include <memory>

#include "platform/linux/EpollActivityManager.h"
#include "platform/linux/FileDescriptor.h"

namespace MrpAgent {

// Work in slices, each worker's in its turn, a bounded time in a turn of the event loop: frames and
// timers have theirs in between, however many workers there are.
class TurnQueue final {
  public:
    class Worker {
      public:
        Worker() = default;
        Worker(const Worker&) = delete;
        Worker& operator=(const Worker&) = delete;
        virtual ~Worker() = default;

        // Does a slice, well under a millisecond. Whether there is more to do at once.
        virtual bool work() = 0;

      private:
        friend class TurnQueue;
        bool queued_ = false;
    };

    // Throws std::system_error when there is no descriptor for it.
    explicit TurnQueue(Platform::Linux::EpollActivityManager& activityManager);
    TurnQueue(const TurnQueue&) = delete;
    TurnQueue& operator=(const TurnQueue&) = delete;
    ~TurnQueue();

    // Has the worker do a slice soon, from the event loop. One that waits already waits on.
    void add(const std::shared_ptr<Worker>& worker);

  private:
    void handleTurn();

    Platform::Linux::EpollActivityManager& activityManager_;
    Platform::Linux::FileDescriptor ready_;  // readable always: while it is watched, every turn
    bool watched_ = false;
    std::deque<std::shared_ptr<Worker>> workers_;
};

}  // namespace MrpAgent
