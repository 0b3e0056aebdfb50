#include "platform/linux/UnixLineReader.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/base/Assert.h"
#include "platform/linux/UnixAddress.h"
#include "platform/time/Dispatch.h"

namespace Platform::Linux {

namespace {

constexpr std::size_t octetsATurn = 65536;

}  // namespace

UnixLineReader::UnixLineReader(EpollActivityManager& activityManager, Line line, Ended ended)
    : activityManager_(activityManager), line_(std::move(line)), ended_(std::move(ended)) {}

int UnixLineReader::connectTo(const std::string& path) {
    require(!connected(), "one connection at a time");
    sockaddr_un address{};
    if (const int error = unixAddressOf(path, address); error != 0) {
        return error;
    }
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket ||
        ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) < 0) {
        return errno;
    }
    try {
        activityManager_.descriptorIs(socket.get(), [this] { read(octetsATurn); });
    } catch (const std::system_error& error) {
        return error.code().value();
    }
    socket_ = std::move(socket);
    return 0;
}

void UnixLineReader::readArrived() {
    int arrived = 0;
    if (connected() && ::ioctl(socket_.get(), SIOCINQ, &arrived) == 0) {
        // One more, to find the end of the stream; not for as long as another process writes.
        read(static_cast<std::size_t>(arrived) + 1);
    }
}

void UnixLineReader::close() {
    if (connected()) {
        ++connection_;
        activityManager_.descriptorDel(socket_.get());
        socket_.reset();
        begun_.clear();
    }
}

// That many octets, if they are there, or a few more.
void UnixLineReader::read(std::size_t octets) {
    const std::uint64_t connection = connection_;
    std::array<char, 16384> buffer;
    for (std::size_t done = 0; done < octets && connection == connection_;) {
        const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
            take(std::string_view(buffer.data(), static_cast<std::size_t>(count)));
        } else if (count == 0) {
            const bool clean = begun_.empty();
            end(clean, clean ? "the other side closed the connection"
                             : "the connection ended in the middle of a line");
        } else if (errno == EAGAIN) {
            return;
        } else if (errno != EINTR) {
            end(false, std::strerror(errno));
        }
    }
}

void UnixLineReader::take(std::string_view octets) {
    const std::uint64_t connection = connection_;
    while (!octets.empty() && connection == connection_) {
        const std::size_t newline = octets.find('\n');
        const std::string_view part = octets.substr(0, newline);
        if (begun_.size() + part.size() > lineLimit) {
            end(false, "a line of more than " + std::to_string(lineLimit) + " octets");
        } else if (newline == std::string_view::npos) {
            begun_ += part;
            return;
        } else if (begun_.empty()) {
            dispatch([&] { line_(part); });
        } else {
            const std::string line = std::exchange(begun_, {}).append(part);
            dispatch([&] { line_(line); });
        }
        octets.remove_prefix(newline == std::string_view::npos ? octets.size() : newline + 1);
    }
}

void UnixLineReader::end(bool clean, const std::string& why) {
    close();
    ended_({clean, why});
}

}  // namespace Platform::Linux
