#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "mrp/MrpSm/protocol/MrpLeaveSm.h"
#include "mrp/MrpSm/types/MrpAttribute.h"
#include "platform/base/Ptr.h"

namespace Mrp {

// Leave timers by their attributes, in no order: a hash table whose chains go through the timers
// themselves, as every leave of a single attribute adds and removes one. What is added or removed
// ends every iterator.
class MrpLeaveTimers {
  public:
    struct Entry {
        MrpAttribute first;
        MrpLeaveSm* second = nullptr;
    };
    class const_iterator;

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    // Null when the attribute has no timer.
    MrpLeaveSm* timer(const MrpAttribute& attribute) const;
    // Adds the timer of an attribute that has none.
    void insert(const Ptr<MrpLeaveSm>& timer);
    // Removes the timer and returns it; null when there is none.
    Ptr<MrpLeaveSm> erase(const MrpAttribute& attribute);
    // Removes the timers of which `predicate` is true. It does not change what is here.
    template <class Predicate>
    void eraseIf(Predicate predicate) {
        for (Ptr<MrpLeaveSm>& chain : chains_) {
            for (Ptr<MrpLeaveSm>* link = &chain; *link;) {
                if (predicate(**link)) {
                    unlink(*link);
                } else {
                    link = &(*link)->next_;
                }
            }
        }
    }

    const_iterator find(const MrpAttribute& attribute) const;
    const_iterator begin() const;
    const_iterator end() const;

  private:
    Ptr<MrpLeaveSm>& chainOf(const MrpAttribute& attribute) {
        constexpr std::uint64_t odd = 0x9e3779b97f4a7c15ULL;
        const std::uint64_t type = attribute.intfId.value() << 8U | attribute.attributeType;
        return chains_[mixBits(attribute.key + type * odd) & (chains_.size() - 1)];
    }
    // What holds the attribute's timer, or is null where it would be. There are chains.
    Ptr<MrpLeaveSm>& linkOf(const MrpAttribute& attribute);
    Ptr<MrpLeaveSm> unlink(Ptr<MrpLeaveSm>& link) {
        last_ = nullptr;
        --size_;
        Ptr<MrpLeaveSm> timer = std::exchange(link, nullptr);
        link = std::exchange(timer->next_, nullptr);
        return timer;
    }
    void chainsAre(std::size_t count);

    std::vector<Ptr<MrpLeaveSm>> chains_;  // a power of two of them, or none
    std::size_t size_ = 0;
    // That of the timer which was found last. Whoever works on an attribute asks more than once.
    Ptr<MrpLeaveSm>* last_ = nullptr;
};

class MrpLeaveTimers::const_iterator {
  public:
    const Entry& operator*() const { return entry_; }
    const Entry* operator->() const { return &entry_; }
    const_iterator& operator++() {
        timerIs(entry_.second->next_.get());
        return *this;
    }
    bool operator==(const const_iterator& other) const {
        return entry_.second == other.entry_.second;
    }

  private:
    friend class MrpLeaveTimers;
    const_iterator(const MrpLeaveTimers& timers, std::size_t behind, MrpLeaveSm* timer)
        : timers_(&timers), behind_(behind) {
        timerIs(timer);
    }
    // Goes to the timer; without one to the first of the chains that are left.
    void timerIs(MrpLeaveSm* timer) {
        while (timer == nullptr && behind_ < timers_->chains_.size()) {
            timer = timers_->chains_[behind_++].get();
        }
        entry_ = {timer != nullptr ? timer->attribute() : MrpAttribute(), timer};
    }

    const MrpLeaveTimers* timers_;
    std::size_t behind_;  // the chain behind the entry's
    Entry entry_;
};

}  // namespace Mrp
