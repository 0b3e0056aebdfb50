#include "agent/mrpctl/AgentConnection.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <ctime>

#include "platform/linux/UnixAddress.h"

namespace MrpCtl {

namespace {

constexpr std::size_t receiveOctets = 65536;

timeval timevalOf(double seconds) {
    constexpr double microseconds = 1e6;
    timeval time{};
    time.tv_sec = static_cast<time_t>(seconds);
    time.tv_usec = static_cast<suseconds_t>((seconds - std::floor(seconds)) * microseconds);
    return time;
}

// EAGAIN is what the kernel says when the socket's time is up.
std::string reasonOf(int error) {
    return error == EAGAIN ? "the agent does not answer" : std::strerror(error);
}

}  // namespace

AgentConnection::AgentConnection(const std::string& path, double silence) {
    socket_ = Platform::Linux::FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket_) {
        throw Unreachable(std::string("no socket: ") + std::strerror(errno));
    }
    silenceIs(silence);
    connectTo(path);
    greeting_ = line();
    const auto found = greeting_.find("mrpControl");
    if (found == greeting_.end() || !found->is_number_integer()) {
        throw Unreachable(path + ": whoever listens there is no agent");
    }
    if (*found != version) {
        throw Unreachable("the agent speaks version " + jsonLine(*found) +
                          " of the control protocol, not version " + std::to_string(version));
    }
}

void AgentConnection::silenceIs(double seconds) {
    const timeval time = timevalOf(seconds);
    for (const int option : {SO_RCVTIMEO, SO_SNDTIMEO}) {
        if (::setsockopt(socket_.get(), SOL_SOCKET, option, &time, sizeof(time)) != 0) {
            throw Unreachable(std::string("no time limit: ") + std::strerror(errno));
        }
    }
}

void AgentConnection::connectTo(const std::string& path) {
    sockaddr_un address{};
    int error = Platform::Linux::unixAddressOf(path, address);
    while (error == 0) {
        const auto* general = reinterpret_cast<const sockaddr*>(&address);
        if (::connect(socket_.get(), general, sizeof(address)) == 0) {
            return;
        }
        if (errno != EINTR) {
            error = errno;
        }
    }
    throw Unreachable(path + ": " + reasonOf(error));
}

void AgentConnection::requestIs(const Json& request) {
    const std::string text = jsonLine(request) + '\n';
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t octets =
            ::send(socket_.get(), text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (octets >= 0) {
            sent += static_cast<std::size_t>(octets);
        } else if (errno == EPIPE || errno == ECONNRESET) {
            return;
        } else if (errno != EINTR) {
            throw Unreachable(reasonOf(errno));
        }
    }
}

Json AgentConnection::line() {
    while (true) {
        const std::size_t end = received_.find('\n', searched_);
        if (end != std::string::npos) {
            const std::size_t begin = taken_;
            taken_ = searched_ = end + 1;
            return parsed(std::string_view(received_).substr(begin, end - begin));
        }
        received_.erase(0, taken_);
        taken_ = 0;
        searched_ = received_.size();
        if (received_.size() > lineLimit) {
            throw Unreachable("the agent says a line without an end");
        }
        receive();
    }
}

void AgentConnection::receive() {
    const std::size_t before = received_.size();
    received_.resize(before + receiveOctets);
    const ssize_t octets = ::recv(socket_.get(), received_.data() + before, receiveOctets, 0);
    const int error = errno;
    received_.resize(before + static_cast<std::size_t>(octets > 0 ? octets : 0));
    if (octets == 0) {
        throw Unreachable("the agent has closed the connection");
    }
    if (octets < 0 && error != EINTR) {
        throw Unreachable(reasonOf(error));
    }
}

// Values that are deeply nested would need as deep a stack when they are shown.
Json AgentConnection::parsed(std::string_view text) const {
    const auto shallow = [](int depth, Json::parse_event_t, const Json&) {
        return depth <= depthLimit ? true : throw Unreachable("the agent's lines nest too deeply");
    };
    Json json;
    try {
        json = Json::parse(text, shallow);
    } catch (const Json::exception&) {
        throw Unreachable("what the agent says is no JSON");
    }
    if (!json.is_object()) {
        throw Unreachable("what the agent says is no object");
    }
    return json;
}

}  // namespace MrpCtl
