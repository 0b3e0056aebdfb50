#pragma once

#include <map>
#include <string>

#include "platform/state/Entity.h"

namespace Platform {

class ActivityManager;

// One node's connection to its state: entities by path, and the activity manager on which the node
// runs. Whoever builds the node fills it; state machines look up what they need by path.
class EntityManager final : public RefCounted {
  public:
    // The name under which the node's state is known (also that of its attribute log output).
    EntityManager(std::string name, ActivityManager& activityManager);
    EntityManager(const EntityManager&) = delete;
    EntityManager& operator=(const EntityManager&) = delete;

    const std::string& name() const { return name_; }
    ActivityManager& activityManager() const { return activityManager_; }

    void entityIs(const std::string& path, Ptr<Entity> entity);
    // The entity at the path; null when there is none or it is of another type.
    template <class T>
    Ptr<T> entity(const std::string& path) const {
        return ptrCast<T>(find(path));
    }

  private:
    Ptr<Entity> find(const std::string& path) const;

    std::string name_;
    ActivityManager& activityManager_;
    std::map<std::string, Ptr<Entity>> entities_;
};

// The path of a network namespace's kernel status. Throws std::range_error for a name of more than
// 150 octets.
std::string kernelStatusPath(const std::string& namespaceName);

// The name of the network namespace in which an agent starts.
inline constexpr const char* defaultNamespaceName = "default";

}  // namespace Platform
