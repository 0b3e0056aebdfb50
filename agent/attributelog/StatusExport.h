#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/attributelog/LogLines.h"
#include "mrp/MrpSm/types/MrpStatus.h"
#include "platform/log/AttrLog.h"

namespace MrpAgent {

// Tells a reader of the attribute log what the status entities of a node hold, and every change.
// The state is told piece by piece while the protocol goes on: what changes in the part that has
// been told is told at once, what changes in the rest will be told with it. So the memory that a
// slow reader costs does not depend on the size of the state. Without a reader it costs nothing.
class StatusExport final : public Platform::AttrLogContent {
  public:
    StatusExport(std::string node, std::vector<Mrp::MrpApplication> applications);
    StatusExport(const StatusExport&) = delete;
    StatusExport& operator=(const StatusExport&) = delete;

    // The applications' statuses. Before there is a reader.
    void statusesAre(const std::vector<Platform::Ptr<Mrp::MrpStatus>>& statuses);

    void readerStarts(Platform::AttrLogReader& reader) override;
    void readerEnds() override;
    bool stateLines(std::string& lines, std::size_t octets) override;
    std::size_t stateSize() const override;
    std::string refusal() const override;

  private:
    // How far the state of one application has been told: records, then LeaveAll times.
    struct Progress {
        std::optional<Mrp::MrpAttribute> record;  // the last one told; nothing before the first
        bool allRecords = false;
        std::optional<Mrp::MrpApplicationDatabase::LeaveAllKey> leaveAllTime;
        bool all = false;
    };
    // One application.
    struct Source {
        Platform::Ptr<Mrp::MrpApplicationDatabase> database;
        LineWriter writer;
        Progress told;
        Platform::Reactor records;
        Platform::Reactor leaveAllTimes;
    };

    void recordChanged(Source& source, const Mrp::MrpAttribute& attribute,
                       const Mrp::MrpAttrDatabase* record);
    void leaveAllTimeChanged(Source& source, const Mrp::MrpApplicationDatabase::LeaveAllKey& key);
    template <class Write>
    void tell(Write write);

    std::string node_;
    std::vector<Mrp::MrpApplication> applications_;
    std::vector<std::unique_ptr<Source>> sources_;
    Platform::AttrLogReader* reader_ = nullptr;
    bool headerTold_ = false;
    std::string line_;  // kept for its memory
};

}  // namespace MrpAgent
