#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace MrpBench {

// States by Stream ID in one array with open addressing, at most half full: a slot is the key and
// two octets. It never grows, and forgets nothing.
class FlatTable {
  public:
    struct Slot {
        std::uint64_t key = 0;
        std::uint8_t state = free;
        std::uint8_t declaration = 0;
    };

    explicit FlatTable(std::size_t keys)
        : slots_(std::bit_ceil(2 * keys)),
          shift_(64U - static_cast<unsigned>(std::countr_zero(slots_.size()))) {}

    // The slot of the key, or the free one where it belongs.
    Slot& slot(std::uint64_t key) {
        constexpr std::uint64_t golden = 0x9e3779b97f4a7c15ULL;  // 2^64 over the golden ratio
        std::size_t at = static_cast<std::size_t>((key * golden) >> shift_);
        while (slots_[at].state != free && slots_[at].key != key) {
            at = (at + 1) & (slots_.size() - 1);
        }
        return slots_[at];
    }

    static constexpr std::uint8_t free = 0xff;

  private:
    std::vector<Slot> slots_;
    unsigned shift_;
};

}  // namespace MrpBench
