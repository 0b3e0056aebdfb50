#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <stdexcept>
#include <utility>

namespace Mrp {

// A first-in first-out queue whose entries carry a growing 32-bit index, by which they can be set
// and deleted while they wait.
template <class T>
class IndexedQueue {
  public:
    using Index = std::uint32_t;

    bool empty() const { return entries_.empty(); }
    std::size_t size() const { return entries_.size(); }
    // The index of the head; of the next entry to come when the queue is empty.
    Index headIndex() const { return entries_.empty() ? nextIndex_ : entries_.front().first; }

    // Adds at the tail, with the next free index or one more than the tail's, whichever is higher.
    // An empty queue that has used up half of the indices starts again at 0; one that runs out of
    // them throws std::range_error.
    Index enq(T value) {
        Index index = nextIndex_;
        if (!entries_.empty()) {
            const Index tail = entries_.back().first;
            if (tail == UINT32_MAX || nextIndex_ == UINT32_MAX) {
                throw std::range_error("linkqueue index space full");
            }
            index = std::max(index, tail + 1);
        } else if (index > UINT32_MAX / 2) {
            index = 0;
        }
        nextIndex_ = index + 1;
        entries_.emplace_back(index, std::move(value));
        return index;
    }

    // Removes the head and returns it; nothing when the queue is empty.
    std::optional<T> deq() {
        if (entries_.empty()) {
            return std::nullopt;
        }
        std::optional<T> head(std::move(entries_.front().second));
        entries_.pop_front();
        return head;
    }

    // Sets the entry of an index, adding it at the tail when it is not there.
    void entryIs(Index index, T value) {
        const auto found = find(index);
        if (found != entries_.end()) {
            found->second = std::move(value);
        } else {
            entries_.emplace_back(index, std::move(value));
        }
    }
    void del(Index index) {
        const auto found = find(index);
        if (found != entries_.end()) {
            entries_.erase(found);
        }
    }
    void delAll() { entries_.clear(); }

  private:
    auto find(Index index) {
        return std::find_if(entries_.begin(), entries_.end(),
                            [index](const auto& entry) { return entry.first == index; });
    }

    std::deque<std::pair<Index, T>> entries_;
    Index nextIndex_ = 0;
};

}  // namespace Mrp
