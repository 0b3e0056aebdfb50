#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "agent/bridge/LinkDump.h"
#include "agent/bridge/LinkTable.h"
#include "platform/linux/EpollActivityManager.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/time/Clock.h"

namespace MrpAgent {

// Follows the interfaces of a network namespace through rtnetlink: of the one that the thread is in
// that calls start().
//
// What the kernel tells by itself is only a hint that something may have changed; what is true is
// read from a full dump, a little later, so that a burst of hints costs one dump and not many. A
// hint that comes while a dump is being read leads to another one. A look every few seconds finds
// what no hint was sent for, or got lost.
class LinkWatch final {
  public:
    // Something in links() is different. Runs from the loop. May not destroy the watch.
    using Changed = std::function<void()>;
    // A message for the user, without the program's name. The same trouble is told once.
    using Tell = std::function<void(const std::string& message)>;

    struct Counters {
        std::uint64_t events = 0;    // hints of the kernel
        std::uint64_t dumps = 0;     // full readings that came to their end
        std::uint64_t overruns = 0;  // how often the kernel lost hints for want of room
        std::uint64_t errors = 0;    // readings that failed, or were disturbed by changes
    };

    LinkWatch(Platform::Linux::EpollActivityManager& activityManager, Changed changed, Tell tell);
    LinkWatch(const LinkWatch&) = delete;
    LinkWatch& operator=(const LinkWatch&) = delete;
    ~LinkWatch();

    // Opens the sockets and reads all links before it returns; this once it waits for the kernel,
    // and `changed` does not run. Throws std::system_error with words. Called once.
    void start();

    // The interfaces as they last were read, empty before start().
    const LinkTable& links() const { return links_; }
    const Counters& counters() const { return counters_; }

    // The socket on which hints come, for tests that make its buffer small.
    int eventSocket() const { return events_.get(); }

  private:
    void openEvents();
    void handleEvents();
    void stale();
    void beginDump();
    void handleDump();
    bool endDump(bool disturbed);
    void dumpFailed(const std::string& what);
    void closeDump();

    Platform::Linux::EpollActivityManager& activityManager_;
    Changed changed_;
    Tell tell_;
    LinkTable links_;
    Counters counters_;
    Platform::Linux::FileDescriptor events_;
    std::optional<LinkDump> dump_;  // none before start(), and after one that failed
    bool dumping_ = false;
    bool stale_ = false;               // a hint came since the dump under way began
    Platform::Seconds lastDump_ = -1;  // when it ended
    Platform::Alarm dumpAlarm_;  // when the next dump begins, or the one under way is given up
    std::string lastTrouble_;
};

}  // namespace MrpAgent
