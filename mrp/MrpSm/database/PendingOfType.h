#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "mrp/MrpSm/types/MrpAttrDatabase.h"
#include "mrp/MrpSm/types/MrpAttribute.h"
#include "mrp/MrpSm/types/RecordMap.h"
#include "platform/base/Ptr.h"

namespace Mrp {

// The records of one type on one interface that wait for a review. They stand in the order in which
// they came, which mostly is that of their keys. They are sorted when somebody walks over them, and
// indexed when one is looked for that is neither the first nor the last. What is added or removed
// ends every iterator.
class PendingOfType {
  public:
    class const_iterator;

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    // Null when there is no record of the key.
    MrpAttrDatabase* find(AttributeKey key) const {
        return ascending_ && (entries_.empty() || key > entries_.back().key) ? nullptr
                                                                             : findIndexed(key);
    }
    // Adds the record, of whose key there is none yet.
    void insert(Ptr<MrpAttrDatabase> record);
    // False when there is no record of the key.
    bool erase(AttributeKey key);

    // Calls `act` with each record, as they stand.
    template <class Act>
    void forEach(Act act) const {
        for (const Entry& entry : entries_) {
            if (entry.record) {
                act(*entry.record);
            }
        }
    }

    // Ascending.
    std::vector<AttributeKey> keys() const;
    const_iterator begin() const;
    const_iterator end() const;
    // The first record whose key is not below the given one.
    const_iterator lower_bound(AttributeKey key) const;

  private:
    struct Entry {
        AttributeKey key = 0;
        Ptr<MrpAttrDatabase> record;  // null: it has gone
    };
    using Entries = std::vector<Entry>;

    MrpAttrDatabase* findIndexed(AttributeKey key) const;
    // Its index in the entries; their number when it is not there.
    std::size_t indexOf(AttributeKey key) const;
    void indexIs() const;
    void sort() const;
    void dropGone() const;

    // How they stand is nobody else's concern.
    mutable Entries entries_;
    mutable bool ascending_ = true;
    mutable std::size_t first_ = 0;  // all before it have gone
    std::size_t size_ = 0;
    // For so many of the entries, a hash table of their indices, plus 1; 0: free. A power of two.
    mutable std::size_t indexed_ = 0;
    mutable std::vector<std::uint32_t> slots_;
};

class PendingOfType::const_iterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = RecordMap::Entry;
    using difference_type = std::ptrdiff_t;
    using pointer = const RecordMap::Entry*;
    using reference = RecordMap::Entry;

    RecordMap::Entry operator*() const { return {at_->key, at_->record.get()}; }
    const_iterator& operator++() {
        ++at_;
        settle();
        return *this;
    }
    bool operator==(const const_iterator& other) const { return at_ == other.at_; }

  private:
    friend class PendingOfType;
    using At = std::vector<Entry>::const_iterator;
    const_iterator(At at, At end) : at_(at), end_(end) { settle(); }
    void settle() {
        while (at_ != end_ && !at_->record) {
            ++at_;
        }
    }

    At at_;
    At end_;
};

}  // namespace Mrp
