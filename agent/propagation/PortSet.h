#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace MrpAgent {

// A set of ports by their slot numbers, as words of one bit a slot, for which there is always room.
// Up to 64 ports need no memory of their own.
class PortSet {
  public:
    using Slot = std::size_t;
    using Word = std::uint64_t;
    static constexpr Slot wordSlots = 64;

    static constexpr std::size_t wordOf(Slot slot) { return slot / wordSlots; }
    static constexpr Word bitOf(Slot slot) { return Word{1} << slot % wordSlots; }

    bool has(Slot slot) const { return (word(wordOf(slot)) & bitOf(slot)) != 0; }
    void insert(Slot slot) { memberIs(slot, true); }
    void erase(Slot slot) { memberIs(slot, false); }
    void memberIs(Slot slot, bool member) {
        const Word old = word(wordOf(slot));
        wordIs(wordOf(slot), member ? old | bitOf(slot) : old & ~bitOf(slot));
    }
    void clear() {
        first_ = 0;
        more_.clear();
    }

    // The slots from index * wordSlots on.
    Word word(std::size_t index) const {
        if (index == 0) {
            return first_;
        }
        return index <= more_.size() ? more_[index - 1] : 0;
    }
    void wordIs(std::size_t index, Word word) {
        if (index == 0) {
            first_ = word;
        } else if (index <= more_.size()) {
            more_[index - 1] = word;
        } else if (word != 0) {
            more_.resize(index);
            more_[index - 1] = word;
        }
    }

    // Calls use(slot) for every slot of a word, ascending.
    template <class Use>
    static void forEach(std::size_t index, Word word, Use&& use) {
        for (; word != 0; word &= word - 1) {
            use(index * wordSlots + static_cast<Slot>(std::countr_zero(word)));
        }
    }

  private:
    Word first_ = 0;
    std::vector<Word> more_;
};

}  // namespace MrpAgent
