#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>

#include "mrp/MrpSm/types/ValueIndex.h"

namespace Mrp {

// Up to 65 octets in a ring: a value can be stored by index, or appended and taken as a queue.
class ArrayQueue {
  public:
    static constexpr std::size_t capacity = ValueIndex::max + 1;

    // Where the queue begins in the ring and how many octets it holds.
    struct Metadata {
        std::uint8_t head = 0;
        std::uint8_t count = 0;

        bool operator==(const Metadata&) const = default;
    };

    const Metadata& metadata() const { return metadata_; }
    std::size_t size() const { return metadata_.count; }
    // The octet at an index counted from the head; 0 behind the end.
    std::uint8_t octet(ValueIndex index) const {
        return index.value() < metadata_.count ? octets_[place(index.value())] : std::uint8_t{0};
    }

    // Stores at an index; octets between the end and it become 0.
    void octetIs(ValueIndex index, std::uint8_t octet) {
        while (metadata_.count <= index.value()) {
            octets_[place(metadata_.count++)] = 0;
        }
        octets_[place(index.value())] = octet;
    }
    // Throws std::range_error when 65 octets are held.
    void enq(std::uint8_t octet) {
        if (metadata_.count == capacity) {
            throw std::range_error("ArrayQueue full");
        }
        octets_[place(metadata_.count++)] = octet;
    }
    // Removes the head; nothing happens to an empty queue.
    void deq() {
        if (metadata_.count > 0) {
            metadata_.head = static_cast<std::uint8_t>(place(1));
            --metadata_.count;
        }
    }
    // Removes the octet at an index; those behind it move up.
    void del(ValueIndex index) {
        if (index.value() >= metadata_.count) {
            return;
        }
        for (std::size_t i = index.value(); i + 1 < metadata_.count; ++i) {
            octets_[place(i)] = octets_[place(i + 1)];
        }
        --metadata_.count;
    }
    void delAll() { metadata_ = {}; }

    // Becomes a copy of the octets, at most 65, from the head on.
    void assign(std::span<const std::uint8_t> octets) {
        if (octets.size() > capacity) {
            throw std::range_error("ArrayQueue full");
        }
        metadata_ = {0, static_cast<std::uint8_t>(octets.size())};
        std::copy(octets.begin(), octets.end(), octets_.begin());
    }
    // Copies the first octets out, as many as the target takes; 0 behind the end.
    void copyTo(std::span<std::uint8_t> target) const {
        if (metadata_.head == 0 && target.size() <= metadata_.count) {
            std::copy_n(octets_.begin(), target.size(), target.begin());
            return;
        }
        for (std::size_t i = 0; i < target.size(); ++i) {
            target[i] = i < metadata_.count ? octets_[place(i)] : std::uint8_t{0};
        }
    }

  private:
    std::size_t place(std::size_t index) const {
        const std::size_t at = metadata_.head + index;
        return at < capacity ? at : at - capacity;
    }

    Metadata metadata_;
    std::array<std::uint8_t, capacity> octets_;  // only the first `count` from the head are set
};

}  // namespace Mrp
