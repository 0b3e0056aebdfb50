#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/attributelog/StatusExport.h"
#include "agent/instance/MrpInstance.h"
#include "agent/status/StatusJson.h"
#include "platform/linux/UnixAttrLog.h"

namespace MrpAgent {

// The attribute log of an agent: its socket, known to the engines as the output of the node's name.
// Made before the engines become active, so that they find it; the engines go before it does.
class AttributeLog {
  public:
    // A message for the user.
    using Tell = std::function<void(const std::string& message)>;

    AttributeLog(const std::string& node, std::string path,
                 std::vector<Mrp::MrpApplication> applications,
                 Platform::Linux::EpollActivityManager& activityManager, Tell tell);
    AttributeLog(const AttributeLog&) = delete;
    AttributeLog& operator=(const AttributeLog&) = delete;
    ~AttributeLog();

    // What readers are told of. Before the log is opened.
    void statusesAre(const std::vector<Platform::Ptr<Mrp::MrpStatus>>& statuses) {
        content_.statusesAre(statuses);
    }
    // Readers can connect from now on. What went wrong, in words for the user: none can then.
    std::optional<std::string> open();
    // The same, tried again until it is done: whoever holds the path may be about to leave it.
    void openSoon();

    // {"path": …, "reader": …, "waiting": octets, "readers": N, "refused": N, "dropped": N,
    // "droppedLines": N}: whether there is a reader, what waits for it, how many there were, how
    // many were refused, or dropped because they were too slow, and what these lost.
    Json status() const;

  private:
    StatusExport content_;
    Platform::Ptr<Platform::Linux::UnixAttrLog> output_;
    Tell tell_;
    Platform::Alarm retry_;
    std::string lastError_;
};

}  // namespace MrpAgent
