#pragma once

#include <pcap/pcap.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "mrp/MrpSm/types/MrpEnums.h"
#include "platform/base/EthAddr.h"
#include "platform/base/Seconds.h"

namespace MrpLab {

// A frame that carries an MRPDU: sent to the group address of an application, with its EtherType,
// untagged or behind one 802.1Q tag.
struct MrpFrame {
    Mrp::MrpApplication application;
    Platform::EthAddr source;
    std::optional<std::uint16_t> vlan;     // of the tag
    std::span<const std::uint8_t> octets;  // from the destination address on
    std::span<const std::uint8_t> pdu;     // from the protocol version on
};

// Nothing for any other frame.
std::optional<MrpFrame> mrpFrameOf(std::span<const std::uint8_t> octets);

// The frames of a capture file, in any format that libpcap reads. Throws std::runtime_error, which
// names the file, when it cannot be read or is no capture of Ethernet.
class CaptureReader {
  public:
    struct Frame {
        std::int64_t nanoseconds;              // since the epoch
        std::span<const std::uint8_t> octets;  // as far as captured; until the next frame is read
    };

    explicit CaptureReader(std::string fileName);

    // The next frame; nothing at the end of the file.
    std::optional<Frame> next();

  private:
    std::string fileName_;
    std::unique_ptr<pcap_t, void (*)(pcap_t*)> pcap_;
};

}  // namespace MrpLab
