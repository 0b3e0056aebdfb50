#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace MrpFuzz {

// The octets of one input, read front to back: so an octet that is put in or cut out changes what
// comes behind it and nothing before.
class Input {
  public:
    explicit Input(std::span<const std::uint8_t> octets) : octets_(octets) {}

    bool empty() const { return octets_.empty(); }
    // 0 behind the end.
    std::uint8_t octet() {
        const auto taken = octets(1);
        return taken.empty() ? std::uint8_t{0} : taken.front();
    }
    // As many as there are.
    std::span<const std::uint8_t> octets(std::size_t count) {
        const auto taken = octets_.first(std::min(count, octets_.size()));
        octets_ = octets_.subspan(taken.size());
        return taken;
    }
    // One of the entries of a table.
    template <class Table>
    auto pick(const Table& table) {
        return table[octet() % std::size(table)];
    }

  private:
    std::span<const std::uint8_t> octets_;
};

}  // namespace MrpFuzz
