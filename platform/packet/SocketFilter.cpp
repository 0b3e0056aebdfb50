#include "platform/packet/SocketFilter.h"

#include <cstddef>
#include <optional>

namespace Platform {

namespace {

constexpr std::uint32_t wholeFrame = UINT32_MAX;

std::optional<std::uint32_t> load(std::span<const std::uint8_t> frame, std::size_t offset,
                                  std::size_t octets) {
    if (frame.size() < octets || offset > frame.size() - octets) {
        return std::nullopt;
    }
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < octets; ++i) {
        value = value << 8U | frame[offset + i];
    }
    return value;
}

}  // namespace

std::uint32_t runSocketFilter(const SocketFilter& filter, std::span<const std::uint8_t> frame) {
    if (filter.empty()) {
        return wholeFrame;
    }
    std::uint32_t accumulator = 0;
    for (std::size_t pc = 0; pc < filter.size(); ++pc) {
        const SocketFilterInsn& insn = filter[pc];
        switch (insn.code) {
        case SocketFilterCode::loadWord:
        case SocketFilterCode::loadHalfWord: {
            const std::size_t octets = insn.code == SocketFilterCode::loadWord ? 4 : 2;
            const auto value = load(frame, insn.operand, octets);
            if (!value) {
                return 0;
            }
            accumulator = *value;
            break;
        }
        case SocketFilterCode::jumpEqual:
            pc += accumulator == insn.operand ? insn.jumpTrue : insn.jumpFalse;
            break;
        case SocketFilterCode::accept:
            return insn.operand;
        default:
            return 0;
        }
    }
    return 0;
}

}  // namespace Platform
