#pragma once

#include <cstdint>
#include <vector>

#include "agent/instance/MrpInstance.h"
#include "platform/virtual/VirtualActivityManager.h"
#include "platform/virtual/VirtualEthDev.h"

namespace MrpBench {

inline constexpr std::uint16_t firstVlan = 1;
inline constexpr std::uint16_t vlans = 4094;

// The packed events of JoinIn for that many values.
std::vector<std::uint8_t> packedJoinIn(std::uint16_t values);
// A whole MVRP frame with one vector: JoinIn for all 4094 VLANs.
std::vector<std::uint8_t> fullMvrpFrame();

// An MVRP engine with one interface in virtual time; nothing is logged.
class BenchNode {
  public:
    BenchNode();
    ~BenchNode();

    // Puts the frame into the socket and has it processed.
    void receive(const std::vector<std::uint8_t>& frame);
    std::size_t registered() const;

    Platform::Virtual::VirtualActivityManager activityManager;
    Platform::IntfId intfId{"bench1"};

  private:
    Platform::Ptr<Platform::Virtual::VirtualEthDev> dev_;
    std::unique_ptr<MrpAgent::MrpInstance> instance_;
};

}  // namespace MrpBench
