#include "platform/time/ActivityManager.h"

#include <utility>

#include "platform/time/Dispatch.h"

namespace Platform {

void ActivityManager::post(std::function<void()> work) {
    posted_.push_back(std::move(work));
}

void ActivityManager::runPosted() {
    while (!posted_.empty()) {
        const std::function<void()> work = std::move(posted_.front());
        posted_.pop_front();
        dispatch(work);
    }
}

}  // namespace Platform
