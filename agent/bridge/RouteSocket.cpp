#include "agent/bridge/RouteSocket.h"

#include <libmnl/libmnl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>

namespace MrpAgent {

namespace {

using Platform::Linux::checked;

// A dump comes in pieces, of up to 32 KiB or, where that is more, of what the kernel has to say of
// one link: eight octets a VLAN at the most.
constexpr std::size_t bufferOctets = 65536;

std::system_error kernelError(int error, const char* step) {
    return {error, std::generic_category(), step};
}

}  // namespace

nlmsghdr* putLinkHeader(void* buffer, int type, int flags, std::uint8_t family, int index) {
    nlmsghdr* message = mnl_nlmsg_put_header(buffer);
    message->nlmsg_type = static_cast<std::uint16_t>(type);
    message->nlmsg_flags = static_cast<std::uint16_t>(flags | NLM_F_REQUEST);
    auto* header = static_cast<ifinfomsg*>(mnl_nlmsg_put_extra_header(message, sizeof(ifinfomsg)));
    header->ifi_family = family;
    header->ifi_index = index;
    return message;
}

RouteSocket::RouteSocket()
    : fd_(checked(::socket(AF_NETLINK, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, NETLINK_ROUTE),
                  "opening a netlink socket")),
      buffer_(bufferOctets) {
    // Errors come without the message that they are about.
    const int on = 1;
    checked(::setsockopt(fd_.get(), SOL_NETLINK, NETLINK_CAP_ACK, &on, sizeof(on)),
            "setting up a netlink socket");
}

void RouteSocket::send(nlmsghdr& message) {
    message.nlmsg_seq = ++sequence_;
    disturbed_ = false;
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    checked(::sendto(fd_.get(), &message, message.nlmsg_len, 0,
                     reinterpret_cast<const sockaddr*>(&kernel), sizeof(kernel)),
            "asking the kernel for its interfaces");
}

void RouteSocket::sendLinkDump(std::uint8_t family) {
    alignas(nlmsghdr) std::array<char, 128> buffer{};
    nlmsghdr* message = putLinkHeader(buffer.data(), RTM_GETLINK, NLM_F_DUMP, family, 0);
    mnl_attr_put_u32(message, IFLA_EXT_MASK,
                     family == AF_BRIDGE ? RTEXT_FILTER_BRVLAN_COMPRESSED
                                         : RTEXT_FILTER_SKIP_STATS);
    send(*message);
}

RouteSocket::Answer RouteSocket::receive(const Take& take) {
    while (true) {
        sockaddr_nl from{};
        socklen_t fromLength = sizeof(from);
        const ssize_t octets = ::recvfrom(fd_.get(), buffer_.data(), buffer_.size(), MSG_TRUNC,
                                          reinterpret_cast<sockaddr*>(&from), &fromLength);
        if (octets < 0) {
            if (errno == EAGAIN) {
                return Answer::incomplete;
            }
            if (errno == EINTR) {
                continue;
            }
            throw kernelError(errno, "reading the kernel's interfaces");
        }
        if (static_cast<std::size_t>(octets) > buffer_.size()) {
            throw kernelError(EMSGSIZE, "reading the kernel's interfaces");
        }
        if (from.nl_pid != 0) {
            continue;  // of some other process
        }
        int left = static_cast<int>(octets);
        for (const auto* message = reinterpret_cast<const nlmsghdr*>(buffer_.data());
             mnl_nlmsg_ok(message, left); message = mnl_nlmsg_next(message, &left)) {
            if (message->nlmsg_seq == sequence_ && handleMessage(*message, take)) {
                return disturbed_ ? Answer::disturbed : Answer::complete;
            }
        }
    }
}

// Tells whether it was the last message of the answer.
bool RouteSocket::handleMessage(const nlmsghdr& message, const Take& take) {
    disturbed_ |= (message.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
    if (message.nlmsg_type != NLMSG_ERROR && message.nlmsg_type != NLMSG_DONE) {
        take(message);
        return false;
    }
    // Both bring an error number, a negative one; 0 says that all is well.
    int error = 0;
    if (mnl_nlmsg_get_payload_len(&message) >= sizeof(error)) {
        std::memcpy(&error, mnl_nlmsg_get_payload(&message), sizeof(error));
    }
    if (error < 0) {
        throw kernelError(-error, "the kernel's answer about its interfaces");
    }
    return true;
}

bool RouteSocket::wait(Platform::Seconds span) const {
    pollfd ready{fd_.get(), POLLIN, 0};
    return ::poll(&ready, 1, static_cast<int>(span * 1000)) > 0;
}

}  // namespace MrpAgent
