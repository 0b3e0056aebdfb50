#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "agent/instance/MrpInstance.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"

namespace MrpFuzz {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::size_t ethHeaderSize = 14;

// A frame of the application from a neighbour, with these octets behind the Ethernet header.
Bytes frameOf(Mrp::MrpApplication application, std::span<const std::uint8_t> pdu);

// What the decoder of captures says of an MRPDU.
bool decoderRefuses(Mrp::MrpApplication application, std::span<const std::uint8_t> pdu);

// What is left of a frame once it has been processed: nothing, when the text is empty.
std::string leftOfFrame(Mrp::MrpSm& mrpSm);

// An engine that parses what another one sends. It applies nothing of it, and so is the same for
// every frame.
class FrameJudge {
  public:
    explicit FrameJudge(Mrp::MrpApplication application);

    // Ends the process when a neighbour could not read the frame, or a port not send it.
    void check(std::span<const std::uint8_t> frame);

  private:
    bool parserRefuses(std::span<const std::uint8_t> pdu);

    Mrp::MrpApplication application_;
    Platform::Virtual::VirtualActivityManager manager_;
    std::unique_ptr<MrpAgent::MrpInstance> instance_;
};

}  // namespace MrpFuzz
