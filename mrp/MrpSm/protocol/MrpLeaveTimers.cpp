#include "mrp/MrpSm/protocol/MrpLeaveTimers.h"

#include <algorithm>

namespace Mrp {

MrpLeaveSm* MrpLeaveTimers::timer(const MrpAttribute& attribute) const {
    if (empty()) {
        return nullptr;
    }
    return const_cast<MrpLeaveTimers*>(this)->linkOf(attribute).get();
}

Ptr<MrpLeaveSm>& MrpLeaveTimers::linkOf(const MrpAttribute& attribute) {
    if (last_ != nullptr && (*last_)->attribute() == attribute) {
        return *last_;
    }
    Ptr<MrpLeaveSm>* link = &chainOf(attribute);
    while (*link && (*link)->attribute() != attribute) {
        link = &(*link)->next_;
    }
    if (*link) {
        last_ = link;
    }
    return *link;
}

void MrpLeaveTimers::insert(const Ptr<MrpLeaveSm>& timer) {
    constexpr std::size_t few = 8;
    if (size_ == chains_.size()) {
        chainsAre(std::max(few, 2 * chains_.size()));
    }
    Ptr<MrpLeaveSm>& chain = chainOf(timer->attribute());
    timer->next_ = std::exchange(chain, timer);
    last_ = &chain;
    ++size_;
}

Ptr<MrpLeaveSm> MrpLeaveTimers::erase(const MrpAttribute& attribute) {
    if (empty()) {
        return nullptr;
    }
    Ptr<MrpLeaveSm>& link = linkOf(attribute);
    if (!link) {
        return nullptr;
    }
    Ptr<MrpLeaveSm> timer = unlink(link);
    if (empty()) {
        chainsAre(0);
    }
    return timer;
}

void MrpLeaveTimers::chainsAre(std::size_t count) {
    last_ = nullptr;
    std::vector<Ptr<MrpLeaveSm>> before(count);
    before.swap(chains_);
    for (Ptr<MrpLeaveSm>& chain : before) {
        while (chain) {
            Ptr<MrpLeaveSm> timer = std::exchange(chain, nullptr);
            chain = std::exchange(timer->next_, nullptr);
            Ptr<MrpLeaveSm>& link = chainOf(timer->attribute());
            timer->next_ = std::exchange(link, timer);
        }
    }
}

MrpLeaveTimers::const_iterator MrpLeaveTimers::find(const MrpAttribute& attribute) const {
    MrpLeaveSm* found = timer(attribute);
    return found != nullptr ? const_iterator(*this, chains_.size(), found) : end();
}

MrpLeaveTimers::const_iterator MrpLeaveTimers::begin() const {
    return {*this, 0, nullptr};
}

MrpLeaveTimers::const_iterator MrpLeaveTimers::end() const {
    return {*this, chains_.size(), nullptr};
}

}  // namespace Mrp
