#include "agent/control/ControlClient.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <exception>
#include <utility>

#include "agent/control/RequestError.h"
#include "platform/time/Dispatch.h"

namespace MrpAgent {

using namespace Platform;
using Linux::UnixLineQueue;

namespace {

constexpr std::size_t octetsATurn = 65536;
constexpr int stepsASlice = 4;

// Closed with octets unread, a connection would look like a failure to the client.
void drain(int fd) {
    constexpr int reads = 16;
    std::array<char, 4096> buffer;
    for (int i = 0; i < reads; ++i) {
        if (::recv(fd, buffer.data(), buffer.size(), MSG_DONTWAIT) <= 0) {
            return;
        }
    }
}

}  // namespace

ControlClient::ControlClient(Linux::FileDescriptor socket, ControlAccess access, Parts parts)
    : socket_(std::move(socket)),
      access_(access),
      parts_(std::move(parts)),
      stalled_(parts_.activityManager.clock(), [this] {
          const auto self = shared_from_this();
          close();
      }) {}

ControlClient::~ControlClient() {
    if (socket_) {
        parts_.activityManager.descriptorDel(socket_.get());
    }
}

void ControlClient::start(const Json& greeting) {
    add(jsonLine(greeting));
    watch();
    workSoon();
}

void ControlClient::handleReadable() {
    std::array<char, 16384> buffer;
    const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
    if (count > 0) {
        input_.append(buffer.data(), static_cast<std::size_t>(count));
        if (findLine() || input_.size() > lineLimit) {
            workSoon();
        }
    } else if (count == 0) {
        inputEnded_ = true;
        workSoon();
    } else if (errno != EAGAIN && errno != EINTR) {
        close();
    }
}

void ControlClient::handleWritable() {
    send();
    workSoon();
}

// Whether the input begins with a whole line. Each octet is looked at once.
bool ControlClient::findLine() {
    if (!lineThere_) {
        const std::size_t end = input_.find('\n', lineEnd_);
        lineThere_ = end != std::string::npos;
        lineEnd_ = lineThere_ ? end : input_.size();
    }
    return lineThere_;
}

bool ControlClient::work() {
    if (!socket_) {
        return false;
    }
    bool more = true;
    try {
        for (int i = 0; i < stepsASlice && more; ++i) {
            more = !broken_ && !ending_ && queue_.waiting() < enough && advance();
        }
        const bool held = queue_.waiting() >= enough;
        send();
        more = more || (held && !full_);
        watch();
    } catch (const std::exception& error) {
        DispatchErrors::add(error);
        broken_ = true;
    }
    if (broken_ || finished()) {
        close();
        return false;
    }
    return more;
}

// One step. Whether there is another one to do.
bool ControlClient::advance() {
    if (answer_ != nullptr) {
        return advanceAnswer();
    }
    if (findLine() ? lineEnd_ > lineLimit : input_.size() > lineLimit) {
        id_ = "null";
        tellError(RequestError(RequestError::tooLong, "expected a line of at most " +
                                                          std::to_string(lineLimit) + " octets"));
        ending_ = true;
        return false;
    }
    if (!lineThere_) {
        return false;
    }
    const std::string line = input_.substr(0, lineEnd_);
    input_.erase(0, lineEnd_ + 1);
    lineEnd_ = 0;
    lineThere_ = false;
    begin(line);
    return true;
}

bool ControlClient::advanceAnswer() {
    Answer::State state = Answer::State::done;
    try {
        if (!answer_->endsByRequest() || !findLine()) {
            state = answer_->work();
        }
        if (state == Answer::State::done) {
            answer_ = nullptr;
            tellEnd({{"ok", true}});
        }
    } catch (const RequestError& error) {
        answer_ = nullptr;
        tellError(error);
    }
    return state != Answer::State::waits;
}

void ControlClient::begin(std::string_view line) {
    parts_.asked();
    id_ = "null";
    try {
        const Json request = RequestMembers::parse(line);
        if (const auto id = request.find("id"); id != request.end()) {
            id_ = jsonLine(*id);
        }
        answer_ = parts_.requests.answer(request, access_, *this);
        if (answer_ == nullptr) {
            tellEnd({{"ok", true}});
        }
    } catch (const RequestError& error) {
        tellError(error);
    } catch (const std::exception& error) {
        tellError(RequestError(RequestError::refused, error.what()));
    }
}

void ControlClient::tellEnd(const Json& end) {
    add("{\"id\": " + id_ + ", \"end\": " + jsonLine(end) + "}");
}

void ControlClient::tellError(const RequestError& error) {
    tellEnd({{"ok", false}, {"code", error.code()}, {"text", error.what()}});
}

void ControlClient::rowLineIs(const std::string& row) {
    add("{\"id\": " + id_ + ", \"row\": " + row + "}");
    // Rows that come in a burst would find no room otherwise, however fast they are read.
    if (queue_.waiting() >= triedAt_ + UnixLineQueue::sendOctets) {
        send();
    }
    workSoon();
}

void ControlClient::add(const std::string& line) {
    if (queue_.waiting() + line.size() > hardLimit) {
        broken_ = true;
    }
    if (!broken_) {
        queue_.add(line + "\n");
    }
}

// Calls nobody back.
void ControlClient::send() {
    const std::size_t before = queue_.waiting();
    const UnixLineQueue::Sent sent = queue_.sendTo(socket_.get(), octetsATurn);
    broken_ = broken_ || sent == UnixLineQueue::Sent::failed;
    full_ = sent == UnixLineQueue::Sent::later;
    triedAt_ = full_ ? queue_.waiting() : 0;
    if (!full_) {
        stalled_.expiryIs(never);
    } else if (queue_.waiting() < before || stalled_.expiry() == never) {
        stalled_.expiryIs(stalled_.clock().now() + parts_.patience);
    }
}

void ControlClient::watch() {
    const auto calling = [this](void (ControlClient::*handle)()) {
        return [weak = weak_from_this(), handle] {
            if (const auto self = weak.lock(); self && self->socket_) {
                ((*self).*handle)();
            }
        };
    };
    const bool reading =
        !inputEnded_ && !ending_ && !findLine() && (answer_ == nullptr || answer_->endsByRequest());
    auto& loop = parts_.activityManager;
    if (!watched_ || reading != reading_) {
        if (reading) {
            loop.descriptorIs(socket_.get(), calling(&ControlClient::handleReadable));
        } else {
            loop.descriptorIs(socket_.get(), nullptr, calling(&ControlClient::close));
        }
        watched_ = true;
        reading_ = reading;
        writing_ = false;
    }
    if (full_ != writing_) {
        loop.writableIs(socket_.get(), full_ ? Linux::EpollActivityManager::Callback(
                                                   calling(&ControlClient::handleWritable))
                                             : nullptr);
        writing_ = full_;
    }
}

// Whether all is said, and nothing can come any more.
bool ControlClient::finished() const {
    return queue_.waiting() == 0 && (ending_ || (inputEnded_ && !lineThere_ && answer_ == nullptr));
}

void ControlClient::close() {
    if (!socket_) {
        return;
    }
    parts_.activityManager.descriptorDel(socket_.get());
    drain(socket_.get());
    socket_.reset();
    answer_ = nullptr;
    stalled_.expiryIs(never);
    parts_.ended(shared_from_this());
}

}  // namespace MrpAgent
