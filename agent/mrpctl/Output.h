#pragma once

#include <array>
#include <exception>
#include <streambuf>

namespace MrpCtl {

// Nobody reads standard output any more.
struct OutputClosed : std::exception {
    const char* what() const noexcept override { return "nobody reads"; }
};

// What a stream writes into: a descriptor. Writing throws OutputClosed of a pipe without a reader
// (SIGPIPE is to be ignored) and std::system_error of any other error; a stream lets both through
// when its exceptions() have badbit. What is flushed is out; what is not is lost.
class Output final : public std::streambuf {
  public:
    explicit Output(int fd);

  private:
    int_type overflow(int_type octet) override;
    int sync() override;

    int fd_;
    std::array<char, 65536> buffer_;
};

}  // namespace MrpCtl
