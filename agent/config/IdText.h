#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace MrpAgent {

// A Stream ID or Bridge ID as its eight octets: "02:00:00:00:00:aa:00:01", lower-case.
std::string idText(std::uint64_t id);

// Reads the same (either case, '-' as separator too); nothing for any other text.
std::optional<std::uint64_t> idOf(std::string_view text);

}  // namespace MrpAgent
