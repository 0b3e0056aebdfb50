#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "lab/replay/JsonValue.h"

namespace MrpLab {

// The members of an object inside a step. Who reads an object asks for each member that it may
// have, and then calls end(): no member goes unread. All throw StepError.
class JsonMembers {
  public:
    explicit JsonMembers(const JsonValue& object);

    // The member, which must be there.
    JsonValue at(const std::string& name);
    // The member, or nothing.
    std::optional<JsonValue> find(const std::string& name);
    bool boolean(const std::string& name, bool otherwise);
    // Every member, where the names are the writer's.
    std::vector<std::pair<std::string, JsonValue>> all();
    // Refuses a member that has not been asked for.
    void end() const;

  private:
    std::string placeOf(const std::string& name) const;

    JsonValue object_;
    std::set<std::string> asked_;
};

}  // namespace MrpLab
