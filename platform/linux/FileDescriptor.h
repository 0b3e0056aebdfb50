#pragma once

#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace Platform::Linux {

// Owns one descriptor of the kernel and closes it.
class FileDescriptor final {
  public:
    static constexpr int none = -1;

    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : fd_(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, none)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            fd_ = std::exchange(other.fd_, none);
        }
        return *this;
    }
    ~FileDescriptor() { reset(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ != none; }
    void reset() {
        if (fd_ != none) {
            ::close(std::exchange(fd_, none));
        }
    }

  private:
    int fd_ = none;
};

// The result of a system call, or a std::system_error of errno that says what was being done.
template <class Result>
Result checked(Result result, const std::string& step) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), step);
    }
    return result;
}

}  // namespace Platform::Linux
