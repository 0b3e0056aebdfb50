#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "agent/bridge/LinkMessage.h"
#include "agent/bridge/RouteSocket.h"
#include "agent/bridge/VlanSet.h"
#include "platform/linux/EpollActivityManager.h"
#include "platform/time/Clock.h"

namespace MrpAgent {

// Writes the VLANs that are registered on ports into the VLAN filter of their bridge, as tagged
// members (the dynamic entries of clause 8.8.2 b).
//
// Changes are collected for a moment and then held against what the kernel has, so that entries of
// the administrator are left alone: one that is there already is not written, and only what was
// written here is removed, unless the administrator has made it the PVID or an untagged member
// since (one that he makes as it is here already cannot be told from it). What somebody has taken
// out comes back at the next occasion. All this runs from the loop and does not wait for anything.
// What the kernel refuses is told once, and tried again at the next change, at the latest after ten
// seconds.
class VlanFilter final {
  public:
    // A message for the user, without the program's name.
    using Tell = std::function<void(const std::string& message)>;

    struct Status {
        std::uint64_t writes = 0;    // messages that the kernel took, each of a number of VLANs
        std::uint64_t failures = 0;  // messages that it refused
        std::string lastError = {};  // empty without failures
        std::size_t members = 0;     // entries in the filter that were written here
    };

    VlanFilter(Platform::Linux::EpollActivityManager& activityManager, Tell tell);
    VlanFilter(const VlanFilter&) = delete;
    VlanFilter& operator=(const VlanFilter&) = delete;
    // Leaves in the filter what is there; see finish().
    ~VlanFilter();

    // The port, an interface's index, is to be a member of the VLAN (1 to 4094; others are passed
    // over), or no longer. A port that is none, or not on a bridge, is waited for.
    void memberIs(int portIndex, std::uint16_t vlan, bool member);
    // The interface is gone, and its entries with it.
    void portDel(int portIndex);
    // Ports or bridges have changed: looks whether all is still as it is to be.
    void review();
    // Removes all that was written here, and waits for it: for as long as the kernel takes, two
    // seconds when it does not answer. To be called at the end of the agent.
    void finish();

    Status status() const;

  private:
    enum class Stage { idle, reading, writing };
    struct Port {
        VlanSet wanted;
        VlanSet own;  // written here, as far as they are there
    };
    struct Write {
        int port;
        bool add;
        VlanSet vlans;
    };

    void readSoon();
    void beginReading();
    void handleReadable();
    void advance();
    void plan();
    void planPort(const PortVlans& actual, Port& port);
    void planWrites(int index, bool add, const VlanSet& vlans);
    void writeNext();
    void send(const Write& write);
    void written();
    void refused(const std::system_error& error);
    void readingFailed(const std::string& what);
    void rest();
    bool ownIsEmpty() const;

    Platform::Linux::EpollActivityManager& activityManager_;
    Tell tell_;
    std::optional<RouteSocket> socket_;  // from the first reading on
    Stage stage_ = Stage::idle;
    std::map<int, Port> ports_;
    std::map<int, PortVlans> actual_;  // as the last reading told
    std::deque<Write> writes_;         // the first one is under way
    bool changed_ = false;             // since the reading began
    bool incomplete_ = false;          // something was refused since then
    bool onlyLook_ = false;            // the reading is to tell what became of what was refused
    std::map<int, std::string> told_;  // the trouble of each port; 0: of none of them
    Status status_;
    Platform::Alarm alarm_;
};

}  // namespace MrpAgent
