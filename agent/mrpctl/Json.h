#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace MrpCtl {

// Keeps the members of an object in their order.
using Json = nlohmann::ordered_json;

// The value as one line without its end, whatever octets its texts hold.
inline std::string jsonLine(const Json& json) {
    constexpr int oneLine = -1;
    return json.dump(oneLine, ' ', false, Json::error_handler_t::replace);
}

}  // namespace MrpCtl
