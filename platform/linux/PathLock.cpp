#include "platform/linux/PathLock.h"

#include <fcntl.h>
#include <sys/file.h>

namespace Platform::Linux {

PathLock::PathLock(const std::string& path) {
    constexpr mode_t mode = 0660;
    file_ = FileDescriptor(
        checked(::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, mode),
                path + ": locking"));
    if (::flock(file_.get(), LOCK_EX | LOCK_NB) < 0) {
        throw std::system_error(errno == EWOULDBLOCK ? EADDRINUSE : errno, std::generic_category(),
                                path + ": locking");
    }
}

}  // namespace Platform::Linux
