#pragma once

#include <functional>
#include <set>
#include <string>

#include "agent/status/StatusJson.h"
#include "lab/processes/LogStandIn.h"
#include "platform/linux/UnixLineReader.h"

namespace MrpLab {

// Stands between the attribute log of an active agent and the standby that follows it, so that a
// test knows what the log has delivered. Connects to the log when the standby connects here; ends
// as the log does: nobody listens any more, then the connection is closed.
class Relay {
  public:
    Relay(Platform::Linux::EpollActivityManager& manager, const std::string& log,
          const std::string& path)
        : manager_(manager), standIn_(path) {
        manager_.descriptorIs(standIn_.listener(), [this, log] {
            standIn_.accept();
            checked(-reader_.connectTo(log), log);
        });
    }
    ~Relay() { manager_.descriptorDel(standIn_.listener()); }

    // What the lines passed on so far have told of.
    std::set<unsigned> vlans;
    std::size_t lines = 0;
    bool complete = false;
    // How the log has ended.
    std::optional<Platform::Linux::UnixLineReader::Ending> ending;
    std::function<void()> passed;  // called after each line

  private:
    void pass(std::string_view line) {
        standIn_.send(std::string(line) + "\n");
        const auto json = MrpAgent::Json::parse(line);
        if (json.contains("record")) {
            vlans.insert(json["record"]["key"].get<unsigned>());
        } else if (json.contains("deleted")) {
            vlans.erase(json["deleted"]["key"].get<unsigned>());
        }
        complete = complete || json.contains("complete");
        ++lines;
        passed();
    }

    Platform::Linux::EpollActivityManager& manager_;
    LogStandIn standIn_;
    Platform::Linux::UnixLineReader reader_{manager_, [this](std::string_view line) { pass(line); },
                                            [this](const auto& how) {
                                                ending = how;
                                                manager_.descriptorDel(standIn_.listener());
                                                standIn_.stop();
                                                standIn_.end();
                                            }};
};

}  // namespace MrpLab
