#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/attributelog/LogLines.h"
#include "mrp/MrpSm/types/MrpStatus.h"

namespace MrpAgent {

// Keeps the status entities of a standby node equal to those that an attribute log tells of. A log
// is followed in sessions, one a connection. What a session tells before it has told the whole
// state is held back, so that one that breaks off or turns out to be nonsense changes nothing.
class StatusMirror {
  public:
    // The database of each application of the node; lines of other applications are passed over.
    explicit StatusMirror(const std::vector<Platform::Ptr<Mrp::MrpStatus>>& statuses);
    StatusMirror(const StatusMirror&) = delete;
    StatusMirror& operator=(const StatusMirror&) = delete;

    void sessionStarts();
    // One line of the session. What is wrong with it, in words for the user; the session is to be
    // ended then, as not clean.
    std::optional<std::string> lineIs(std::string_view line);
    // After a clean end what was held back is true as far as it went, and is taken over.
    void sessionEnds(bool clean);

    // Whether the session's first line has been accepted; and whether it has told the whole state.
    bool accepted() const { return stage_ == Stage::state || stage_ == Stage::changes; }
    bool complete() const { return stage_ == Stage::changes; }

  private:
    using Database = Platform::Ptr<Mrp::MrpApplicationDatabase>;
    using LeaveAllKey = Mrp::MrpApplicationDatabase::LeaveAllKey;
    enum class Stage { none, header, state, changes };

    // What a session has told of one application before it was complete.
    struct State {
        std::map<Mrp::MrpAttribute, Platform::Ptr<Mrp::MrpAttrDatabase>> records;  // null: deleted
        std::map<LeaveAllKey, Platform::Seconds> leaveAllTimes;
    };

    std::optional<std::string> apply(LogLine& line);
    void apply(RecordLine& line);
    void apply(const LeaveAllTimeLine& line);
    Database databaseOf(Mrp::MrpApplication application) const;
    void takeOverState();
    void removeUntold();

    std::map<Mrp::MrpApplication, Database> databases_;
    Stage stage_ = Stage::none;
    std::map<Mrp::MrpApplication, State> told_;
};

}  // namespace MrpAgent
