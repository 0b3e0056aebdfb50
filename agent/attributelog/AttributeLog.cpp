#include "agent/attributelog/AttributeLog.h"

#include <system_error>
#include <utility>

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

constexpr Seconds retryAfter = 1;

}  // namespace

AttributeLog::AttributeLog(const std::string& node, std::string path,
                           std::vector<MrpApplication> applications,
                           Linux::EpollActivityManager& activityManager, Tell tell)
    : content_(node, std::move(applications)),
      output_(makePtr<Linux::UnixAttrLog>(node, std::move(path), content_, activityManager)),
      tell_(std::move(tell)),
      retry_(activityManager.clock(), [this] { openSoon(); }) {
    attrLogOutputAdd(output_);
}

AttributeLog::~AttributeLog() {
    attrLogOutputDel(output_);
}

std::optional<std::string> AttributeLog::open() {
    try {
        output_->listen();
    } catch (const std::system_error& error) {
        return error.what();
    }
    return std::nullopt;
}

void AttributeLog::openSoon() {
    const auto error = open();
    if (!error) {
        return;
    }
    if (*error != std::exchange(lastError_, *error)) {
        tell_(*error + "; trying again");
    }
    retry_.expiryIs(retry_.clock().now() + retryAfter);
}

Json AttributeLog::status() const {
    const Linux::UnixAttrLog::Counters& counters = output_->counters();
    return {{"path", output_->path()},
            {"reader", output_->connected()},
            {"waiting", output_->waiting()},
            {"readers", counters.readers},
            {"refused", counters.refused},
            {"dropped", counters.dropped},
            {"droppedLines", counters.droppedLines},
            {"failures", output_->failures()}};
}

}  // namespace MrpAgent
