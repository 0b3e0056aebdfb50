#pragma once

#include <cstdint>
#include <optional>

#include "agent/control/LogMemory.h"
#include "agent/control/RowSource.h"

namespace MrpAgent {

// `show log`: a row a message. What comes meanwhile is not told.
class LogRows final : public RowSource {
  public:
    // The log outlives it. `limit`: the last so many.
    LogRows(const LogMemory& log, std::optional<std::uint64_t> limit);

    bool next(Row& row) override;

  private:
    const LogMemory& log_;
    std::uint64_t told_ = 0;  // messages up to that number
    std::uint64_t last_ = 0;
};

}  // namespace MrpAgent
