#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

#include "agent/mrpctl/Json.h"
#include "platform/linux/FileDescriptor.h"

namespace MrpCtl {

// The agent cannot be talked to: nobody listens, nobody answers, or what comes is no answer.
struct Unreachable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A client's side of the control socket (docs/control-socket.md). It waits for the agent, but never
// longer than is said for a single octet.
class AgentConnection final {
  public:
    // Octets of a line of the agent; what is longer is no answer. A row has lists of ports at most.
    static constexpr std::size_t lineLimit = 4U * 1024 * 1024;
    // Levels of objects and lists in a line.
    static constexpr int depthLimit = 16;
    static constexpr int version = 1;  // of the page that the agent must speak

    // Connects and reads the agent's first line. `silence` in seconds, > 0, is how long the agent
    // may take for the next octet. Throws Unreachable.
    AgentConnection(const std::string& path, double silence);

    // The agent's first line. It may have an "end" already, of an agent that takes no more clients.
    const Json& greeting() const { return greeting_; }
    // How long the agent may take from now on; 0: for ever. Throws Unreachable.
    void silenceIs(double seconds);
    // Sends a request. An agent that does not take it may still have said why: no error. Throws
    // Unreachable when the agent takes nothing for too long.
    void requestIs(const Json& request);
    // Waits for the next line, an object. Throws Unreachable, also when there is none any more.
    Json line();

  private:
    void connectTo(const std::string& path);
    Json parsed(std::string_view text) const;
    void receive();

    Platform::Linux::FileDescriptor socket_;
    std::string received_;  // lines, the last one perhaps begun only
    std::size_t taken_ = 0;
    std::size_t searched_ = 0;
    Json greeting_;
};

}  // namespace MrpCtl
