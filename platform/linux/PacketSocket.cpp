#include "platform/linux/PacketSocket.h"

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/base/BigEndian.h"
#include "platform/packet/PktManager.h"

namespace Platform::Linux {

namespace {

constexpr std::size_t addressOctets = 12;  // destination and source, before type or tag
constexpr std::size_t tagOctets = 4;       // IEEE 802.1Q clause 9.3
constexpr std::uint16_t customerTagType = 0x8100;

ifreq requestFor(const std::string& interfaceName) {
    ifreq request{};
    interfaceName.copy(request.ifr_name, sizeof(request.ifr_name) - 1);
    return request;
}

std::vector<sock_filter> kernelFilter(const SocketFilter& filter) {
    std::vector<sock_filter> program;
    program.reserve(filter.size());
    for (const SocketFilterInsn& insn : filter) {
        program.push_back({insn.code, insn.jumpTrue, insn.jumpFalse, insn.operand});
    }
    return program;
}

// Puts the tag back where it was on the wire; the kernel hands it over beside the frame.
void restoreTag(Pkt& pkt, const tpacket_auxdata& auxiliary) {
    if ((auxiliary.tp_status & TP_STATUS_VLAN_VALID) == 0 || pkt.bytes() < addressOctets) {
        return;
    }
    pkt.newSharedHeadData(tagOctets);
    std::memmove(pkt.data(), pkt.data() + tagOctets, addressOctets);
    const bool typeGiven = (auxiliary.tp_status & TP_STATUS_VLAN_TPID_VALID) != 0;
    writeBe16(pkt.data() + addressOctets, typeGiven ? auxiliary.tp_vlan_tpid : customerTagType);
    writeBe16(pkt.data() + addressOctets + sizeof(std::uint16_t), auxiliary.tp_vlan_tci);
}

tpacket_auxdata auxiliaryData(msghdr& message) {
    tpacket_auxdata auxiliary{};
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level == SOL_PACKET && header->cmsg_type == PACKET_AUXDATA) {
            std::memcpy(&auxiliary, CMSG_DATA(header), sizeof(auxiliary));
        }
    }
    return auxiliary;
}

}  // namespace

PacketSocket::PacketSocket(const std::string& interfaceName, const EthDevPamParameters& parameters)
    : interfaceName_(interfaceName) {
    const std::size_t maxPktOctets = PktManager::instance().maxPktBytes();
    maxFrameOctets_ = parameters.maxRxPktData == 0
                          ? maxPktOctets
                          : std::min(parameters.maxRxPktData, maxPktOctets);
    // Of protocol 0 the socket gets nothing until it is bound.
    socket_ =
        FileDescriptor(checked(::socket(AF_PACKET, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, 0),
                               interfaceName_ + ": opening a packet socket"));
    if (interfaceName_.size() >= IFNAMSIZ) {  // cut, it could name another interface
        throw std::system_error(ENODEV, std::generic_category(), interfaceName_);
    }
    ifreq request = requestFor(interfaceName_);
    checked(::ioctl(socket_.get(), SIOCGIFINDEX, &request),
            interfaceName_ + ": looking up the interface");
    if (!parameters.filter.empty()) {
        std::vector<sock_filter> program = kernelFilter(parameters.filter);
        const sock_fprog description{static_cast<unsigned short>(program.size()), program.data()};
        optionIs(SOL_SOCKET, SO_ATTACH_FILTER, &description, sizeof(description),
                 "attaching the filter");
    }
    const int on = 1;
    // Kernels without the option hand outgoing frames over marked as such; see receive().
    static_cast<void>(
        ::setsockopt(socket_.get(), SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof(on)));
    optionIs(SOL_PACKET, PACKET_AUXDATA, &on, sizeof(on), "asking for VLAN tags");
    if (parameters.listenAddr != EthAddr()) {
        packet_mreq membership{};
        membership.mr_ifindex = request.ifr_ifindex;
        membership.mr_type = PACKET_MR_MULTICAST;
        membership.mr_alen = static_cast<unsigned short>(parameters.listenAddr.octets().size());
        std::ranges::copy(parameters.listenAddr.octets(), membership.mr_address);
        optionIs(SOL_PACKET, PACKET_ADD_MEMBERSHIP, &membership, sizeof(membership),
                 "joining the group");
    }
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(parameters.ethProtocol);
    address.sll_ifindex = request.ifr_ifindex;
    checked(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
            interfaceName_ + ": binding to the interface");
}

void PacketSocket::optionIs(int level, int option, const void* value, std::size_t octets,
                            const char* step) {
    checked(::setsockopt(socket_.get(), level, option, value, static_cast<socklen_t>(octets)),
            interfaceName_ + ": " + step);
}

PacketSocket::Attachment PacketSocket::attachment() const {
    // The kernel sets the socket's own index to -1 when its interface goes, so that one that comes
    // with the same number is not taken for it.
    sockaddr_ll bound{};
    socklen_t octets = sizeof(bound);
    ifreq request = requestFor(interfaceName_);
    if (::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&bound), &octets) < 0 ||
        ::ioctl(socket_.get(), SIOCGIFINDEX, &request) < 0 ||
        request.ifr_ifindex != bound.sll_ifindex) {
        return Attachment::lost;
    }
    if (::ioctl(socket_.get(), SIOCGIFFLAGS, &request) < 0) {
        return Attachment::lost;
    }
    return (request.ifr_flags & IFF_UP) != 0 ? Attachment::running : Attachment::down;
}

PacketSocket::Received PacketSocket::receive() {
    Ptr<Pkt> pkt = PktManager::instance().newPkt(maxFrameOctets_);
    if (!pkt) {
        discard();
        return {nullptr, ENOMEM};
    }
    sockaddr_ll source{};
    iovec data{pkt->room().data(), maxFrameOctets_};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(tpacket_auxdata))];
    msghdr message{};
    message.msg_name = &source;
    message.msg_namelen = sizeof(source);
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    const ssize_t octets = ::recvmsg(socket_.get(), &message, 0);
    if (octets < 0) {
        return {nullptr, errno};
    }
    if (source.sll_pkttype == PACKET_OUTGOING) {
        return {nullptr, 0};
    }
    pkt->filled(static_cast<std::size_t>(octets));
    restoreTag(*pkt, auxiliaryData(message));
    if (pkt->bytes() > maxFrameOctets_) {
        pkt->trim(maxFrameOctets_);
    }
    return {std::move(pkt), 0};
}

int PacketSocket::send(const Pkt& pkt) const {
    ssize_t sent = 0;
    do {
        sent = ::send(socket_.get(), pkt.data(), pkt.bytes(), 0);
    } while (sent < 0 && errno == EINTR);
    return sent < 0 ? errno : 0;
}

bool PacketSocket::readable() const {
    pollfd poll{socket_.get(), POLLIN, 0};
    return ::poll(&poll, 1, 0) > 0 && (poll.revents & POLLIN) != 0;
}

int PacketSocket::takeError() const {
    int error = 0;
    socklen_t octets = sizeof(error);
    return ::getsockopt(socket_.get(), SOL_SOCKET, SO_ERROR, &error, &octets) < 0 ? errno : error;
}

void PacketSocket::discard() const {
    static_cast<void>(::recv(socket_.get(), nullptr, 0, MSG_TRUNC));
}

std::uint64_t PacketSocket::takeDrops() const {
    tpacket_stats statistics{};
    socklen_t octets = sizeof(statistics);
    if (::getsockopt(socket_.get(), SOL_PACKET, PACKET_STATISTICS, &statistics, &octets) < 0) {
        return 0;
    }
    return statistics.tp_drops;
}

}  // namespace Platform::Linux
