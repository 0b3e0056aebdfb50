#include "platform/state/EntityManager.h"

#include <stdexcept>

#include "platform/base/Text.h"

namespace Platform {

EntityManager::EntityManager(std::string name, ActivityManager& activityManager)
    : name_(std::move(name)), activityManager_(activityManager) {}

void EntityManager::entityIs(const std::string& path, Ptr<Entity> entity) {
    entities_[path] = std::move(entity);
}

Ptr<Entity> EntityManager::find(const std::string& path) const {
    const auto found = entities_.find(path);
    return found != entities_.end() ? found->second : nullptr;
}

std::string kernelStatusPath(const std::string& namespaceName) {
    constexpr std::size_t maxNameOctets = 150;
    if (namespaceName.size() > maxNameOctets) {
        throw std::range_error("NamespaceName::bytes > 150 not allowed");
    }
    return formatText("kni/ns/%s/status", {namespaceName});
}

}  // namespace Platform
