#pragma once

#include <cstdint>
#include <deque>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "agent/control/ControlNode.h"
#include "agent/control/WallTime.h"

namespace MrpAgent {

// The changes of a node's committed records, for all who tell of them. Within a change it is only
// noted which attribute it concerns; what to tell is made once for all readers, when the first of
// them asks for it, from the record as it is then. So a change that another one of the same
// attribute overtakes before that is told with it.
class RecordChanges final {
  public:
    struct Change {
        Mrp::MrpApplication application;
        Mrp::MrpAttribute attribute;
        WallTime time;
        std::size_t readers;  // that have yet to pass it
        // Once it is made:
        std::string row;  // of `watch`, as a line
        bool removed = false;
        Mrp::MrpApplicantState applicant{};
        Mrp::MrpRegistrarState registrar{};
    };
    // Has a place among the changes while it exists, behind those of before.
    class Reader {
      public:
        explicit Reader(RecordChanges& changes);
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;
        virtual ~Reader();

      protected:
        // The next change that it has not passed; null behind the last, and then it is told of the
        // next one that comes.
        const Change* next();
        // What is to be told of it.
        const Change& made() { return changes_.make(next_); }
        void pass() { changes_.pass(next_++); }
        // How many changes it has lost since it was last asked, because it left too many waiting.
        std::uint64_t takeLost();

      private:
        friend class RecordChanges;
        // There are changes. Called within a change of the engine's: look at them later.
        virtual void handleChanges() = 0;

        RecordChanges& changes_;
        std::uint64_t next_;
        std::uint64_t lost_ = 0;
        bool atEnd_ = true;
    };

    // How many changes are kept for readers: all attributes of some fifty ports with all VLANs.
    static constexpr std::size_t usualLimit = 262144;

    // The node outlives it. Without a reader nobody follows the node.
    RecordChanges(ControlNode& node, WallClock wallClock, std::size_t limit = usualLimit);
    RecordChanges(const RecordChanges&) = delete;
    RecordChanges& operator=(const RecordChanges&) = delete;

  private:
    struct Source {
        MrpInstance* instance;
        // The changes that nobody has asked for, and that take in further ones.
        std::unordered_map<Mrp::MrpAttribute, std::uint64_t> open;
        Platform::Reactor reactor;
    };

    void readerIs(Reader& reader);
    void readerDel(Reader& reader);
    void follow();
    void note(Source& source, const Mrp::MrpAttribute& attribute);
    void makeRoom();
    void pass(std::uint64_t number);
    void trim();
    const Change& make(std::uint64_t number);
    std::uint64_t end() const { return first_ + changes_.size(); }
    Change& change(std::uint64_t number) { return changes_[number - first_]; }
    Source& sourceOf(Mrp::MrpApplication application);

    ControlNode& node_;
    WallClock wallClock_;
    std::size_t limit_;
    std::set<Reader*> readers_;
    std::deque<Source> sources_;
    std::uint64_t first_ = 0;  // the number of the first change that is kept
    std::deque<Change> changes_;
};

}  // namespace MrpAgent
