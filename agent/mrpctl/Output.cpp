#include "agent/mrpctl/Output.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace MrpCtl {

Output::Output(int fd) : fd_(fd) {
    setp(buffer_.data(), buffer_.data() + buffer_.size());
}

Output::int_type Output::overflow(int_type octet) {
    sync();
    if (!traits_type::eq_int_type(octet, traits_type::eof())) {
        sputc(traits_type::to_char_type(octet));
    }
    return traits_type::not_eof(octet);
}

int Output::sync() {
    const char* next = pbase();
    const char* const end = pptr();
    setp(buffer_.data(), buffer_.data() + buffer_.size());
    while (next < end) {
        const ssize_t octets = ::write(fd_, next, static_cast<std::size_t>(end - next));
        if (octets >= 0) {
            next += octets;
        } else if (errno == EPIPE) {
            throw OutputClosed();
        } else if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "standard output");
        }
    }
    return 0;
}

}  // namespace MrpCtl
