#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "agent/standby/StatusMirror.h"
#include "agent/status/StatusJson.h"
#include "platform/linux/UnixLineReader.h"
#include "platform/time/Clock.h"

namespace MrpAgent {

// A standby agent's tie to the active one: follows its attribute log, for as long and as often as
// there is one, and finds out when the active agent has gone.
class ActiveFollower {
  public:
    struct Callbacks {
        // A message for the user, without the program's name. The same trouble is told once.
        std::function<void(const std::string& message)> tell;
        // The active agent was followed, and nobody listens on its socket any more. May call
        // finish(). Returns what keeps this agent from doing anything about it; called again then,
        // until somebody listens.
        std::function<std::optional<std::string>()> gone;
    };

    // Follows the log on the path from start() on. `statuses` are those of the node.
    ActiveFollower(Platform::Linux::EpollActivityManager& activityManager, std::string path,
                   const std::vector<Platform::Ptr<Mrp::MrpStatus>>& statuses, Callbacks callbacks);

    void start();
    // Takes in what the log has delivered by now, and ends.
    void finish();

    // {"connected": …, "complete": …, "sessions": N, "faults": N}: whether the log is followed, and
    // has told the whole state; how often a connection was made, and how often it was refused or
    // brought nonsense.
    Json status() const;

  private:
    void connect();
    void handleLine(std::string_view line);
    void handleEnd(const Platform::Linux::UnixLineReader::Ending& ending);
    void trouble(const std::string& what, Platform::Seconds retryAfter);

    std::string path_;
    StatusMirror mirror_;
    Callbacks callbacks_;
    Platform::Linux::UnixLineReader reader_;
    Platform::Alarm retry_;
    bool followed_ = false;  // an active agent has been there
    bool finished_ = false;
    Platform::Seconds connectedAt_ = 0;  // when the last connection was made
    std::string lastTrouble_;
    std::uint64_t sessions_ = 0;
    std::uint64_t faults_ = 0;
};

}  // namespace MrpAgent
