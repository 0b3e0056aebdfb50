#include "platform/linux/LinuxEthDevPam.h"

#include <cstring>
#include <utility>

#include "platform/base/Assert.h"
#include "platform/log/Trace.h"

namespace Platform::Linux {

namespace {

TraceSource linuxTrace("Linux");

constexpr Seconds checkInterval = 1;
constexpr Seconds listenInterval = 0.1;

}  // namespace

LinuxEthDevPam::LinuxEthDevPam(IntfId intfId, std::string interfaceName,
                               EpollActivityManager& activityManager,
                               const EthDevPamParameters& parameters)
    : EthDevPam(intfId),
      interfaceName_(std::move(interfaceName)),
      activityManager_(activityManager),
      parameters_(parameters),
      checkAlarm_(activityManager.clock(), [this] { checkInterface(); }),
      listenAlarm_(activityManager.clock(), [this] { listenAgain(); }) {
    openSocket();
}

LinuxEthDevPam::~LinuxEthDevPam() {
    closeSocket();
}

void LinuxEthDevPam::openSocket() {
    socket_.emplace(interfaceName_, parameters_);
    try {
        listen();
    } catch (...) {
        socket_.reset();  // a socket that nobody watches is none
        throw;
    }
}

void LinuxEthDevPam::listen() {
    activityManager_.descriptorIs(
        socket_->fd(), [this] { handleReadable(); }, [this] { handleFailure(); });
}

void LinuxEthDevPam::listenAgain() {
    // Set first: should the system refuse, it is asked again.
    listenAlarm_.expiryIs(activityManager_.clock().now() + listenInterval);
    listen();
    listenAlarm_.expiryIs(never);
}

void LinuxEthDevPam::closeSocket() {
    if (socket_) {
        kernelDrops_ += socket_->takeDrops();
        activityManager_.descriptorDel(socket_->fd());
        listenAlarm_.expiryIs(never);
        socket_.reset();
    }
}

Ptr<Pkt> LinuxEthDevPam::rxPkt() {
    asked_ = true;
    // An error that is pending comes before the frames, and reading takes it away.
    constexpr int attempts = 8;
    for (int i = 0; i < attempts && socket_; ++i) {
        PacketSocket::Received received = socket_->receive();
        if (received.pkt) {
            ++counters_.received;
            return std::move(received.pkt);
        }
        if (received.error == EAGAIN) {
            break;
        }
        if (received.error != 0 && received.error != EINTR) {
            ++counters_.receiveErrors;
            PLATFORM_TRACE(linuxTrace, 1,
                           interfaceName_ << ": receiving: " << std::strerror(received.error));
            checkAlarm_.expiryIs(activityManager_.clock().now());
        }
    }
    return nullptr;
}

bool LinuxEthDevPam::txPkt(const Ptr<Pkt>& pkt) {
    require(static_cast<bool>(pkt), "there is a packet to send");
    const int error = socket_ ? socket_->send(*pkt) : ENODEV;
    if (error == 0) {
        ++counters_.sent;
        return true;
    }
    ++counters_.sendFailures;
    PLATFORM_TRACE(linuxTrace, 1,
                   interfaceName_ << ": sending " << pkt->bytes()
                                  << " octets: " << std::strerror(error));
    const bool interfaceTrouble = error == ENETDOWN || error == ENXIO || error == ENODEV;
    if (interfaceTrouble && checkAlarm_.expiry() == never) {
        checkAlarm_.expiryIs(activityManager_.clock().now());
    }
    return false;
}

bool LinuxEthDevPam::hasDataOnSocket() const {
    return socket_ && socket_->readable();
}

std::uint64_t LinuxEthDevPam::kernelDrops() {
    if (socket_) {
        kernelDrops_ += socket_->takeDrops();
    }
    return kernelDrops_;
}

void LinuxEthDevPam::handleReadable() {
    const Ptr<LinuxEthDevPam> self(this);
    if (readable().empty()) {
        ++counters_.discarded;
        socket_->discard();
        return;
    }
    asked_ = false;
    readable().notify();
    if (!asked_ && socket_) {
        // Left where they are, the frames would wake the loop for ever.
        activityManager_.descriptorDel(socket_->fd());
        listenAlarm_.expiryIs(activityManager_.clock().now() + listenInterval);
    }
}

void LinuxEthDevPam::handleFailure() {
    const int error = socket_->takeError();
    ++counters_.receiveErrors;
    PLATFORM_TRACE(linuxTrace, 1, interfaceName_ << ": socket error: " << std::strerror(error));
    if (error == 0) {
        // A condition that reading does not take away would wake the loop for ever.
        closeSocket();
    }
    checkInterface();
}

// Errors tell when an interface goes down, but not always when it goes away after that. So until it
// is up again it is looked at now and then.
void LinuxEthDevPam::checkInterface() {
    if (socket_) {
        switch (socket_->attachment()) {
        case PacketSocket::Attachment::running:
            checkAlarm_.expiryIs(never);
            return;
        case PacketSocket::Attachment::down:
            checkAlarm_.expiryIs(activityManager_.clock().now() + checkInterval);
            return;
        case PacketSocket::Attachment::lost:
            PLATFORM_TRACE(linuxTrace, 0, interfaceName_ << ": the interface has gone");
            closeSocket();
            break;
        }
    }
    reopen();
}

void LinuxEthDevPam::reopen() {
    try {
        openSocket();
        PLATFORM_TRACE(linuxTrace, 0, interfaceName_ << ": packet access is open again");
    } catch (const std::system_error& error) {
        PLATFORM_TRACE(linuxTrace, 2, error.what());
        checkAlarm_.expiryIs(activityManager_.clock().now() + checkInterval);
    }
}

}  // namespace Platform::Linux
