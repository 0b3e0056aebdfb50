#include "agent/standby/ActiveFollower.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

constexpr Seconds soon = 0.05;
constexpr Seconds later = 1;  // from one who talks nonsense

}  // namespace

ActiveFollower::ActiveFollower(Linux::EpollActivityManager& activityManager, std::string path,
                               const std::vector<Ptr<MrpStatus>>& statuses, Callbacks callbacks)
    : path_(std::move(path)),
      mirror_(statuses),
      callbacks_(std::move(callbacks)),
      reader_(
          activityManager, [this](std::string_view line) { handleLine(line); },
          [this](const auto& ending) { handleEnd(ending); }),
      retry_(activityManager.clock(), [this] { connect(); }) {}

void ActiveFollower::start() {
    connect();
}

void ActiveFollower::connect() {
    const int error = reader_.connectTo(path_);
    if (error == 0) {
        ++sessions_;
        connectedAt_ = retry_.clock().now();
        mirror_.sessionStarts();
        return;
    }
    const bool nobody = error == ECONNREFUSED || error == ENOENT;
    std::string what = std::strerror(error);
    if (nobody && followed_) {
        const auto obstacle = callbacks_.gone();
        followed_ = obstacle.has_value();
        what = obstacle.value_or(what);
    }
    trouble(what, soon);
}

void ActiveFollower::handleLine(std::string_view line) {
    const bool before = mirror_.complete();
    if (const auto fault = mirror_.lineIs(line)) {
        ++faults_;
        reader_.close();
        mirror_.sessionEnds(false);
        trouble(*fault, later);
        return;
    }
    followed_ = followed_ || mirror_.accepted();
    if (!before && mirror_.complete()) {
        lastTrouble_.clear();
        callbacks_.tell("standby, in step with the active agent");
    }
}

// A connection also ends when the active agent finds its reader too slow: whether the agent has
// gone is known when nobody listens any more.
void ActiveFollower::handleEnd(const Linux::UnixLineReader::Ending& ending) {
    // At once, unless whoever is there ends one connection after the other.
    const Seconds early = std::max(0.0, connectedAt_ + soon - retry_.clock().now());
    const Seconds retryAfter = mirror_.accepted() ? early : soon;
    if (!ending.clean) {
        ++faults_;
    }
    mirror_.sessionEnds(ending.clean);
    trouble(ending.why, retryAfter);
}

void ActiveFollower::trouble(const std::string& what, Seconds retryAfter) {
    if (finished_) {
        return;
    }
    if (what != lastTrouble_) {
        lastTrouble_ = what;
        callbacks_.tell(path_ + ": " + what + "; trying again");
    }
    retry_.expiryIs(retry_.clock().now() + retryAfter);
}

void ActiveFollower::finish() {
    finished_ = true;
    retry_.expiryIs(never);
    if (reader_.connected()) {
        reader_.readArrived();
    }
    reader_.close();
    mirror_.sessionEnds(true);
}

Json ActiveFollower::status() const {
    return {{"connected", mirror_.accepted()},
            {"complete", mirror_.complete()},
            {"sessions", sessions_},
            {"faults", faults_}};
}

}  // namespace MrpAgent
