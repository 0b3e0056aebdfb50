#include "agent/control/LogMemory.h"

#include <utility>

namespace MrpAgent {

LogMemory::LogMemory(WallClock wallClock) : wallClock_(std::move(wallClock)) {}

void LogMemory::add(int severity, std::string name, std::string text) {
    if (text.size() > textLimit) {
        text.resize(textLimit);
    }
    messages_.push_back({++count_, wallClock_(), severity, std::move(name), std::move(text)});
    if (messages_.size() > limit) {
        messages_.pop_front();
    }
}

}  // namespace MrpAgent
