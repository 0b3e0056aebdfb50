#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/base/BigEndian.h"
#include "platform/base/Ptr.h"

namespace Platform {

// A packet buffer: bytes in one piece, with room before them (head room) into which a packet grows
// when lower-layer headers are written, and from which it shrinks as they are read.
//
// Reading and deleting past the end is refused with std::range_error; a reader of foreign data asks
// for bytes() first. Growing past the buffer is an assertion: the writer knows what it writes.
class Pkt final : public RefCounted {
  public:
    // A buffer of that many octets in all. The packet is empty and stands `headRoom` octets into
    // it.
    Pkt(std::size_t capacity, std::size_t headRoom);
    Pkt(const Pkt&) = delete;
    Pkt& operator=(const Pkt&) = delete;
    ~Pkt();

    std::size_t bytes() const { return bytes_; }
    // The bytes that lie in one piece at the head: here always all of them.
    std::size_t frontBytes() const { return bytes_; }
    std::uint8_t* data() { return buffer_.get() + start_; }
    const std::uint8_t* data() const { return buffer_.get() + start_; }
    std::span<const std::uint8_t> span() const { return {data(), bytes_}; }

    // The 16-bit number in network order at the offset.
    std::uint16_t be16(std::size_t offset) const {
        if (bytes_ < sizeof(std::uint16_t) || offset > bytes_ - sizeof(std::uint16_t)) {
            refuse();
        }
        return readBe16(data() + offset);
    }

    // Removes n bytes from the head.
    void delSharedHeadData(std::size_t n) {
        if (n > bytes_) {
            refuse();
        }
        start_ += n;
        bytes_ -= n;
    }
    // Adds n zero bytes at the head, out of the head room.
    void newSharedHeadData(std::size_t n);
    // Adds n zero bytes at the tail.
    void newSharedTailData(std::size_t n);
    // Adds a copy of the bytes at the tail.
    void append(std::span<const std::uint8_t> bytes);
    // Cuts the packet to its first n bytes.
    void trim(std::size_t n);

    // For a socket that reads straight into the buffer: the room behind the head, and how much of
    // it has been filled.
    std::span<std::uint8_t> room() { return {data(), capacity_ - start_}; }
    void filled(std::size_t n);

  private:
    [[noreturn]] static void refuse();

    std::unique_ptr<std::uint8_t[]> buffer_;
    std::size_t capacity_;
    std::size_t start_;
    std::size_t bytes_ = 0;
};

}  // namespace Platform
