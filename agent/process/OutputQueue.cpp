#include "agent/process/OutputQueue.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

namespace MrpAgent {

using namespace Platform;

namespace {

constexpr Seconds retryAfter = 0.01;

// Whether PIPE_BUF octets can be written now, or an error can be fetched by writing. The descriptor
// is not made non-blocking, because others may share it.
bool writable(int fd) {
    pollfd request{fd, POLLOUT, 0};
    return ::poll(&request, 1, 0) > 0;
}

}  // namespace

OutputQueue::OutputQueue(int fd, ActivityManager& activityManager, Lost lost)
    : fd_(fd), lost_(std::move(lost)), retry_(activityManager.clock(), [this] { flush(); }) {}

void OutputQueue::lineIs(const std::string& line) {
    if (pending() > limit) {
        lost_("its reader is too slow");
        return;
    }
    waiting_ += line;
    waiting_ += '\n';
    flush();
}

void OutputQueue::flush() {
    while (pending() > 0 && writable(fd_)) {
        const std::size_t octets = std::min<std::size_t>(pending(), PIPE_BUF);
        const ssize_t count = ::write(fd_, waiting_.data() + written_, octets);
        if (count >= 0) {
            written_ += static_cast<std::size_t>(count);
        } else if (errno != EINTR && errno != EAGAIN) {
            lost_(std::strerror(errno));
            written_ = waiting_.size();
        } else {
            break;
        }
    }
    // What is written goes also while a slow reader never lets the queue run empty; half at a time,
    // so that an octet is moved about once.
    if (2 * written_ >= waiting_.size()) {
        waiting_.erase(0, written_);
        written_ = 0;
    }
    retry_.expiryIs(pending() == 0 ? never : retry_.clock().now() + retryAfter);
}

}  // namespace MrpAgent
