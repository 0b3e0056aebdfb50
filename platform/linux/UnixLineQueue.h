#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Platform::Linux {

// Lines that wait for a Unix stream socket to take them. What it writes at a time is whole lines
// and so little that the kernel takes it whole or not at all; only a line that is longer than that
// can be out in part.
class UnixLineQueue final {
  public:
    // `later`: the rest when the socket is writable. `failed`: the connection is no more (errno).
    enum class Sent { all, later, failed };

    static constexpr std::size_t sendOctets = 16384;

    // In octets.
    std::size_t waiting() const { return lines_.size() - sent_; }
    // Whole lines. Throws std::bad_alloc, and has then taken none.
    void add(std::string_view lines) { lines_ += lines; }
    // Writes what the socket takes without waiting, and no more once `octets` are written.
    Sent sendTo(int fd, std::size_t octets);
    // Drops the lines of which nothing is out. How many?
    std::uint64_t drop();

  private:
    std::string_view next() const;

    std::string lines_;
    std::size_t sent_ = 0;  // of lines_
    bool inLine_ = false;   // what is sent ends in the middle of a line
};

}  // namespace Platform::Linux
