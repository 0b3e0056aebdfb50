#include "agent/service/ServiceLog.h"

namespace MrpAgent {

namespace {

const std::string programName = "mrp-agent";

}  // namespace

ServiceLog::ServiceLog(Platform::ActivityManager& activityManager,
                       const ServiceEnvironment& environment)
    : standardError_(environment.standardError, activityManager, [](const char*) {}) {
    if (environment.journal) {
        journal_.emplace(environment.journalSocket, programName, activityManager);
    }
}

void ServiceLog::tell(const std::string& message, int severity) {
    if (journal_) {
        journal_->entryIs(severity, message);
    } else {
        standardError_.lineIs(programName + ": " + message);
    }
}

void ServiceLog::handleLog(const Platform::LogHandle& handle, const std::string& text) {
    const std::string line = Platform::logLine(handle, text);
    if (journal_) {
        journal_->entryIs(handle.severity(), line, handle.name());
    } else {
        standardError_.lineIs(line);
    }
}

}  // namespace MrpAgent
