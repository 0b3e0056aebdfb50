#include "agent/service/DatagramSender.h"

#include <cstddef>

#include "platform/linux/UnixAddress.h"

namespace MrpAgent {

using namespace Platform::Linux;

namespace {

// The length of the address; 0 where there can be none.
socklen_t addressOf(const std::string& text, sockaddr_un& address) {
    if (unixAddressOf(text, address) != 0) {
        return 0;
    }
    if (text.front() == '@') {
        address.sun_path[0] = '\0';
    }
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + text.size());
}

}  // namespace

DatagramSender::Sent DatagramSender::send(std::string_view datagram) {
    sockaddr_un address{};
    const socklen_t octets = addressOf(address_, address);
    if (octets == 0) {
        return Sent::later;
    }
    if (!socket_) {
        socket_ = FileDescriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    }
    // Addressed anew each time: a socket that is connected would stay with one that is gone.
    const ssize_t sent =
        ::sendto(socket_.get(), datagram.data(), datagram.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                 reinterpret_cast<const sockaddr*>(&address), octets);
    if (sent >= 0) {
        return Sent::yes;
    }
    return errno == EMSGSIZE ? Sent::tooLong : Sent::later;
}

}  // namespace MrpAgent
