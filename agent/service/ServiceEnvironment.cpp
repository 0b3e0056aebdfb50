#include "agent/service/ServiceEnvironment.h"

#include <sys/stat.h>

#include <charconv>
#include <cstdint>

#include "platform/base/Environment.h"

namespace MrpAgent {

using namespace Platform;

namespace {

constexpr Seconds microsecond = 1e-6;

std::optional<std::uint64_t> numberOf(const std::string& text) {
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

std::optional<Seconds> watchdogInterval() {
    const auto pid = environmentVariable("WATCHDOG_PID");
    if (pid && *pid != std::to_string(::getpid())) {
        return std::nullopt;
    }
    const auto usec = numberOf(environmentVariable("WATCHDOG_USEC").value_or(""));
    if (!usec || *usec == 0) {
        return std::nullopt;
    }
    return static_cast<Seconds>(*usec) * microsecond;
}

bool isJournal(int fd) {
    const auto stream = environmentVariable("JOURNAL_STREAM");
    struct stat file {};
    return stream && ::fstat(fd, &file) == 0 &&
           *stream == std::to_string(file.st_dev) + ":" + std::to_string(file.st_ino);
}

}  // namespace

ServiceEnvironment ServiceEnvironment::ofProcess() {
    ServiceEnvironment environment;
    environment.notifySocket = environmentVariable("NOTIFY_SOCKET").value_or("");
    environment.watchdog = watchdogInterval();
    environment.journal = isJournal(environment.standardError);
    return environment;
}

}  // namespace MrpAgent
