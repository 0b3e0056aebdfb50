#include "agent/bridge/LinkWatch.h"

#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace MrpAgent {

using Platform::Seconds;
using Platform::Linux::checked;
using Platform::Linux::FileDescriptor;

namespace {

constexpr Seconds dumpInterval = 0.02;  // from the end of one dump to the next, at the least
constexpr Seconds pollInterval = 3;     // a look without any hint
constexpr Seconds retryInterval = 1;    // after a dump that failed
constexpr Seconds answerLimit = 5;      // a dump that takes longer is given up
constexpr int hintsAtOnce = 256;        // what one turn of the loop reads of them

}  // namespace

LinkWatch::LinkWatch(Platform::Linux::EpollActivityManager& activityManager, Changed changed,
                     Tell tell)
    : activityManager_(activityManager),
      changed_(std::move(changed)),
      tell_(std::move(tell)),
      dumpAlarm_(activityManager.clock(), [this] { beginDump(); }) {}

LinkWatch::~LinkWatch() {
    activityManager_.descriptorDel(events_.get());
    closeDump();
}

void LinkWatch::start() {
    openEvents();
    dump_.emplace();
    dump_->readNow();
    links_ = std::move(dump_->table());
    ++counters_.dumps;
    activityManager_.descriptorIs(dump_->fd(), [this] { handleDump(); });
    activityManager_.descriptorIs(events_.get(), [this] { handleEvents(); });
    dumpAlarm_.expiryIs(activityManager_.clock().now() + pollInterval);
}

void LinkWatch::openEvents() {
    events_ = FileDescriptor(
        checked(::socket(AF_NETLINK, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, NETLINK_ROUTE),
                "opening a netlink socket"));
    // A socket that has no address counts as the kernel's own, which is told nothing.
    sockaddr_nl any{};
    any.nl_family = AF_NETLINK;
    checked(::bind(events_.get(), reinterpret_cast<const sockaddr*>(&any), sizeof(any)),
            "binding a netlink socket");
    const int group = RTNLGRP_LINK;
    checked(::setsockopt(events_.get(), SOL_NETLINK, NETLINK_ADD_MEMBERSHIP, &group, sizeof(group)),
            "asking the kernel to tell of its interfaces");
}

void LinkWatch::handleEvents() {
    for (int i = 0; i < hintsAtOnce; ++i) {
        // What it says is not read, only that it came.
        char octet = 0;
        if (::recv(events_.get(), &octet, sizeof(octet), 0) >= 0) {
            ++counters_.events;
        } else if (errno == ENOBUFS) {
            ++counters_.overruns;
        } else if (errno != EINTR) {
            break;
        }
    }
    stale();
}

void LinkWatch::stale() {
    if (dumping_) {
        stale_ = true;
    } else {
        dumpAlarm_.expiryIs(std::min(dumpAlarm_.expiry(), std::max(activityManager_.clock().now(),
                                                                   lastDump_ + dumpInterval)));
    }
}

// Runs when a dump is due, and when the one under way takes too long.
void LinkWatch::beginDump() {
    const Seconds now = activityManager_.clock().now();
    if (dumping_) {
        if (dump_->wait(0)) {
            // The loop has been held up, not the kernel.
            dumpAlarm_.expiryIs(now + answerLimit);
        } else {
            dumpFailed("the kernel does not tell its interfaces");
        }
        return;
    }
    stale_ = false;
    try {
        if (!dump_) {
            dump_.emplace();
            activityManager_.descriptorIs(dump_->fd(), [this] { handleDump(); });
        }
        dump_->begin();
        dumping_ = true;
        dumpAlarm_.expiryIs(now + answerLimit);
    } catch (const std::system_error& error) {
        dumpFailed(error.what());
    }
}

void LinkWatch::handleDump() {
    bool different = false;
    try {
        const RouteSocket::Answer answer = dump_->advance();
        if (answer != RouteSocket::Answer::incomplete) {
            different = endDump(answer == RouteSocket::Answer::disturbed);
        }
    } catch (const std::system_error& error) {
        dumpFailed(error.what());
    }
    if (different) {
        changed_();
    }
}

// Whether links() is different.
bool LinkWatch::endDump(bool disturbed) {
    const Seconds now = activityManager_.clock().now();
    dumping_ = false;
    lastDump_ = now;
    if (disturbed) {
        ++counters_.errors;
    } else {
        ++counters_.dumps;
        lastTrouble_.clear();
    }
    dumpAlarm_.expiryIs(now + (disturbed || stale_ ? dumpInterval : pollInterval));
    if (disturbed || links_ == dump_->table()) {
        return false;
    }
    links_.swap(dump_->table());
    return true;
}

void LinkWatch::dumpFailed(const std::string& what) {
    ++counters_.errors;
    dumping_ = false;
    // A new socket knows nothing of what went wrong on this one.
    closeDump();
    dumpAlarm_.expiryIs(activityManager_.clock().now() + retryInterval);
    if (std::exchange(lastTrouble_, what) != what) {
        tell_(what + "; what is known of them stands until it can be read again");
    }
}

void LinkWatch::closeDump() {
    if (dump_) {
        activityManager_.descriptorDel(dump_->fd());
        dump_.reset();
    }
}

}  // namespace MrpAgent
