#include "mrp/MrpSm/types/KeySet.h"

#include <algorithm>
#include <utility>

namespace Mrp {

namespace {

// A chunk grows by little at a time: there may be ten thousands of them, most of them half full.
void makeRoom(std::vector<AttributeKey>& keys) {
    constexpr std::size_t few = 16;
    if (keys.size() == keys.capacity()) {
        keys.reserve(keys.size() + few);
    }
}

}  // namespace

// The chunk that has the key, or would have it; there is one.
std::size_t KeySet::chunkOf(AttributeKey key) const {
    if (chunks_.size() == 1 || key < chunks_[1].first) {
        return 0;  // where those are taken out that go in order
    }
    const auto behind = std::upper_bound(
        chunks_.begin(), chunks_.end(), key,
        [](AttributeKey wanted, const Chunk& chunk) { return wanted < chunk.first; });
    return behind == chunks_.begin() ? 0 : static_cast<std::size_t>(behind - chunks_.begin()) - 1;
}

bool KeySet::contains(AttributeKey key) const {
    const const_iterator found = lower_bound(key);
    return found != end() && *found == key;
}

bool KeySet::insertAnywhere(AttributeKey key) {
    if (chunks_.empty() || key > chunks_.back().keys.back()) {
        append(key);
        return true;
    }
    std::size_t chunk = chunkOf(key);
    if (chunks_[chunk].keys.size() == maxChunk) {
        split(chunk);
        chunk += key < chunks_[chunk + 1].first ? 0 : 1;
    }
    std::vector<AttributeKey>& keys = chunks_[chunk].keys;
    const auto place = std::lower_bound(keys.begin(), keys.end(), key);
    if (place != keys.end() && *place == key) {
        return false;
    }
    const auto index = place - keys.begin();
    makeRoom(keys);
    keys.insert(keys.begin() + index, key);
    chunks_[chunk].first = keys.front();
    ++size_;
    return true;
}

// Keys that come in order fill their chunks: behind a full one the next is made as large.
void KeySet::append(AttributeKey key) {
    if (chunks_.empty() || chunks_.back().keys.size() == maxChunk) {
        Chunk next{key, {}};
        next.keys.reserve(chunks_.empty() ? 1 : maxChunk);
        next.keys.push_back(key);
        chunks_.push_back(std::move(next));
    } else {
        makeRoom(chunks_.back().keys);
        chunks_.back().keys.push_back(key);
    }
    ++size_;
}

void KeySet::split(std::size_t chunk) {
    constexpr std::size_t half = maxChunk / 2;
    const std::vector<AttributeKey>& keys = chunks_[chunk].keys;
    Chunk upper{keys[half], {keys.begin() + half, keys.end()}};
    chunks_.insert(chunks_.begin() + static_cast<std::ptrdiff_t>(chunk) + 1, std::move(upper));
    chunks_[chunk].keys.resize(half);
    chunks_[chunk].keys.shrink_to_fit();
}

bool KeySet::erase(AttributeKey key) {
    if (chunks_.empty()) {
        return false;
    }
    const std::size_t chunk = chunkOf(key);
    std::vector<AttributeKey>& keys = chunks_[chunk].keys;
    const auto place = std::lower_bound(keys.begin(), keys.end(), key);
    if (place == keys.end() || *place != key) {
        return false;
    }
    keys.erase(place);
    --size_;
    if (keys.empty()) {
        chunks_.erase(chunks_.begin() + static_cast<std::ptrdiff_t>(chunk));
    } else {
        chunks_[chunk].first = keys.front();
        joinSmall(chunk);
    }
    return true;
}

void KeySet::erase(AttributeKey first, AttributeKey last) {
    if (chunks_.empty()) {
        return;
    }
    const std::size_t begin = chunkOf(first);
    std::size_t end = begin;
    for (; end < chunks_.size() && chunks_[end].first <= last; ++end) {
        std::vector<AttributeKey>& keys = chunks_[end].keys;
        const auto from = std::lower_bound(keys.begin(), keys.end(), first);
        const auto to = std::upper_bound(from, keys.end(), last);
        size_ -= static_cast<std::size_t>(to - from);
        keys.erase(from, to);
        if (!keys.empty()) {
            chunks_[end].first = keys.front();
        }
    }
    const auto chunk = [this](std::size_t i) {
        return chunks_.begin() + static_cast<std::ptrdiff_t>(i);
    };
    chunks_.erase(std::remove_if(chunk(begin), chunk(end),
                                 [](const Chunk& each) { return each.keys.empty(); }),
                  chunk(end));
    joinSmall(begin);
}

// Two neighbours that together have no more than half of a chunk's keys become one, so that what is
// left of many keys does not keep the memory of all of them.
void KeySet::joinSmall(std::size_t chunk) {
    for (const std::size_t lower : {chunk, chunk - 1}) {  // behind none of the first is none
        if (lower >= chunks_.size() || lower + 1 >= chunks_.size()) {
            continue;
        }
        std::vector<AttributeKey>& keys = chunks_[lower].keys;
        const std::vector<AttributeKey>& more = chunks_[lower + 1].keys;
        if (keys.size() + more.size() <= maxChunk / 2) {
            keys.insert(keys.end(), more.begin(), more.end());
            chunks_.erase(chunks_.begin() + static_cast<std::ptrdiff_t>(lower) + 1);
        }
    }
}

void KeySet::clear() {
    chunks_.clear();
    size_ = 0;
}

KeySet::const_iterator KeySet::begin() const {
    return {chunks_, 0, 0};
}

KeySet::const_iterator KeySet::end() const {
    return {chunks_, chunks_.size(), 0};
}

KeySet::const_iterator KeySet::lower_bound(AttributeKey key) const {
    if (chunks_.empty()) {
        return end();
    }
    const std::size_t chunk = chunkOf(key);
    const std::vector<AttributeKey>& keys = chunks_[chunk].keys;
    const auto place = std::lower_bound(keys.begin(), keys.end(), key);
    return place != keys.end()
               ? const_iterator(chunks_, chunk, static_cast<std::size_t>(place - keys.begin()))
               : const_iterator(chunks_, chunk + 1, 0);
}

KeySet::const_iterator KeySet::upper_bound(AttributeKey key) const {
    const_iterator found = lower_bound(key);
    if (found != end() && *found == key) {
        ++found;
    }
    return found;
}

}  // namespace Mrp
