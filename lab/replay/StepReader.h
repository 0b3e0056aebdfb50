#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "lab/replay/JsonMembers.h"
#include "lab/replay/Step.h"

namespace MrpLab {

// Turns the lines of one scenario, from the first on, into steps. Whether a line is a valid step is
// told by the scenario alone, never by what the engine has come to. Names of interfaces become
// known in the order of the first step's list, which is so the order of their IntfIds.
class StepReader {
  public:
    // The line's step; nothing for an empty line and for a comment. StepError for a line that is no
    // valid step; no further line is read then.
    std::optional<Step> step(std::string_view line);

  private:
    using ReadAction = Step::Action (StepReader::*)(const JsonValue&);

    static const std::map<std::string, ReadAction, std::less<>>& actions();
    const std::string& actionName(const Json& json) const;
    void checkPlace(const std::string& action) const;
    Platform::Seconds time(const JsonValue& value) const;

    Step::Action start(const JsonValue& value);
    Step::Action enable(const JsonValue& value);
    Step::Action disable(const JsonValue& value);
    Step::Action receive(const JsonValue& value);
    Step::Action request(const JsonValue& value);
    Step::Action transmitAllLeaveAll(const JsonValue& value);
    Step::Action role(const JsonValue& value);
    Step::Action config(const JsonValue& value);
    Step::Action active(const JsonValue& value);
    Step::Action discard(const JsonValue& value);
    Step::Action cleanUp(const JsonValue& value);
    Step::Action clog(const JsonValue& value);
    Step::Action recycled(const JsonValue& value);
    Step::Action state(const JsonValue& value);
    Step::Action dump(const JsonValue& value);
    Step::Action end(const JsonValue& value);

    StartStep::Interface newInterface(const JsonValue& value);
    ConfigStep configOf(JsonMembers& members) const;
    ConfigStep::IntfTimes intfTimes(const JsonValue& value) const;
    Platform::IntfId known(const std::string& name, const std::string& place) const;
    Platform::IntfId intf(const JsonValue& value) const;
    Mrp::MrpAttribute attribute(JsonMembers& members) const;
    Octets storedValue(const JsonValue& value, Mrp::AttributeType attributeType) const;

    Platform::Seconds at_ = 0;
    bool started_ = false;
    bool ended_ = false;
    Mrp::MrpApplication application_ = Mrp::MrpApplication::none;
    std::map<std::string, Platform::IntfId, std::less<>> interfaces_;
};

}  // namespace MrpLab
