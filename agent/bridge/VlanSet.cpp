#include "agent/bridge/VlanSet.h"

namespace MrpAgent {

namespace {

constexpr std::size_t shownRanges = 8;

}  // namespace

void eachRange(const VlanSet& vlans,
               const std::function<void(std::uint16_t, std::uint16_t)>& each) {
    std::uint16_t vlan = 0;
    while (vlan < vlans.size()) {
        if (!vlans.test(vlan)) {
            ++vlan;
            continue;
        }
        const std::uint16_t first = vlan;
        while (vlan < vlans.size() && vlans.test(vlan)) {
            ++vlan;
        }
        each(first, static_cast<std::uint16_t>(vlan - 1));
    }
}

std::string stringValue(const VlanSet& vlans) {
    std::string text;
    std::size_t shown = 0;
    eachRange(vlans, [&](std::uint16_t first, std::uint16_t last) {
        ++shown;
        if (shown > shownRanges) {
            return;
        }
        text += (text.empty() ? "" : ", ") + std::to_string(first);
        text += first == last ? "" : "-" + std::to_string(last);
    });
    return text + (shown > shownRanges ? ", …" : "");
}

}  // namespace MrpAgent
