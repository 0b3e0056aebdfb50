#pragma once

#include <linux/netlink.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/base/Seconds.h"
#include "platform/linux/FileDescriptor.h"

namespace MrpAgent {

// Begins a message about a link in the buffer: one of that type, with the flags and NLM_F_REQUEST.
nlmsghdr* putLinkHeader(void* buffer, int type, int flags, std::uint8_t family, int index);

// A socket on which the kernel's rtnetlink is asked, one question at a time, without blocking. It
// is of the network namespace that the thread is in that makes it.
class RouteSocket final {
  public:
    using Take = std::function<void(const nlmsghdr& message)>;
    enum class Answer {
        incomplete,  // more will come
        complete,
        disturbed,  // complete, but the kernel says that things have changed while it answered
    };

    // Throws std::system_error.
    RouteSocket();

    int fd() const { return fd_.get(); }
    // Sends the message, in which it sets the sequence number. What is left of the answer to an
    // earlier question is passed over from now on. Throws std::system_error.
    void send(nlmsghdr& message);
    // Asks for all links, as the address family (AF_UNSPEC, AF_BRIDGE) sees them. Throws
    // std::system_error.
    void sendLinkDump(std::uint8_t family);
    // Hands what has come of the answer to `take`. Throws std::system_error with what the kernel
    // answers instead, or when reading fails.
    Answer receive(const Take& take);
    // Waits for something to receive, that long at the most, and tells whether there is.
    bool wait(Platform::Seconds span) const;

  private:
    bool handleMessage(const nlmsghdr& message, const Take& take);

    Platform::Linux::FileDescriptor fd_;
    std::vector<char> buffer_;
    std::uint32_t sequence_ = 0;
    bool disturbed_ = false;
};

}  // namespace MrpAgent
