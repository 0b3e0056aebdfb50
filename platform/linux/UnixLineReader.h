#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "platform/linux/EpollActivityManager.h"
#include "platform/linux/FileDescriptor.h"

namespace Platform::Linux {

// Reads lines from a Unix stream socket that another process listens on.
//
// The callbacks run from the loop and inside readArrived(). They may call close() and connectTo(),
// not destroy the reader; after either no line of the connection before is handed over. An error
// that leaves the one for lines costs that line (see Dispatch.h).
class UnixLineReader final {
  public:
    // What ends a connection besides close(). `clean`: the other side closed it behind a whole
    // line. `why` in words.
    struct Ending {
        bool clean;
        std::string why;
    };

    using Line = std::function<void(std::string_view line)>;  // without its newline
    using Ended = std::function<void(const Ending& ending)>;  // not connected any more by then

    static constexpr std::size_t lineLimit = 65536;  // octets; a longer one ends the connection

    // The activity manager outlives it.
    UnixLineReader(EpollActivityManager& activityManager, Line line, Ended ended);
    UnixLineReader(const UnixLineReader&) = delete;
    UnixLineReader& operator=(const UnixLineReader&) = delete;
    ~UnixLineReader() { close(); }

    // Connects to the path, without waiting. 0, or errno: ENAMETOOLONG for a path too long, EAGAIN
    // when the other side is too busy to be connected to. Not while connected.
    int connectTo(const std::string& path);
    bool connected() const { return static_cast<bool>(socket_); }
    // Hands over what has arrived by now, up to the end of the stream, without waiting for the
    // loop.
    void readArrived();
    // Without a callback.
    void close();

  private:
    void read(std::size_t octets);
    void take(std::string_view octets);
    void end(bool clean, const std::string& why);

    EpollActivityManager& activityManager_;
    Line line_;
    Ended ended_;
    FileDescriptor socket_;
    std::string begun_;             // a line whose end has not come yet
    std::uint64_t connection_ = 0;  // changes when one ends: what was read of it counts no more
};

}  // namespace Platform::Linux
