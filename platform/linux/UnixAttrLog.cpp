#include "platform/linux/UnixAttrLog.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <utility>

#include "platform/base/Assert.h"
#include "platform/log/Trace.h"
#include "platform/time/Dispatch.h"

namespace Platform::Linux {

namespace {

TraceSource linuxTrace("Linux");

// What is done in a turn of the loop before others have theirs.
constexpr int clientsATurn = 8;
constexpr std::size_t octetsATurn = 65536;
constexpr std::size_t stateOctets = 65536;

enum class Client { sends, silent, gone };

// Throws away what has come. Whether more can come.
Client drain(int fd) {
    constexpr int reads = 16;
    std::array<char, 4096> buffer;
    for (int i = 0; i < reads; ++i) {
        const ssize_t count = ::recv(fd, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count == 0) {
            pollfd request{fd, 0, 0};
            const bool ended = ::poll(&request, 1, 0) != 0;  // in both directions
            return ended ? Client::gone : Client::silent;
        }
        if (count < 0 && errno != EINTR) {
            return errno == EAGAIN ? Client::sends : Client::gone;
        }
    }
    return Client::sends;
}

}  // namespace

UnixAttrLog::UnixAttrLog(std::string name, std::string path, AttrLogContent& content,
                         EpollActivityManager& activityManager)
    : AttrLogSocketOutput(std::move(name)),
      path_(std::move(path)),
      content_(content),
      activityManager_(activityManager) {}

UnixAttrLog::~UnixAttrLog() {
    if (socket_) {
        queue_.sendTo(socket_.get(), octetsATurn);
        tellEnd();
        closeSocket();
    }
}

void UnixAttrLog::listen() {
    require(!listener_, "an attribute log listens once");
    listener_.emplace(path_, pathMode, activityManager_, [this] { handleClients(); });
}

int UnixAttrLog::sendBufferSize() const {
    int octets = -1;
    socklen_t size = sizeof(octets);
    return connected() && ::getsockopt(fd(), SOL_SOCKET, SO_SNDBUF, &octets, &size) == 0 ? octets
                                                                                         : -1;
}

int UnixAttrLog::unsentBytes() const {
    if (!connected()) {
        errno = ENOTCONN;
        return -1;
    }
    int octets = -1;
    return ::ioctl(fd(), SIOCOUTQ, &octets) == 0 ? octets : -1;
}

void UnixAttrLog::handleClients() {
    const Ptr<UnixAttrLog> self(this);
    for (int i = 0; i < clientsATurn; ++i) {
        FileDescriptor client = listener_->accept();
        if (!client) {
            return;
        }
        clientIs(std::move(client));
    }
}

void UnixAttrLog::clientIs(FileDescriptor client) {
    if (socket_ && drain(socket_.get()) == Client::gone) {
        handleGone();  // just before
    }
    if (socket_) {
        refuse(client);
        return;
    }
    socket_ = std::move(client);
    try {
        watch([this] { handleReadable(); });
    } catch (...) {
        socket_.reset();  // a reader that nobody watches is none
        throw;
    }
    stateLeft_ = true;
    ++counters_.readers;
    try {
        fdIs(socket_.get());
        content_.readerStarts(*this);
        watchWritable();
    } catch (const std::exception& error) {
        DispatchErrors::add(error);
        endSoon();
    }
}

void UnixAttrLog::refuse(const FileDescriptor& client) {
    ++counters_.refused;
    const std::string line = content_.refusal();
    static_cast<void>(::send(client.get(), line.data(), line.size(), MSG_NOSIGNAL | MSG_DONTWAIT));
    drain(client.get());  // closed with octets unread, it would look like a failure there
}

void UnixAttrLog::watch(EpollActivityManager::Callback readable) {
    activityManager_.descriptorIs(socket_.get(), std::move(readable), [this] { handleGone(); });
    watching_ = false;
}

void UnixAttrLog::handleReadable() {
    switch (drain(socket_.get())) {
    case Client::sends:
        break;
    case Client::silent:
        watch(nullptr);
        watchWritable();
        break;
    case Client::gone:
        handleGone();
        break;
    }
}

void UnixAttrLog::handleGone() {
    const Ptr<UnixAttrLog> self(this);
    queue_ = {};  // nobody is there to take the rest of a line
    end();
}

void UnixAttrLog::handleWritable() {
    const Ptr<UnixAttrLog> self(this);
    full_ = false;
    work();
    if (stateLeft_ && !full_) {
        appendState();
    }
}

void UnixAttrLog::linesIs(std::string_view lines) {
    if (!connected() || ending_ || lines.empty()) {
        return;
    }
    require(lines.back() == '\n', "an attribute log is given whole lines");
    try {
        if (!append(lines)) {
            return;
        }
        // Also a full socket is tried now and then: see work().
        if (queue_.waiting() >= triedAt_ + UnixLineQueue::sendOctets) {
            send();
        } else {
            postWork();
        }
    } catch (const std::exception& error) {
        DispatchErrors::add(error);
        endSoon();
    }
}

void UnixAttrLog::linesLost() {
    if (connected() && !ending_) {
        ++counters_.dropped;
        counters_.droppedLines += 1 + queue_.drop();
        endSoon();
    }
}

// Work that must not be done, or would be wasted, inside a call of the content's.
void UnixAttrLog::postWork() {
    if (posted_) {
        return;
    }
    activityManager_.post([weak = std::weak_ptr<UnixAttrLog*>(self_)] {
        if (const auto self = weak.lock()) {
            const Ptr<UnixAttrLog> log(*self);
            log->posted_ = false;
            log->work();
        }
    });
    posted_ = true;
}

// Tries also a socket that was full. The kernel calls it writable only when three quarters of it
// are free; were it left alone until then, whoever watches unsentBytes() would see room in it while
// lines wait here.
void UnixAttrLog::work() {
    if (ending_) {
        end();
    } else if (socket_) {
        send();
    }
}

// False when the lines are lost, and the connection with them.
bool UnixAttrLog::append(std::string_view lines) {
    try {
        const std::size_t wanted = queue_.waiting() + lines.size();
        if (wanted <= queueLimit || wanted <= 2 * content_.stateSize()) {
            queue_.add(lines);
            return true;
        }
    } catch (const std::bad_alloc& error) {
        DispatchErrors::add(error);
    }
    const auto lost = static_cast<std::uint64_t>(std::count(lines.begin(), lines.end(), '\n'));
    PLATFORM_TRACE(linuxTrace, 0, path() << ": the reader is too slow");
    ++counters_.dropped;
    counters_.droppedLines += lost + queue_.drop();
    endSoon();
    return false;
}

void UnixAttrLog::appendState() {
    try {
        std::string lines;
        stateLeft_ = content_.stateLines(lines, stateOctets);
        if (append(lines)) {
            send();
        }
    } catch (const std::exception& error) {
        DispatchErrors::add(error);
        endSoon();
    }
}

void UnixAttrLog::send() {
    const UnixLineQueue::Sent sent = queue_.sendTo(socket_.get(), octetsATurn);
    if (sent == UnixLineQueue::Sent::failed) {
        queue_ = {};
        endSoon();
        return;
    }
    full_ = sent == UnixLineQueue::Sent::later;
    triedAt_ = full_ ? queue_.waiting() : 0;
    watchWritable();
}

void UnixAttrLog::watchWritable() {
    const bool wanted = full_ || stateLeft_;
    if (wanted != watching_) {
        activityManager_.writableIs(socket_.get(), wanted ? [this] { handleWritable(); }
                                                          : EpollActivityManager::Callback());
        watching_ = wanted;
    }
}

void UnixAttrLog::endSoon() {
    ending_ = true;
    stateLeft_ = false;
    queue_.drop();
    dispatch([this] { postWork(); });  // what cannot be posted is done at the next event
}

void UnixAttrLog::end() {
    ending_ = true;
    stateLeft_ = false;
    tellEnd();
    const UnixLineQueue::Sent rest = queue_.sendTo(socket_.get(), octetsATurn);
    if (rest == UnixLineQueue::Sent::later) {
        full_ = true;
        watchWritable();
    } else {
        closeSocket();
    }
}

// Errors of those who are told hold up nothing.
void UnixAttrLog::tellEnd() {
    if (connected()) {
        dispatch([this] { fdIs(noSocket); });
        dispatch([this] { content_.readerEnds(); });
    }
}

void UnixAttrLog::closeSocket() {
    activityManager_.descriptorDel(socket_.get());
    drain(socket_.get());  // as in refuse()
    socket_.reset();
    queue_ = {};
    stateLeft_ = full_ = watching_ = ending_ = false;
    triedAt_ = 0;
}

}  // namespace Platform::Linux
