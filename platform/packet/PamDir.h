#pragma once

#include <optional>

#include "platform/packet/Pam.h"
#include "platform/state/Directory.h"

namespace Platform {

// The interfaces on which packet access is wanted. The value false keeps the entry without access.
class PamDesiredIntfDir final : public IntfDirectory<bool> {
  public:
    using Directory::Directory;

    void intfDesiredIs(IntfId intfId, bool desired) { valueIs(intfId, desired); }
    void intfDesiredDel(IntfId intfId) { valueDel(intfId); }
    std::optional<bool> intfDesired(IntfId intfId) const { return value(intfId); }
};

// The packet-access objects that exist, one an interface. Kept by an EthDevPamMan.
class EthDevPamCollection final : public IntfDirectory<Ptr<EthDevPam>> {
  public:
    using Directory::Directory;

    // Null when the interface has no packet access.
    EthDevPam* pam(IntfId intfId) const {
        const auto found = values().find(intfId);
        return found != values().end() ? found->second.get() : nullptr;
    }
};

}  // namespace Platform
