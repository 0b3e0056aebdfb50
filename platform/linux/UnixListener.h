#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>

#include "platform/linux/EpollActivityManager.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/PathLock.h"
#include "platform/time/Clock.h"

namespace Platform::Linux {

// A Unix stream socket that listens on a path. While it does it has the path's lock, so that it is
// the only one, also when somebody removes the path.
class UnixListener final {
  public:
    // Listens at once. A socket that a process which is gone has left at the path is replaced; any
    // other file there is an error. The socket's file has that mode from its first moment, for
    // which the umask of the process, all threads of it, is changed during the call. `ready` runs,
    // from the loop, as often as clients wait. Throws std::system_error whose text begins with the
    // path.
    UnixListener(std::string path, mode_t mode, EpollActivityManager& activityManager,
                 EpollActivityManager::Callback ready);
    UnixListener(const UnixListener&) = delete;
    UnixListener& operator=(const UnixListener&) = delete;
    // Removes the path, unless there is another file by now.
    ~UnixListener();

    const std::string& path() const { return path_; }
    // The socket, non-blocking, of the next client, or none: none waits, or the system has no room
    // for one. Then `ready` rests for a tenth of a second.
    FileDescriptor accept();
    // How often the system had no room for a client.
    std::uint64_t failures() const { return failures_; }

  private:
    void bindTo(mode_t mode);
    void watch();
    void removePath() const;

    std::string path_;
    PathLock lock_;
    EpollActivityManager& activityManager_;
    EpollActivityManager::Callback ready_;
    FileDescriptor socket_;
    std::uint64_t failures_ = 0;
    struct stat file_ {};  // that bind() made; what tells it from others stays while it is bound
    Alarm watchAlarm_;     // set while clients cannot be taken
};

}  // namespace Platform::Linux
