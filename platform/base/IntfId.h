#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

namespace Platform {

// An interface, as an eight-byte value. Interfaces order as their names were first seen by the
// process; the empty IntfId stands for no interface, has an empty name and comes before all others.
class IntfId {
  public:
    IntfId() = default;
    // The interface of that name; the same name gives the same IntfId for the life of the process.
    explicit IntfId(std::string_view name);

    bool empty() const { return value_ == 0; }
    std::uint64_t value() const { return value_; }
    const std::string& name() const;

    auto operator<=>(const IntfId&) const = default;

  private:
    std::uint64_t value_ = 0;
};

static_assert(sizeof(IntfId) == 8);

}  // namespace Platform
