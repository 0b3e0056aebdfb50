#pragma once

#include <string_view>
#include <vector>

#include "agent/attributelog/StatusExport.h"
#include "agent/standby/StatusMirror.h"

namespace MrpLab {

// The attribute log from an active node to its standby, without a socket between them.
class MemoryLog final : private Platform::AttrLogReader {
  public:
    using Statuses = std::vector<Platform::Ptr<Mrp::MrpStatus>>;

    // The standby's statuses equal the active one's from now on. They may outlive the log.
    MemoryLog(const Statuses& active, const Statuses& standby);
    MemoryLog(const MemoryLog&) = delete;
    MemoryLog& operator=(const MemoryLog&) = delete;
    ~MemoryLog() override;

  private:
    void linesIs(std::string_view lines) override;
    void linesLost() override;

    MrpAgent::StatusExport export_;
    MrpAgent::StatusMirror mirror_;
};

}  // namespace MrpLab
