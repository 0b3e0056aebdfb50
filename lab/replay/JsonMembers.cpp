#include "lab/replay/JsonMembers.h"

#include "lab/replay/StepError.h"

namespace MrpLab {

JsonMembers::JsonMembers(const JsonValue& object) : object_(object) {
    if (!object.json().is_object()) {
        object.refuse("an object");
    }
}

std::string JsonMembers::placeOf(const std::string& name) const {
    return object_.place().empty() ? name : object_.place() + "." + name;
}

JsonValue JsonMembers::at(const std::string& name) {
    const auto value = find(name);
    if (!value) {
        throw StepError(placeOf(name) + ": missing");
    }
    return *value;
}

std::optional<JsonValue> JsonMembers::find(const std::string& name) {
    asked_.insert(name);
    const auto found = object_.json().find(name);
    return found != object_.json().end() ? std::optional(JsonValue(*found, placeOf(name)))
                                         : std::nullopt;
}

bool JsonMembers::boolean(const std::string& name, bool otherwise) {
    const auto value = find(name);
    return value ? value->boolean() : otherwise;
}

std::vector<std::pair<std::string, JsonValue>> JsonMembers::all() {
    std::vector<std::pair<std::string, JsonValue>> members;
    for (const auto& [name, value] : object_.json().items()) {
        asked_.insert(name);
        members.emplace_back(name, JsonValue(value, placeOf(quoted(name))));
    }
    return members;
}

void JsonMembers::end() const {
    for (const auto& [name, value] : object_.json().items()) {
        if (!asked_.contains(name)) {
            throw StepError(placeOf(quoted(name)) + ": unknown");
        }
    }
}

}  // namespace MrpLab
