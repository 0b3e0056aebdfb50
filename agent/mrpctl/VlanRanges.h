#pragma once

#include <string>

namespace MrpCtl {

// Rising VLANs as text: "10-20,30".
class VlanRanges final {
  public:
    // Longer text would widen the column for all lines.
    static constexpr std::size_t maxSize = 40;

    explicit VlanRanges(unsigned vlan) : begin_(vlan), end_(vlan) {}

    // False, and nothing is changed, when the VLAN is no higher than the last one or the text would
    // become longer than maxSize.
    bool add(unsigned vlan) {
        VlanRanges next = *this;
        if (vlan <= end_) {
            return false;
        }
        if (vlan != end_ + 1) {
            next.closed_ = text() + ',';
            next.begin_ = vlan;
        }
        next.end_ = vlan;
        if (next.text().size() > maxSize) {
            return false;
        }
        *this = next;
        return true;
    }
    std::string text() const {
        const std::string begin = closed_ + std::to_string(begin_);
        return begin_ == end_ ? begin : begin + '-' + std::to_string(end_);
    }

  private:
    std::string closed_;  // the ranges before, with their comma
    unsigned begin_;
    unsigned end_;
};

}  // namespace MrpCtl
