#pragma once

#include <sys/time.h>

#include <string>
#include <string_view>

#include "platform/linux/FileDescriptor.h"
#include "platform/linux/UnixAddress.h"

namespace MrpLab {

using Platform::Linux::checked;
using Platform::Linux::FileDescriptor;

// Listens where an agent's attribute log would be, and tells a reader whatever the test wants.
// Throws std::system_error when something does not come about within seconds.
class LogStandIn {
  public:
    explicit LogStandIn(const std::string& path) : path_(path) {
        constexpr timeval patience{5, 0};
        sockaddr_un address{};
        Platform::Linux::unixAddressOf(path_, address);
        for (const int option : {SO_RCVTIMEO, SO_SNDTIMEO}) {
            ::setsockopt(listener_.get(), SOL_SOCKET, option, &patience, sizeof(patience));
        }
        const auto* general = reinterpret_cast<const sockaddr*>(&address);
        checked(::bind(listener_.get(), general, sizeof(address)), path_);
        checked(::listen(listener_.get(), 4), path_);
    }
    ~LogStandIn() { stop(); }

    int listener() const { return listener_.get(); }
    // Takes the next reader, waiting for it.
    void accept() {
        reader_ = FileDescriptor(
            checked(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC), path_));
    }
    void send(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t count = ::send(reader_.get(), text.data(), text.size(), MSG_NOSIGNAL);
            text.remove_prefix(static_cast<std::size_t>(checked(count, path_)));
        }
    }
    void end() { reader_.reset(); }  // of the connection
    // Nobody listens any more, and the path is gone. A connection stays.
    void stop() {
        listener_.reset();
        ::unlink(path_.c_str());
    }

  private:
    std::string path_;
    FileDescriptor listener_{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    FileDescriptor reader_;
};

}  // namespace MrpLab
