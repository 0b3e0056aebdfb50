#include "agent/service/ServiceManager.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace MrpAgent {

using namespace Platform;

namespace {

constexpr Seconds retryAfter = 1.0;
constexpr double pingsPerInterval = 3.0;
constexpr Seconds leastPingInterval =
    0.001;  // an interval of next to nothing must not stop the loop

// The manager compares it with its own clock: the event loop's, which is read once a turn, may
// stand before the signal that asks for the reload.
std::string monotonicMicroseconds() {
    constexpr long long microsecondsPerSecond = 1000000;
    constexpr long nanosecondsPerMicrosecond = 1000;
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::to_string(now.tv_sec * microsecondsPerSecond +
                          now.tv_nsec / nanosecondsPerMicrosecond);
}

}  // namespace

ServiceManager::ServiceManager(ActivityManager& activityManager,
                               const ServiceEnvironment& environment)
    : sender_(environment.notifySocket),
      told_(!environment.notifySocket.empty()),
      pingInterval_(
          std::max(environment.watchdog.value_or(0) / pingsPerInterval, leastPingInterval)),
      retry_(activityManager.clock(), [this] { flush(); }),
      watchdog_(activityManager.clock(), [this] { handleWatchdog(); }) {
    if (told_ && environment.watchdog) {
        handleWatchdog();
    }
}

void ServiceManager::ready() {
    stateIs("READY=1\n");
}

void ServiceManager::reloading() {
    stateIs("RELOADING=1\nMONOTONIC_USEC=" + monotonicMicroseconds() + "\n");
}

void ServiceManager::stopping() {
    stateIs("STOPPING=1\n");
}

void ServiceManager::statusIs(std::string text) {
    // A line of its own would be a message of its own.
    std::replace(text.begin(), text.end(), '\n', ' ');
    status_ = "STATUS=" + text + "\n";
    flush();
}

void ServiceManager::stateIs(std::string state) {
    state_ = std::move(state);
    flush();
}

void ServiceManager::handleWatchdog() {
    ping_ = "WATCHDOG=1\n";
    watchdog_.expiryIs(watchdog_.clock().now() + pingInterval_);
    flush();
}

void ServiceManager::flush() {
    const std::string text = state_ + status_ + ping_;
    if (!told_ || text.empty()) {
        return;
    }
    const DatagramSender::Sent sent = sender_.send(text);
    if (sent == DatagramSender::Sent::yes) {
        state_.clear();
        ping_.clear();
    }
    // A status that no datagram holds must not keep back the rest.
    if (sent != DatagramSender::Sent::later) {
        status_.clear();
    }
    const bool waits = !state_.empty() || !status_.empty() || !ping_.empty();
    retry_.expiryIs(waits ? retry_.clock().now() + retryAfter : never);
}

}  // namespace MrpAgent
