#include "platform/base/IntfId.h"

#include <deque>
#include <map>

namespace Platform {

namespace {

// Names by value (the index) and values by name. A deque keeps references to names valid.
struct InterfaceNames {
    std::deque<std::string> names{std::string()};
    std::map<std::string, std::uint64_t, std::less<>> values{{std::string(), 0}};
};

InterfaceNames& interfaceNames() {
    static InterfaceNames names;
    return names;
}

}  // namespace

IntfId::IntfId(std::string_view name) {
    InterfaceNames& known = interfaceNames();
    const auto found = known.values.find(name);
    if (found != known.values.end()) {
        value_ = found->second;
        return;
    }
    value_ = known.names.size();
    known.names.emplace_back(name);
    known.values.emplace(std::string(name), value_);
}

const std::string& IntfId::name() const {
    return interfaceNames().names[value_];
}

}  // namespace Platform
