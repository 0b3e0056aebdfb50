#include "platform/packet/PktManager.h"

#include <new>
#include <stdexcept>

namespace Platform {

namespace {
// Enough for an Ethernet header with tag and what a protocol puts between it and its first message.
constexpr std::size_t headRoom = 64;
}  // namespace

PktManager& PktManager::instance() {
    static PktManager manager;
    return manager;
}

Ptr<Pkt> PktManager::newPkt(std::size_t bytes) {
    if (bytes > maxPktBytes_) {
        return nullptr;
    }
    try {
        return makePtr<Pkt>(headRoom + bytes, headRoom);
    } catch (const std::bad_alloc&) {
        return nullptr;
    } catch (const std::range_error&) {  // no memory for the object itself
        return nullptr;
    }
}

Ptr<Pkt> PktManager::newPkt(std::span<const std::uint8_t> bytes) {
    Ptr<Pkt> pkt = newPkt(bytes.size());
    if (pkt) {
        pkt->append(bytes);
    }
    return pkt;
}

}  // namespace Platform
