#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace Platform {

// One instruction of a classic Berkeley packet filter, laid out as the kernel's sock_filter.
struct SocketFilterInsn {
    std::uint16_t code;
    std::uint8_t jumpTrue;
    std::uint8_t jumpFalse;
    std::uint32_t operand;

    bool operator==(const SocketFilterInsn&) const = default;
};

// The codes in use: load a word or half word at an absolute offset into the accumulator, jump on
// equality with the operand, accept that many octets (0 drops the frame).
namespace SocketFilterCode {
inline constexpr std::uint16_t loadWord = 0x20;      // BPF_LD | BPF_W | BPF_ABS
inline constexpr std::uint16_t loadHalfWord = 0x28;  // BPF_LD | BPF_H | BPF_ABS
inline constexpr std::uint16_t jumpEqual = 0x15;     // BPF_JMP | BPF_JEQ | BPF_K
inline constexpr std::uint16_t accept = 0x06;        // BPF_RET | BPF_K
}  // namespace SocketFilterCode

using SocketFilter = std::vector<SocketFilterInsn>;

// Runs the filter over a frame as the kernel would, for sockets without one: how many octets of the
// frame it accepts. A load past the end, an unknown code or a jump out of the program drops the
// frame. An empty filter accepts everything.
std::uint32_t runSocketFilter(const SocketFilter& filter, std::span<const std::uint8_t> frame);

}  // namespace Platform
