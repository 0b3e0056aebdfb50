#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "agent/status/StatusJson.h"

namespace MrpAgent {

// The members of a request while they are read. What is wrong is thrown as a RequestError
// (badRequest) that begins with the member's name. The request outlives it.
class RequestMembers {
  public:
    // Reads the line of a client; throws when it is no JSON object, or nested too deeply.
    static Json parse(std::string_view line);

    // "request" and "id" are known to be there.
    explicit RequestMembers(const Json& request);

    // The member, whatever it is; null without it.
    const Json* find(std::string_view key);
    std::optional<std::string> text(std::string_view key, const std::string& expected);
    // One text or a list of them; nothing without the member.
    std::optional<std::vector<std::string>> texts(std::string_view key,
                                                  const std::string& expected);
    std::optional<double> number(std::string_view key, double min, double max);
    // A whole number of 1 or more.
    std::optional<std::uint64_t> count(std::string_view key);
    // There is no other member than those that have been asked for.
    void finish() const;

    [[noreturn]] static void fault(std::string_view key, const std::string& text);

  private:
    const Json& request_;
    std::set<std::string, std::less<>> known_{"id", "request"};
};

}  // namespace MrpAgent
