#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "platform/linux/FileDescriptor.h"
#include "platform/time/ActivityManager.h"

namespace Platform::Linux {

// The event loop of a thread in real time. Its clock is the kernel's monotonic one, read once a
// turn: the alarms due by then run in order, each with its expiry as now and posted work between
// them, then the callbacks of the descriptors that are ready. Not to be touched from other threads
// or from signal handlers.
//
// Constructor, registrations and loop throw std::system_error when the kernel refuses something;
// errors that leave a callback do not end the loop (see Dispatch.h).
class EpollActivityManager final : public ActivityManager {
  public:
    using Callback = std::function<void()>;

    EpollActivityManager();
    ~EpollActivityManager() override;

    // Runs `readable` as often as the loop finds the descriptor readable (level-triggered: a
    // callback that leaves data unread is called again; null: nobody is to read any more, and there
    // is a `failed`), in place of a callback set before. With
    // `failed`, that one is told of errors and hang-ups, which it has to consume; without, the
    // first is told of them too. The descriptor stays the caller's, who ends the registration
    // before closing it.
    void descriptorIs(int fd, Callback readable, Callback failed = nullptr);
    // Runs `writable` as often as the loop finds the descriptor, which is registered, writable
    // (level-triggered), in place of a callback set before; null ends that, and so does the end of
    // the registration.
    void writableIs(int fd, Callback writable);
    // Ends the registration, if there is one. From then on no callback runs for it, not even for
    // what this turn has already seen, whatever the number stands for by then.
    void descriptorDel(int fd);

    // Runs the callback, from the loop, for each arrival of the signal, which is blocked for the
    // calling thread from now on and stays so.
    void signalIs(int signo, Callback callback);

    // Runs the loop until a callback calls stop().
    void run();
    // The same, for that long at the most; looks at everything at least once.
    void runFor(Seconds span);
    // Ends the loop when the callback that is running, and what is posted, is done.
    void stop() { stopped_ = true; }

  private:
    struct Registration {
        std::uint32_t generation;  // tells the events of an earlier registration of the number
        Callback readable;
        Callback failed;
        Callback writable = nullptr;
    };

    void runUntil(Seconds end);
    void turn(Seconds end);
    void wakeUpAt(Seconds time);
    void runAlarms();
    void handleEvent(std::uint64_t key, std::uint32_t events);
    void handleSignals();

    FileDescriptor epoll_;
    FileDescriptor timer_;
    FileDescriptor signals_;
    Seconds wakeUp_ = never;
    std::uint32_t generation_ = 0;
    std::map<int, std::shared_ptr<Registration>> registrations_;
    std::map<int, Callback> signalCallbacks_;
    bool running_ = false;
    bool stopped_ = false;
};

}  // namespace Platform::Linux
