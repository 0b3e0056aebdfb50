#pragma once

#include <stdexcept>
#include <string>

namespace MrpAgent {

// Why a request is not done: a code for programs, and words for people.
class RequestError final : public std::runtime_error {
  public:
    static constexpr const char* badRequest = "badRequest";
    static constexpr const char* readOnly = "readOnly";
    static constexpr const char* refused = "refused";
    static constexpr const char* timeout = "timeout";
    static constexpr const char* tooLong = "tooLong";
    static constexpr const char* busy = "busy";

    RequestError(const char* code, const std::string& text)
        : std::runtime_error(text), code_(code) {}

    const char* code() const { return code_; }

  private:
    const char* code_;
};

}  // namespace MrpAgent
