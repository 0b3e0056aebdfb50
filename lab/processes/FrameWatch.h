#pragma once

#include <chrono>
#include <optional>

#include "agent/instance/MrpInstance.h"
#include "mrp/MrpSm/root/MrpSocketFilter.h"
#include "platform/linux/EpollActivityManager.h"
#include "platform/linux/PacketSocket.h"

namespace MrpLab {

// Watches for MVRPDUs that come in at the end "va" of the cable, beside whoever receives them.
class FrameWatch {
  public:
    using Clock = std::chrono::steady_clock;

    explicit FrameWatch(Platform::Linux::EpollActivityManager& manager) : manager_(manager) {
        manager_.descriptorIs(socket_.fd(), [this] { look(); });
    }
    ~FrameWatch() { manager_.descriptorDel(socket_.fd()); }

    // Takes in what has come. The loop does it too.
    void look() {
        while (socket_.readable()) {
            const auto pkt = socket_.receive().pkt;
            if (pkt && !first && hasValues(pkt->span())) {
                first = Clock::now();
            }
        }
    }
    // Forgets what has come by now.
    void startAnew() {
        look();
        first.reset();
    }

    std::optional<Clock::time_point> first;  // when the first one with values was seen since

  private:
    // Whether a vector of the MVRPDU (IEEE 802.1Q clause 10.8.1.2) has values; those without are
    // LeaveAlls.
    static bool hasValues(std::span<const std::uint8_t> frame) {
        constexpr std::size_t firstVector = 14 + 3;  // behind Ethernet, version, type, length
        constexpr std::size_t vectorOctets = 2 + 2;  // without values
        for (std::size_t at = firstVector; at + 1 < frame.size(); at += vectorOctets) {
            const unsigned header = frame[at] * 256U + frame[at + 1];
            const unsigned numberOfValues = header & 0x1fffU;
            if (header == 0 || numberOfValues != 0) {
                return numberOfValues != 0;
            }
        }
        return false;
    }
    static Platform::EthDevPamParameters parameters() {
        constexpr auto mvrp = Mrp::MrpApplication::mvrp;
        const auto group = MrpAgent::groupAddr(mvrp);
        const std::uint16_t type = MrpAgent::etherType(mvrp);
        return {type, group, Mrp::mrpSocketFilter(group, type), 0};
    }

    Platform::Linux::EpollActivityManager& manager_;
    Platform::Linux::PacketSocket socket_{"va", parameters()};
};

}  // namespace MrpLab
