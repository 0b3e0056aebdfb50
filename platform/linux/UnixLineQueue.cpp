#include "platform/linux/UnixLineQueue.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace Platform::Linux {

std::string_view UnixLineQueue::next() const {
    const std::string_view rest = std::string_view(lines_).substr(sent_);
    if (rest.size() <= sendOctets) {
        return rest;
    }
    const std::size_t end = rest.rfind('\n', sendOctets - 1);
    return rest.substr(0, (end == std::string_view::npos ? rest.find('\n') : end) + 1);
}

UnixLineQueue::Sent UnixLineQueue::sendTo(int fd, std::size_t octets) {
    Sent result = Sent::all;
    std::size_t written = 0;
    while (waiting() > 0 && result == Sent::all) {
        if (written >= octets) {
            result = Sent::later;
            break;
        }
        const std::string_view lines = next();
        const ssize_t count = ::send(fd, lines.data(), lines.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
            sent_ += static_cast<std::size_t>(count);
            inLine_ = lines_[sent_ - 1] != '\n';
        } else if (errno != EINTR) {
            result = errno == EAGAIN ? Sent::later : Sent::failed;
        }
    }
    // What is sent goes also while a slow reader never lets the queue run empty; half at a time, so
    // that an octet is moved about once.
    if (2 * sent_ >= lines_.size()) {
        lines_.erase(0, sent_);
        sent_ = 0;
    }
    return result;
}

std::uint64_t UnixLineQueue::drop() {
    const std::size_t kept = inLine_ ? lines_.find('\n', sent_) + 1 : sent_;
    const auto begin = lines_.begin() + static_cast<std::ptrdiff_t>(kept);
    const auto lost = std::count(begin, lines_.end(), '\n');
    lines_.erase(begin, lines_.end());
    return static_cast<std::uint64_t>(lost);
}

}  // namespace Platform::Linux
