#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

#include "mrp/MrpSm/types/MrpAttribute.h"

namespace Mrp {

// A set of attribute keys in ascending order, at about nine octets a key. The keys lie in sorted
// chunks, so that one of a million is added or removed by moving some hundred of them. What is
// added or removed ends every iterator: a walk whose body does so goes on behind the key that it
// was at, or over a snapshot.
class KeySet {
  public:
    class const_iterator;

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    bool contains(AttributeKey key) const;
    // False when the key is there already, or is not there.
    bool insert(AttributeKey key) {
        if (!chunks_.empty()) {
            std::vector<AttributeKey>& last = chunks_.back().keys;
            if (key > last.back() && last.size() < std::min(last.capacity(), maxChunk)) {
                last.push_back(key);
                ++size_;
                return true;
            }
        }
        return insertAnywhere(key);
    }
    bool erase(AttributeKey key);
    // Removes all keys from one to another.
    void erase(AttributeKey first, AttributeKey last);
    void clear();

    const_iterator begin() const;
    const_iterator end() const;
    // The first key that is not below the given one; the first one above it.
    const_iterator lower_bound(AttributeKey key) const;
    const_iterator upper_bound(AttributeKey key) const;

  private:
    static constexpr std::size_t maxChunk = 128;
    // Never empty. The first key is also here, which keeps the search for a chunk out of the
    // others.
    struct Chunk {
        AttributeKey first;
        std::vector<AttributeKey> keys;
    };

    std::size_t chunkOf(AttributeKey key) const;
    bool insertAnywhere(AttributeKey key);
    void append(AttributeKey key);
    void split(std::size_t chunk);
    void joinSmall(std::size_t chunk);

    std::vector<Chunk> chunks_;
    std::size_t size_ = 0;
};

class KeySet::const_iterator {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = AttributeKey;
    using difference_type = std::ptrdiff_t;
    using pointer = const AttributeKey*;
    using reference = const AttributeKey&;

    const_iterator() = default;

    reference operator*() const { return (*chunks_)[chunk_].keys[place_]; }
    pointer operator->() const { return &**this; }
    const_iterator& operator++() {
        if (++place_ == (*chunks_)[chunk_].keys.size()) {
            ++chunk_;
            place_ = 0;
        }
        return *this;
    }
    const_iterator operator++(int) {
        const const_iterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const const_iterator&) const = default;

  private:
    friend class KeySet;
    const_iterator(const std::vector<Chunk>& chunks, std::size_t chunk, std::size_t place)
        : chunks_(&chunks), chunk_(chunk), place_(place) {}

    const std::vector<Chunk>* chunks_ = nullptr;
    std::size_t chunk_ = 0;
    std::size_t place_ = 0;
};

}  // namespace Mrp
