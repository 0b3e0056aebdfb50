#pragma once

#include "agent/propagation/PortSet.h"

namespace MrpAgent {

// What a propagation knows of one VLAN, by port.
struct VlanState {
    PortSet registered;  // by neighbours
    // What the node says by itself.
    PortSet fixed;
    PortSet forbidden;
    PortSet configured;
    PortSet configuredNew;  // those of them whose declaration begins as New
    // What was requested of the application.
    PortSet declared;
    // Where a join was New since the VLAN was worked off, and where declarations are to be New.
    PortSet newFrom;
    PortSet newOn;
    bool touched = false;  // waits to be worked off

    // Where it is registered in effect; the ports whose member set it is in (clause 8.8.10).
    PortSet::Word members(std::size_t index) const {
        return (registered.word(index) | fixed.word(index)) & ~forbidden.word(index);
    }
    bool member(PortSet::Slot slot) const {
        return (members(PortSet::wordOf(slot)) & PortSet::bitOf(slot)) != 0;
    }
};

}  // namespace MrpAgent
