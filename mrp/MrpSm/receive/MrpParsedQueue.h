#pragma once

#include <cstdint>
#include <optional>

#include "mrp/MrpSm/receive/MrpParsedAttributes.h"

namespace Mrp {

// The values of the PDU in hand in the order in which they came: those of MSRP Domains, or all
// others. Empty as soon as the collection is; rewound for the next PDU by whoever empties that.
class MrpParsedQueue {
  public:
    MrpParsedQueue(const MrpParsedAttributes& parsed, bool domains)
        : parsed_(parsed), domains_(domains) {}
    MrpParsedQueue(const MrpParsedQueue&) = delete;
    MrpParsedQueue& operator=(const MrpParsedQueue&) = delete;

    bool empty() {
        settle();
        return head_.vector >= parsed_.vectors().size();
    }
    // The next value; there is one.
    const MrpParsedPlace& head() const { return head_; }
    const MrpParsedVector& headVector() const { return parsed_.vectors()[head_.vector]; }
    // Takes all values before a place.
    void headIs(const MrpParsedPlace& place) { head_ = place; }
    std::optional<MrpParsedPlace> deq() {
        if (empty()) {
            return std::nullopt;
        }
        const MrpParsedPlace place = head_;
        ++head_.value;
        return place;
    }
    void rewind() { head_ = {}; }

  private:
    // Goes on to the vector that has the next value.
    void settle() {
        const auto& vectors = parsed_.vectors();
        while (head_.vector < vectors.size() && (vectors[head_.vector].isDomain() != domains_ ||
                                                 head_.value >= vectors[head_.vector].values)) {
            head_ = {head_.vector + 1, 0};
        }
    }

    const MrpParsedAttributes& parsed_;
    bool domains_;
    MrpParsedPlace head_;
};

}  // namespace Mrp
