#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

#include "agent/propagation/PortSet.h"
#include "platform/base/IntfId.h"

namespace MrpAgent {

// The ports of a propagation and their slot numbers: the lowest that are free.
class PortSlots {
  public:
    using Slot = PortSet::Slot;

    // The port is not there yet.
    Slot portIs(Platform::IntfId port) {
        Slot slot = 0;
        while (slot < slots_.size() && !slots_[slot].empty()) {
            ++slot;
        }
        if (slot == slots_.size()) {
            slots_.emplace_back();
        }
        byPort_.emplace(port, slot);
        slots_[slot] = port;
        return slot;
    }
    void portDel(Platform::IntfId port) {
        const auto found = byPort_.find(port);
        slots_[found->second] = Platform::IntfId();
        byPort_.erase(found);
    }

    std::optional<Slot> slot(Platform::IntfId port) const {
        const auto found = byPort_.find(port);
        return found != byPort_.end() ? std::optional(found->second) : std::nullopt;
    }
    Platform::IntfId port(Slot slot) const { return slots_[slot]; }
    const std::map<Platform::IntfId, Slot>& byPort() const { return byPort_; }

    // How many words of a PortSet there are slots for.
    std::size_t words() const {
        return (slots_.size() + PortSet::wordSlots - 1) / PortSet::wordSlots;
    }

  private:
    std::map<Platform::IntfId, Slot> byPort_;
    std::vector<Platform::IntfId> slots_;  // empty: free
};

}  // namespace MrpAgent
