#pragma once

#include "platform/state/Entity.h"

namespace Platform::Stp {

// The spanning-tree status of the switch.
class Status final : public Entity {
  public:
    using Entity::Entity;
};

}  // namespace Platform::Stp
