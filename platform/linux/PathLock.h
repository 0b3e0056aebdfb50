#pragma once

#include <string>

#include "platform/linux/FileDescriptor.h"

namespace Platform::Linux {

// Says that a process uses a path, whatever becomes of the file there: a lock on the file
// "PATH.lock", which is made when it is missing and left behind. The kernel frees the lock when the
// process ends, however it ends.
class PathLock final {
  public:
    // Throws std::system_error whose text begins with the path: EADDRINUSE when another has it.
    explicit PathLock(const std::string& path);

  private:
    FileDescriptor file_;
};

}  // namespace Platform::Linux
