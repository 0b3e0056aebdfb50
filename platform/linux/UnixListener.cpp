#include "platform/linux/UnixListener.h"

#include <unistd.h>

#include <cstring>
#include <utility>

#include "platform/base/ScopeGuard.h"
#include "platform/linux/UnixAddress.h"
#include "platform/log/Trace.h"

namespace Platform::Linux {

namespace {

TraceSource linuxTrace("Linux");

constexpr int backlog = 16;
constexpr Seconds watchInterval = 0.1;

const sockaddr* general(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

// Whether a process which is gone has left the socket. Asked with a datagram socket, of which a
// stream socket that is alive hears nothing: the kernel tells the two of different types
// (EPROTOTYPE).
bool leftBehind(const sockaddr_un& address) {
    const FileDescriptor probe(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    return probe && ::connect(probe.get(), general(address), sizeof(address)) < 0 &&
           errno == ECONNREFUSED;
}

// Before the lock's file is made beside somebody else's.
void requireNoFile(const std::string& path) {
    struct stat file {};
    if (::lstat(path.c_str(), &file) == 0 && !S_ISSOCK(file.st_mode)) {
        throw std::system_error(EEXIST, std::generic_category(),
                                path + ": there is a file that is no socket");
    }
}

}  // namespace

UnixListener::UnixListener(std::string path, mode_t mode, EpollActivityManager& activityManager,
                           EpollActivityManager::Callback ready)
    : path_(std::move(path)),
      lock_((requireNoFile(path_), path_)),
      activityManager_(activityManager),
      ready_(std::move(ready)),
      watchAlarm_(activityManager.clock(), [this] { watch(); }) {
    socket_ =
        FileDescriptor(checked(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0),
                               path_ + ": opening a socket"));
    bindTo(mode);
    try {
        checked(::listen(socket_.get(), backlog), path_ + ": listening");
        watch();
    } catch (...) {
        removePath();
        throw;
    }
}

UnixListener::~UnixListener() {
    activityManager_.descriptorDel(socket_.get());
    removePath();
}

void UnixListener::bindTo(mode_t mode) {
    sockaddr_un address{};
    if (const int error = unixAddressOf(path_, address); error != 0) {
        throw std::system_error(error, std::generic_category(), path_ + ": listening");
    }
    const mode_t before = ::umask(~mode & ACCESSPERMS);
    const ScopeGuard restore([before] { ::umask(before); });
    int result = ::bind(socket_.get(), general(address), sizeof(address));
    if (result < 0 && errno == EADDRINUSE) {
        requireNoFile(path_);
        if (leftBehind(address)) {
            ::unlink(path_.c_str());
        }
        result = ::bind(socket_.get(), general(address), sizeof(address));
    }
    checked(result, path_ + ": listening");
    checked(::lstat(path_.c_str(), &file_), path_ + ": listening");
}

void UnixListener::watch() {
    // Set first: should the system refuse, it is asked again.
    watchAlarm_.expiryIs(activityManager_.clock().now() + watchInterval);
    activityManager_.descriptorIs(socket_.get(), ready_);
    watchAlarm_.expiryIs(never);
}

void UnixListener::removePath() const {
    struct stat now {};
    if (::lstat(path_.c_str(), &now) == 0 && now.st_dev == file_.st_dev &&
        now.st_ino == file_.st_ino) {
        ::unlink(path_.c_str());
    }
}

FileDescriptor UnixListener::accept() {
    int fd = -1;
    do {
        fd = ::accept4(socket_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    const int error = fd < 0 ? errno : 0;
    if (error != 0 && error != EAGAIN && error != ECONNABORTED) {
        // The client goes on waiting, and would wake the loop for ever.
        ++failures_;
        PLATFORM_TRACE(linuxTrace, 0, path_ << ": taking a client: " << std::strerror(error));
        activityManager_.descriptorDel(socket_.get());
        watchAlarm_.expiryIs(activityManager_.clock().now() + watchInterval);
    }
    return FileDescriptor(fd);
}

}  // namespace Platform::Linux
