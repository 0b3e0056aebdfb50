#pragma once

#include <unistd.h>

#include <optional>
#include <string>

#include "platform/base/Seconds.h"

namespace MrpAgent {

// What a service manager has told this process in its environment when it started it. The defaults
// are those of a process that a user has started.
struct ServiceEnvironment {
    // NOTIFY_SOCKET: where the service manager listens, a path or '@' and an abstract name. Empty:
    // nobody wants to be told.
    std::string notifySocket;
    // WATCHDOG_USEC: how long the process may be silent, unless WATCHDOG_PID means another one.
    std::optional<Platform::Seconds> watchdog;
    // JOURNAL_STREAM names the device and inode of standard error: what is written there goes to
    // the journal. The variable is inherited by processes whose output goes elsewhere.
    bool journal = false;
    std::string journalSocket = "/run/systemd/journal/socket";
    int standardError = STDERR_FILENO;

    // That of this process. Values that mean nothing count as missing.
    static ServiceEnvironment ofProcess();
};

}  // namespace MrpAgent
