#pragma once

#include "agent/instance/Declaration.h"

namespace MrpAgent {

// What the node says of a VLAN on one port by itself.
struct OwnVlan {
    bool configured = false;
    bool configuredNew = false;
    bool fixed = false;
    bool forbidden = false;

    void add(const Declaration& declaration) {
        if (declaration.registration == Registration::forbidden) {
            forbidden = true;
            return;
        }
        configured = true;
        configuredNew = configuredNew || declaration.newEvent;
        fixed = fixed || declaration.registration == Registration::fixed;
    }
    bool operator==(const OwnVlan&) const = default;
};

}  // namespace MrpAgent
