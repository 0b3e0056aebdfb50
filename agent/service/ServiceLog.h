#pragma once

#include <optional>
#include <string>

#include "agent/process/OutputQueue.h"
#include "agent/service/JournalLog.h"
#include "agent/service/ServiceEnvironment.h"
#include "platform/log/Log.h"

namespace MrpAgent {

// Where the messages of a running agent go: the journal, when standard error is connected to it,
// else lines on standard error. Neither ever blocks the event loop. The main program makes one as
// soon as it has an activity manager, which outlives it, and gives it the engine's messages for as
// long as it exists:
//
//     const ServiceEnvironment environment = ServiceEnvironment::ofProcess();
//     ServiceLog log(activityManager, environment);
//     Platform::logSinkIs([&](const Platform::LogHandle& handle, const std::string& text) {
//         log.handleLog(handle, text);
//     });
//     const Platform::ScopeGuard restoreLog([] { Platform::logToStandardError(); });
class ServiceLog final {
  public:
    static constexpr int informational = 6;  // severities are those of Platform::LogHandle

    ServiceLog(Platform::ActivityManager& activityManager, const ServiceEnvironment& environment);

    // The agent's own words. Lines on standard error have its name before them.
    void tell(const std::string& message, int severity = informational);
    // A message of the structured log; the same text in both places, with the handle's name as a
    // field of the journal's entry.
    void handleLog(const Platform::LogHandle& handle, const std::string& text);

  private:
    std::optional<JournalLog> journal_;
    OutputQueue standardError_;
};

}  // namespace MrpAgent
