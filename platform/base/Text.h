#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace Platform {

// The number in hexadecimal: lower-case, without prefix and leading zeros ("0" for zero).
std::string hexStr(std::uint64_t number);

// A time or span in seconds with six decimals, however large it is.
std::string secondsText(double seconds);

// The bytes as hexadecimal digits, two a byte.
std::string hexBytes(std::span<const std::uint8_t> bytes);

// The pattern with each "%s" or "%d" replaced by the next argument. A placeholder without an
// argument stays as it is; arguments left over are ignored.
std::string formatText(std::string_view pattern, std::initializer_list<std::string_view> arguments);

}  // namespace Platform
