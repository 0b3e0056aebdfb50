#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace MrpBench {

using Frame = std::vector<std::uint8_t>;

inline constexpr std::uint16_t firstVlan = 1;
inline constexpr std::uint16_t vlans = 4094;
inline constexpr std::size_t ethHeaderOctets = 14;
// What an Ethernet frame carries at the most.
inline constexpr std::size_t maxPduOctets = 1500;

// A whole MVRP frame with one vector: JoinIn for all 4094 VLANs.
Frame fullMvrpFrame();
// The same, with the LeaveAll event in the vector's header and another source address.
Frame fullMvrpLeaveAllFrame(std::uint8_t lastOctetOfSource);
// A LeaveAll in each of so many vectors without values.
Frame emptyLeaveAllFrame(std::size_t vectors);
// One event for one VLAN.
Frame oneVlanFrame(std::uint16_t vlan, std::uint8_t attributeEvent);

// Consecutive Stream IDs.
struct StreamRun {
    std::uint64_t first;
    std::uint16_t values;
};
// That many Stream IDs in runs of the given length (the last one may be shorter), which begin at
// random numbers: the same ones at every call, and no two runs overlap.
std::vector<StreamRun> streamRuns(std::size_t streams, std::uint16_t perRun);
// A vector for each run of listeners that are ready, with one event for all, in as few MSRP frames
// as it takes.
std::vector<Frame> listenerFrames(const std::vector<StreamRun>& runs, std::uint8_t attributeEvent);

}  // namespace MrpBench
