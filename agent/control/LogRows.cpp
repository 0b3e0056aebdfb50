#include "agent/control/LogRows.h"

namespace MrpAgent {

LogRows::LogRows(const LogMemory& log, std::optional<std::uint64_t> limit) : log_(log) {
    if (!log.messages().empty()) {
        last_ = log.messages().back().number;
        told_ = limit && *limit < last_ ? last_ - *limit : 0;
    }
}

bool LogRows::next(Row& row) {
    const auto& messages = log_.messages();
    if (told_ >= last_ || messages.empty() || messages.front().number > last_) {
        return false;
    }
    // Older ones may have made room for new ones.
    const std::uint64_t first = messages.front().number;
    told_ = told_ + 1 < first ? first : told_ + 1;
    const LogMemory::Message& message = messages[told_ - first];
    row.json = {{"time", wallTimeText(message.time)},
                {"severity", message.severity},
                {"name", message.name.empty() ? Json() : Json(message.name)},
                {"text", message.text}};
    return true;
}

}  // namespace MrpAgent
