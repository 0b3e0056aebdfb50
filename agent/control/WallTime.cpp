#include "agent/control/WallTime.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace MrpAgent {

std::string wallTimeText(WallTime time) {
    using std::chrono::milliseconds;
    const auto since = std::chrono::floor<milliseconds>(time.time_since_epoch());
    const auto whole = std::chrono::floor<std::chrono::seconds>(since);
    const std::time_t seconds = static_cast<std::time_t>(whole.count());
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    std::array<char, 32> date{};
    const std::size_t length = std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03dZ",
                  static_cast<int>((since - whole).count()));
    return std::string(date.data(), length) + fraction.data();
}

}  // namespace MrpAgent
