#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/linux/FileDescriptor.h"

namespace MrpAgent {

// Sends datagrams to the Unix socket of another process and never waits for it. The other process
// may come later, and be replaced by another one at the same address.
class DatagramSender final {
  public:
    // `later`: its queue is full, or nobody is there; may be tried again. `tooLong`: no socket
    // takes it.
    enum class Sent { yes, later, tooLong };

    // A path, or '@' and an abstract name. To what cannot be an address nothing is ever sent.
    explicit DatagramSender(std::string address) : address_(std::move(address)) {}

    Sent send(std::string_view datagram);

  private:
    std::string address_;
    Platform::Linux::FileDescriptor socket_;  // made when first needed
};

}  // namespace MrpAgent
