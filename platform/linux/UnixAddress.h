#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <string>

namespace Platform::Linux {

// The address of the socket at a path. 0, or errno for a path that no socket can have:
// ENAMETOOLONG, and EINVAL where the kernel would take it for another or for no path at all.
inline int unixAddressOf(const std::string& path, sockaddr_un& address) {
    if (path.size() >= sizeof(address.sun_path)) {
        return ENAMETOOLONG;
    }
    if (path.empty() || path.find('\0') != std::string::npos) {
        return EINVAL;
    }
    address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, path.size());
    return 0;
}

}  // namespace Platform::Linux
