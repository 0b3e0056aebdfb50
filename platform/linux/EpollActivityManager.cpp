#include "platform/linux/EpollActivityManager.h"

#include <signal.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>

#include "platform/base/Assert.h"
#include "platform/base/ScopeGuard.h"
#include "platform/time/Dispatch.h"

namespace Platform::Linux {

namespace {

constexpr double nanosecondsPerSecond = 1e9;

// Says of an event that it is the wake-up timer's. Keys of registrations never have it: the number
// of a descriptor is not negative.
constexpr std::uint64_t timerKey = UINT64_MAX;

Seconds monotonicNow() {
    timespec time{};
    checked(::clock_gettime(CLOCK_MONOTONIC, &time), "reading the clock");
    return static_cast<Seconds>(time.tv_sec) +
           static_cast<Seconds>(time.tv_nsec) / nanosecondsPerSecond;
}

// Rounded up to what the kernel counts in: woken any earlier, the loop would find nothing due.
timespec timespecOf(Seconds time) {
    constexpr Seconds farthest = 1e9;
    constexpr long carry = 1000000000;
    const Seconds bounded = std::clamp(time, 0.0, farthest);
    const Seconds whole = std::floor(bounded);
    timespec result{static_cast<time_t>(whole),
                    static_cast<long>(std::ceil((bounded - whole) * nanosecondsPerSecond))};
    if (result.tv_nsec >= carry) {
        ++result.tv_sec;
        result.tv_nsec -= carry;
    }
    if (result.tv_sec == 0 && result.tv_nsec == 0) {
        result.tv_nsec = 1;  // all zero would stop the timer
    }
    return result;
}

std::uint64_t keyOf(int fd, std::uint32_t generation) {
    return static_cast<std::uint64_t>(generation) << 32U | static_cast<std::uint32_t>(fd);
}

}  // namespace

EpollActivityManager::EpollActivityManager() : ActivityManager(monotonicNow()) {
    epoll_ = FileDescriptor(checked(::epoll_create1(EPOLL_CLOEXEC), "creating an epoll instance"));
    timer_ = FileDescriptor(
        checked(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC), "creating a timer"));
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = timerKey;
    checked(::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, timer_.get(), &event), "watching the timer");
}

EpollActivityManager::~EpollActivityManager() = default;

void EpollActivityManager::descriptorIs(int fd, Callback readable, Callback failed) {
    require(readable || failed, "somebody is told of the descriptor");
    const std::uint32_t generation = ++generation_;
    epoll_event event{};
    event.events = readable ? EPOLLIN : 0U;
    event.data.u64 = keyOf(fd, generation);
    const bool known = registrations_.contains(fd);
    // A number that was closed without a word is known here and not in the kernel any more.
    if (!known || ::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, fd, &event) < 0) {
        checked(::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event), "watching a descriptor");
    }
    registrations_[fd] = std::make_shared<Registration>(
        Registration{generation, std::move(readable), std::move(failed)});
}

void EpollActivityManager::writableIs(int fd, Callback writable) {
    const auto found = registrations_.find(fd);
    require(found != registrations_.end(), "the descriptor is registered");
    Registration& registration = *found->second;
    if (static_cast<bool>(writable) != static_cast<bool>(registration.writable)) {
        epoll_event event{};
        event.events = (registration.readable ? EPOLLIN : 0U) | (writable ? EPOLLOUT : 0U);
        event.data.u64 = keyOf(fd, registration.generation);
        checked(::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, fd, &event), "watching a descriptor");
    }
    registration.writable = std::move(writable);
}

void EpollActivityManager::descriptorDel(int fd) {
    if (registrations_.erase(fd) != 0) {
        ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, fd, nullptr);
    }
}

void EpollActivityManager::signalIs(int signo, Callback callback) {
    signalCallbacks_[signo] = std::move(callback);
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const auto& [known, unused] : signalCallbacks_) {
        ::sigaddset(&signals, known);
    }
    const int error = ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    require(error == 0, "the arguments of pthread_sigmask are valid");
    const int fd =
        checked(::signalfd(signals_.get(), &signals, SFD_NONBLOCK | SFD_CLOEXEC), "signalfd");
    if (!signals_) {
        signals_ = FileDescriptor(fd);
        descriptorIs(fd, [this] { handleSignals(); });
    }
}

void EpollActivityManager::handleSignals() {
    signalfd_siginfo info{};
    while (::read(signals_.get(), &info, sizeof(info)) == sizeof(info)) {
        const auto found = signalCallbacks_.find(static_cast<int>(info.ssi_signo));
        if (found != signalCallbacks_.end()) {
            const Callback callback = found->second;
            dispatch(callback);
        }
    }
}

void EpollActivityManager::run() {
    runUntil(never);
}

void EpollActivityManager::runFor(Seconds span) {
    runUntil(monotonicNow() + span);
}

void EpollActivityManager::runUntil(Seconds end) {
    require(!running_, "the loop is not run from within a callback");
    running_ = true;
    stopped_ = false;
    const ScopeGuard done([this] { running_ = false; });
    do {
        turn(end);
    } while (!stopped_ && clock().now() < end);
}

void EpollActivityManager::turn(Seconds end) {
    // What was posted and set outside of the loop.
    runAlarms();
    if (stopped_) {
        return;
    }
    constexpr int batch = 64;
    std::array<epoll_event, batch> events;
    const Seconds wakeUp = std::min(clock().nextExpiry(), end);
    const bool wait = wakeUp > clock().now();
    if (wait) {
        wakeUpAt(wakeUp);
    }
    constexpr int forever = -1;
    const int count = ::epoll_wait(epoll_.get(), events.data(), batch, wait ? forever : 0);
    if (count < 0 && errno != EINTR) {
        checked(count, "waiting for events");
    }
    runAlarms();
    for (int i = 0; i < count && !stopped_; ++i) {
        const epoll_event& event = events[static_cast<std::size_t>(i)];
        handleEvent(event.data.u64, event.events);
    }
}

void EpollActivityManager::wakeUpAt(Seconds time) {
    if (wakeUp_ == time) {
        return;
    }
    wakeUp_ = time;
    itimerspec setting{};
    if (time != never) {
        setting.it_value = timespecOf(time);
    }
    checked(::timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &setting, nullptr),
            "setting the timer");
}

void EpollActivityManager::runAlarms() {
    const Seconds now = monotonicNow();
    runPosted();
    while (!stopped_ && clock().fireNext(now)) {
        runPosted();
    }
    clock().nowIs(now);
}

void EpollActivityManager::handleEvent(std::uint64_t key, std::uint32_t events) {
    if (key == timerKey) {
        std::uint64_t expirations = 0;
        static_cast<void>(::read(timer_.get(), &expirations, sizeof(expirations)));
        wakeUp_ = never;
        return;
    }
    const int fd = static_cast<int>(key & UINT32_MAX);
    const auto registered = [this, fd, key] {
        const auto found = registrations_.find(fd);
        const bool same =
            found != registrations_.end() && keyOf(fd, found->second->generation) == key;
        return same ? found->second : nullptr;
    };
    bool toRead = (events & EPOLLIN) != 0;
    if ((events & (EPOLLERR | EPOLLHUP)) != 0) {
        if (const auto registration = registered(); registration && registration->failed) {
            dispatch(registration->failed);
            runPosted();
        } else {
            toRead = true;
        }
    }
    if (const auto registration = registered();
        registration && toRead && registration->readable && !stopped_) {
        dispatch(registration->readable);
        runPosted();
    }
    if (const auto registration = registered();
        registration && (events & EPOLLOUT) != 0 && registration->writable && !stopped_) {
        const Callback callback = registration->writable;  // which may end itself
        dispatch(callback);
        runPosted();
    }
}

}  // namespace Platform::Linux
