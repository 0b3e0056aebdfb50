#include "platform/packet/Pkt.h"

#include <cstring>
#include <stdexcept>

#include "platform/base/Assert.h"

namespace Platform {

void Pkt::refuse() {
    throw std::range_error("Pkt: past the end of the packet");
}

Pkt::Pkt(std::size_t capacity, std::size_t headRoom)
    : buffer_(new std::uint8_t[capacity]), capacity_(capacity), start_(headRoom) {
    require(headRoom <= capacity, "headRoom <= capacity");
}

Pkt::~Pkt() = default;

void Pkt::newSharedHeadData(std::size_t n) {
    require(n <= start_, "the packet has head room");
    start_ -= n;
    bytes_ += n;
    std::memset(data(), 0, n);
}

void Pkt::newSharedTailData(std::size_t n) {
    require(n <= capacity_ - start_ - bytes_, "the packet has tail room");
    std::memset(data() + bytes_, 0, n);
    bytes_ += n;
}

void Pkt::append(std::span<const std::uint8_t> bytes) {
    require(bytes.size() <= capacity_ - start_ - bytes_, "the packet has tail room");
    if (!bytes.empty()) {
        std::memcpy(data() + bytes_, bytes.data(), bytes.size());
        bytes_ += bytes.size();
    }
}

void Pkt::trim(std::size_t n) {
    require(n <= bytes_, "a packet is only cut shorter");
    bytes_ = n;
}

void Pkt::filled(std::size_t n) {
    require(n <= capacity_ - start_, "the packet has room");
    bytes_ = n;
}

}  // namespace Platform
