#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "agent/control/AttributeAges.h"
#include "agent/control/ControlNode.h"
#include "agent/control/ControlRequests.h"
#include "agent/control/LogMemory.h"
#include "agent/control/TurnQueue.h"
#include "agent/control/WallTime.h"
#include "platform/linux/UnixListener.h"

namespace MrpAgent {

class ControlClient;

// The control sockets of a node (docs/control-socket.md). What clients ask for is made in turns of
// the event loop, a few milliseconds each at the most, and only as fast as they read it.
//
// Destroyed before the node's instances, the log memory and the activity manager.
class ControlServer final {
  public:
    struct Parameters {
        // Of the sockets; without one the socket is not there.
        std::optional<std::string> path;
        std::optional<std::string> readOnlyPath;
        // Who the clients are told it is.
        std::string program = "mrp-agent";
        std::string version = "0.1.0";
        WallClock wallClock = std::chrono::system_clock::now;
        // How long a client may take nothing of what waits for it.
        Platform::Seconds patience = 30;
        // How many changes wait for clients that watch.
        std::size_t changeLimit = RecordChanges::usualLimit;
    };

    static constexpr std::size_t clientLimit = 128;
    static constexpr std::size_t reservedClients = 8;  // the last of them, for those that may write
    static constexpr unsigned pathMode = 0660;         // of the sockets' files

    ControlServer(ControlNode& node, const LogMemory& log,
                  Platform::Linux::EpollActivityManager& activityManager, Parameters parameters);
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;
    // Disconnects the clients and removes the paths.
    ~ControlServer();

    // Clients can connect from now on. Called once the node has its instances; from now on it is
    // known since when a registrar has been in its state. Throws std::system_error whose text
    // begins with the path; nobody listens then, and it can be tried again.
    void listen();

    // The member "control" of `show agent`: {"clients": 1, "refused": 0, "requests": 12}.
    Json status() const;

  private:
    void handleClients(Platform::Linux::UnixListener& listener, ControlAccess access);
    void clientIs(Platform::Linux::FileDescriptor socket, ControlAccess access);
    void refuse(const Platform::Linux::FileDescriptor& socket, std::size_t limit);
    Json greeting() const;

    ControlNode& node_;
    Platform::Linux::EpollActivityManager& activityManager_;
    Parameters parameters_;
    AttributeAges ages_;
    ControlRequests requests_;
    TurnQueue turns_;
    std::uint64_t refused_ = 0;
    std::uint64_t asked_ = 0;
    std::set<std::shared_ptr<ControlClient>> clients_;
    std::optional<Platform::Linux::UnixListener> readWrite_;
    std::optional<Platform::Linux::UnixListener> readOnly_;
};

}  // namespace MrpAgent
