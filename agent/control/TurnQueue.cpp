#include "agent/control/TurnQueue.h"

#include <sys/eventfd.h>

#include <chrono>
#include <utility>

#include "platform/time/Dispatch.h"

namespace MrpAgent {

using namespace Platform;

namespace {

constexpr std::chrono::milliseconds turnTime{2};

}  // namespace

TurnQueue::TurnQueue(Linux::EpollActivityManager& activityManager)
    : activityManager_(activityManager),
      ready_(Linux::checked(::eventfd(1, EFD_NONBLOCK | EFD_CLOEXEC), "creating an event")) {}

TurnQueue::~TurnQueue() {
    activityManager_.descriptorDel(ready_.get());
}

void TurnQueue::add(const std::shared_ptr<Worker>& worker) {
    if (!worker->queued_) {
        workers_.push_back(worker);
        worker->queued_ = true;
    }
    if (!watched_) {
        activityManager_.descriptorIs(ready_.get(), [this] { handleTurn(); });
        watched_ = true;
    }
}

void TurnQueue::handleTurn() {
    const auto end = std::chrono::steady_clock::now() + turnTime;
    do {
        if (workers_.empty()) {
            activityManager_.descriptorDel(ready_.get());
            watched_ = false;
            return;
        }
        const std::shared_ptr<Worker> worker = std::move(workers_.front());
        workers_.pop_front();
        worker->queued_ = false;
        dispatch([&] {
            if (worker->work()) {
                add(worker);
            }
        });
    } while (std::chrono::steady_clock::now() < end);
}

}  // namespace MrpAgent
