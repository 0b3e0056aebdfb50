#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/linux/FileDescriptor.h"
#include "platform/packet/EthDev.h"

namespace Platform::Linux {

// A non-blocking AF_PACKET socket, bound to one interface of the thread's network namespace.
class PacketSocket final {
  public:
    // Sets the socket up so that no frame gets in that the filter has not seen, nor one that was
    // sent by this host. Throws std::system_error that names the step and the interface.
    PacketSocket(const std::string& interfaceName, const EthDevPamParameters& parameters);

    int fd() const { return socket_.get(); }

    // How the socket and the interface of that name stand to each other.
    enum class Attachment {
        running,  // bound to it, and it is up
        down,     // bound to it, and it is down: frames flow again by themselves once it is up
        lost,     // there is none of that name, or it is another one than when the socket was bound
    };
    Attachment attachment() const;

    // The outcome of reading: a packet, or null with what the kernel said (0 for a frame that is
    // not for us). EAGAIN: no frame waits. Other errors are consumed by being read.
    struct Received {
        Ptr<Pkt> pkt;
        int error;
    };
    Received receive();

    // 0, or the error.
    int send(const Pkt& pkt) const;

    // Whether a frame waits.
    bool readable() const;
    // Takes the socket's pending error; 0 without one.
    int takeError() const;
    // Throws the oldest frame away.
    void discard() const;
    // Frames that the socket had no room for since this was last asked.
    std::uint64_t takeDrops() const;

  private:
    void optionIs(int level, int option, const void* value, std::size_t octets, const char* step);

    std::string interfaceName_;
    std::size_t maxFrameOctets_;
    FileDescriptor socket_;
};

}  // namespace Platform::Linux
