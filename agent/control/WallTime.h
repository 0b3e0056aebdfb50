#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace MrpAgent {

// The time of day, for people who read of events.
using WallTime = std::chrono::system_clock::time_point;
using WallClock = std::function<WallTime()>;

// In UTC, to the millisecond: "2026-11-21T12:00:00.123Z".
std::string wallTimeText(WallTime time);

}  // namespace MrpAgent
