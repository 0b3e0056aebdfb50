#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/linux/EpollActivityManager.h"
#include "platform/linux/PacketSocket.h"
#include "platform/packet/EthDev.h"

namespace Platform::Linux {

// Packet access through an AF_PACKET socket. Gives one readable notification a turn of the loop
// while frames wait; frames that nobody reacts to are thrown away.
//
// Survives its interface: link down and up needs nothing; when the interface goes, the socket is
// closed, and once a second the Pam looks whether one of that name is back. Frames sent meanwhile
// are lost and counted.
//
// A reactor that takes no frame when it is told of one leaves the frames in the socket (a standby
// engine does); it is told again ten times a second.
class LinuxEthDevPam final : public EthDevPam {
  public:
    struct Counters {
        std::uint64_t sent = 0;
        std::uint64_t sendFailures = 0;
        std::uint64_t received = 0;
        std::uint64_t receiveErrors = 0;  // errors of the socket, link down among them
        std::uint64_t discarded = 0;      // frames that came while nobody reacted
    };

    // Opens the socket. Throws as LinuxEthDev::open().
    LinuxEthDevPam(IntfId intfId, std::string interfaceName, EpollActivityManager& activityManager,
                   const EthDevPamParameters& parameters);
    ~LinuxEthDevPam() override;

    Ptr<Pkt> rxPkt() override;
    bool txPkt(const Ptr<Pkt>& pkt) override;
    bool hasDataOnSocket() const override;

    // Whether there is a socket; none while the interface is gone.
    bool open() const { return socket_.has_value(); }
    const Counters& counters() const { return counters_; }
    // Frames that the kernel dropped because the socket was full. Asks the kernel.
    std::uint64_t kernelDrops();

  private:
    void openSocket();
    void closeSocket();
    void listen();
    void listenAgain();
    void handleReadable();
    void handleFailure();
    void checkInterface();
    void reopen();

    std::string interfaceName_;
    EpollActivityManager& activityManager_;
    EthDevPamParameters parameters_;
    std::optional<PacketSocket> socket_;
    Counters counters_;
    std::uint64_t kernelDrops_ = 0;
    // Set while the interface is not up, or has gone.
    Alarm checkAlarm_;
    // Set while frames are left in the socket on purpose.
    Alarm listenAlarm_;
    bool asked_ = false;  // for a frame, since the last notification
};

}  // namespace Platform::Linux
