#pragma once

#include <functional>

#include "mrp/MrpSm/root/MrpLib.h"

namespace MrpFuzz {

// A library object whose indications do what the input says.
class FuzzLib final : public Mrp::MrpLib {
  public:
    bool mrpJoinIndication(const Mrp::MrpParameters&) override {
        return onIndication && onIndication();
    }
    void mrpLeaveIndication(const Mrp::MrpParameters&) override {
        if (onIndication) {
            onIndication();
        }
    }

    std::function<bool()> onIndication;  // true discards a join
};

}  // namespace MrpFuzz
