#include "agent/bridge/VlanFilter.h"

#include <libmnl/libmnl.h>
#include <linux/if_bridge.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace MrpAgent {

using Platform::Seconds;

namespace {

constexpr Seconds collectTime = 0.01;  // from a change to the reading
constexpr Seconds retryInterval = 10;
constexpr Seconds answerLimit = 2;
constexpr std::size_t vlansAWrite = 256;  // a write holds up everything else that the kernel does
                                          // about interfaces
constexpr int finishRounds = 10;

void putVlan(nlmsghdr* message, std::uint16_t vlan, unsigned flags) {
    const bridge_vlan_info info{static_cast<std::uint16_t>(flags), vlan};
    mnl_attr_put(message, IFLA_BRIDGE_VLAN_INFO, sizeof(info), &info);
}

void putVlans(nlmsghdr* message, const VlanSet& vlans) {
    eachRange(vlans, [message](std::uint16_t first, std::uint16_t last) {
        if (first == last) {
            putVlan(message, first, 0);
        } else {
            putVlan(message, first, BRIDGE_VLAN_INFO_RANGE_BEGIN);
            putVlan(message, last, BRIDGE_VLAN_INFO_RANGE_END);
        }
    });
}

}  // namespace

VlanFilter::VlanFilter(Platform::Linux::EpollActivityManager& activityManager, Tell tell)
    : activityManager_(activityManager),
      tell_(std::move(tell)),
      alarm_(activityManager.clock(), [this] { beginReading(); }) {}

VlanFilter::~VlanFilter() {
    if (socket_) {
        activityManager_.descriptorDel(socket_->fd());
    }
}

void VlanFilter::memberIs(int portIndex, std::uint16_t vlan, bool member) {
    if (vlan == 0 || vlan > lastVlan) {
        return;
    }
    VlanSet& wanted = ports_[portIndex].wanted;
    if (wanted.test(vlan) != member) {
        wanted.set(vlan, member);
        readSoon();
    }
}

void VlanFilter::portDel(int portIndex) {
    ports_.erase(portIndex);
    told_.erase(portIndex);
}

void VlanFilter::review() {
    if (!ports_.empty()) {
        readSoon();
    }
}

void VlanFilter::readSoon() {
    changed_ = true;
    if (stage_ == Stage::idle) {
        alarm_.expiryIs(std::min(alarm_.expiry(), activityManager_.clock().now() + collectTime));
    }
}

// Runs when it is time, and when the kernel does not answer.
void VlanFilter::beginReading() {
    if (stage_ != Stage::idle) {
        if (socket_->wait(0)) {
            // The loop has been held up, not the kernel.
            alarm_.expiryIs(activityManager_.clock().now() + answerLimit);
        } else {
            readingFailed("the kernel does not answer");
        }
        return;
    }
    onlyLook_ = incomplete_ && !changed_;
    changed_ = false;
    incomplete_ = false;
    actual_.clear();
    try {
        if (!socket_) {
            socket_.emplace();
            activityManager_.descriptorIs(socket_->fd(), [this] { handleReadable(); });
        }
        socket_->sendLinkDump(AF_BRIDGE);
        stage_ = Stage::reading;
        alarm_.expiryIs(activityManager_.clock().now() + answerLimit);
    } catch (const std::system_error& error) {
        readingFailed(error.code().message());
    }
}

void VlanFilter::handleReadable() {
    try {
        advance();
    } catch (const std::system_error& error) {
        if (stage_ == Stage::writing) {
            refused(error);
            writeNext();
        } else {
            readingFailed(error.code().message());
        }
    }
}

// Takes in the answer to what was asked or written last, and goes on.
void VlanFilter::advance() {
    const RouteSocket::Answer answer = socket_->receive([this](const nlmsghdr& message) {
        if (auto vlans = portVlansOf(message); vlans && stage_ == Stage::reading) {
            const int index = vlans->index;
            actual_.insert_or_assign(index, *std::move(vlans));
        }
    });
    if (answer == RouteSocket::Answer::incomplete || stage_ == Stage::idle) {
        return;
    }
    if (stage_ == Stage::writing) {
        written();
    } else if (answer == RouteSocket::Answer::disturbed) {
        changed_ = true;
        rest();
    } else {
        told_.erase(0);
        plan();
        writeNext();
    }
}

// What there is to be written, from what is wanted and what is there.
void VlanFilter::plan() {
    for (auto entry = ports_.begin(); entry != ports_.end();) {
        auto& [index, port] = *entry;
        const auto actual = actual_.find(index);
        if (actual == actual_.end()) {
            port.own = {};
        } else {
            planPort(actual->second, port);
        }
        entry = port.wanted.none() && port.own.none() ? ports_.erase(entry) : std::next(entry);
    }
}

void VlanFilter::planPort(const PortVlans& actual, Port& port) {
    port.own &= actual.members & ~actual.marked;
    if (onlyLook_) {
        return;
    }
    const VlanSet removed = port.own & ~port.wanted;
    const VlanSet added = port.wanted & ~actual.members;
    if (removed.none() && added.none()) {
        told_.erase(actual.index);
    }
    planWrites(actual.index, false, removed);
    planWrites(actual.index, true, added);
}

void VlanFilter::planWrites(int index, bool add, const VlanSet& vlans) {
    VlanSet part;
    for (std::size_t vlan = 0; vlan < vlans.size(); ++vlan) {
        part.set(vlan, vlans.test(vlan));
        if (part.count() == vlansAWrite || (vlan + 1 == vlans.size() && part.any())) {
            writes_.push_back({index, add, part});
            part.reset();
        }
    }
}

void VlanFilter::writeNext() {
    stage_ = Stage::writing;
    while (!writes_.empty()) {
        try {
            alarm_.expiryIs(activityManager_.clock().now() + answerLimit);
            send(writes_.front());
            return;
        } catch (const std::system_error& error) {
            refused(error);
        }
    }
    rest();
}

void VlanFilter::send(const Write& write) {
    alignas(nlmsghdr) std::array<char, 2 * 8 * vlansAWrite> buffer{};
    nlmsghdr* message = putLinkHeader(buffer.data(), write.add ? RTM_SETLINK : RTM_DELLINK,
                                      NLM_F_ACK, AF_BRIDGE, write.port);
    nlattr* nest = mnl_attr_nest_start(message, IFLA_AF_SPEC);
    mnl_attr_put_u16(message, IFLA_BRIDGE_FLAGS, BRIDGE_FLAGS_MASTER);
    putVlans(message, write.vlans);
    mnl_attr_nest_end(message, nest);

    // From here on some of them may be there. The next reading tells which of them are.
    if (const auto port = ports_.find(write.port); write.add && port != ports_.end()) {
        port->second.own |= write.vlans;
    }
    socket_->send(*message);
}

void VlanFilter::written() {
    const Write write = writes_.front();
    writes_.pop_front();
    ++status_.writes;
    if (const auto port = ports_.find(write.port); !write.add && port != ports_.end()) {
        port->second.own &= ~write.vlans;
    }
    writeNext();
}

void VlanFilter::refused(const std::system_error& error) {
    const Write write = writes_.front();
    writes_.pop_front();
    incomplete_ = true;
    // A port that has gone meanwhile is no trouble.
    if (error.code() != std::errc::no_such_device) {
        ++status_.failures;
        status_.lastError = actual_[write.port].name + ": VLANs " + stringValue(write.vlans) +
                            " cannot be " + (write.add ? "added to" : "removed from") +
                            " the bridge's filter: " + error.code().message();
        if (std::exchange(told_[write.port], status_.lastError) != status_.lastError) {
            tell_(status_.lastError);
        }
    }
}

void VlanFilter::readingFailed(const std::string& what) {
    ++status_.failures;
    status_.lastError = "the bridge's VLAN filter cannot be read: " + what;
    // A new socket knows nothing of what went wrong on this one.
    if (socket_) {
        activityManager_.descriptorDel(socket_->fd());
        socket_.reset();
    }
    writes_.clear();
    stage_ = Stage::idle;
    alarm_.expiryIs(activityManager_.clock().now() + retryInterval);
    if (std::exchange(told_[0], status_.lastError) != status_.lastError) {
        tell_(status_.lastError);
    }
}

// All is written, or refused, until the next reading.
void VlanFilter::rest() {
    const Seconds now = activityManager_.clock().now();
    stage_ = Stage::idle;
    if (changed_ || incomplete_) {
        alarm_.expiryIs(now + collectTime);
    } else {
        alarm_.expiryIs(told_.empty() ? Platform::never : now + retryInterval);
    }
}

void VlanFilter::finish() {
    for (auto& [index, port] : ports_) {
        port.wanted = {};
    }
    changed_ = true;
    onlyLook_ = false;
    for (int i = 0; i < finishRounds && !ownIsEmpty(); ++i) {
        if (stage_ == Stage::idle) {
            beginReading();
        }
        while (stage_ != Stage::idle) {
            if (!socket_->wait(answerLimit)) {
                readingFailed("the kernel does not answer");
                return;
            }
            handleReadable();
        }
    }
    alarm_.expiryIs(Platform::never);
}

bool VlanFilter::ownIsEmpty() const {
    return std::all_of(ports_.begin(), ports_.end(),
                       [](const auto& entry) { return entry.second.own.none(); });
}

VlanFilter::Status VlanFilter::status() const {
    Status status = status_;
    for (const auto& [index, port] : ports_) {
        status.members += port.own.count();
    }
    return status;
}

}  // namespace MrpAgent
