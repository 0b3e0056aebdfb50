#include "platform/virtual/VirtualActivityManager.h"

#include <cmath>

#include "platform/base/Assert.h"
#include "platform/base/ScopeGuard.h"

namespace Platform::Virtual {

void VirtualActivityManager::runUntil(Seconds t) {
    require(std::isfinite(t), "virtual time runs to a finite time");
    settle();
    running_ = true;
    const ScopeGuard done([this] { running_ = false; });
    while (clock().fireNext(t)) {
        runPosted();
    }
    clock().nowIs(t);
}

void VirtualActivityManager::settle() {
    require(!running_, "time is not run from within a callback");
    running_ = true;
    const ScopeGuard done([this] { running_ = false; });
    runPosted();
}

}  // namespace Platform::Virtual
