#pragma once

#include <bit>
#include <cstddef>

#include "agent/propagation/PortSet.h"

namespace MrpAgent {

// Where what is registered on a set of ports is propagated to: from every one of them to every
// other port (clause 10.3). From one port that is everywhere but there; from more, everywhere.
class Reach {
  public:
    // The sources in the words of a set, in any order.
    void add(std::size_t index, PortSet::Word sources) {
        if (sources != 0) {
            sources_ += std::popcount(sources);
            lastIndex_ = index;
            lastWord_ = sources;
        }
    }

    PortSet::Word word(std::size_t index) const {
        if (sources_ == 0) {
            return 0;
        }
        return sources_ == 1 && index == lastIndex_ ? ~lastWord_ : ~PortSet::Word{0};
    }

  private:
    int sources_ = 0;
    std::size_t lastIndex_ = 0;
    PortSet::Word lastWord_ = 0;
};

}  // namespace MrpAgent
