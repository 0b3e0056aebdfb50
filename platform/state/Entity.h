#pragma once

#include <string>
#include <utility>

#include "platform/base/Ptr.h"

namespace Platform {

// A named piece of shared state. Entities are held by Ptr and tell of changes by Notifications.
class Entity : public RefCounted {
  public:
    explicit Entity(std::string name = {}) : name_(std::move(name)) {}
    Entity(const Entity&) = delete;
    Entity& operator=(const Entity&) = delete;
    virtual ~Entity() = default;

    const std::string& name() const { return name_; }

  private:
    std::string name_;
};

}  // namespace Platform
