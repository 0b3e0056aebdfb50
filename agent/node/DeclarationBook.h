#pragma once

#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "agent/instance/Declaration.h"

namespace MrpAgent {

// All that a node declares or forbids by itself: by its configuration, and by requests made while
// it runs. An attribute is in it once a port.
class DeclarationBook {
  public:
    // All of the configuration's, in place of those of the one before. What is declared by requests
    // stays, and goes before.
    void configIs(const std::vector<Declaration>& declarations);

    // Takes in all of them or none: why not, in words for the user. One that is there with another
    // value is replaced.
    std::optional<std::string> declare(const std::vector<Declaration>& declarations);
    // Takes out all of them or none; what counts is the attribute and the ports, not the value.
    std::optional<std::string> withdraw(const std::vector<Declaration>& declarations);

    std::vector<Declaration> all() const;

  private:
    // Those of one attribute, on different ports.
    using Key = std::tuple<Mrp::MrpApplication, Mrp::AttributeType, Mrp::AttributeKey>;
    using Page = std::map<Key, std::vector<Declaration>>;

    static Key keyOf(const Declaration& declaration);
    // Takes the attribute out on those ports. Says in words what is in the way.
    static std::optional<std::string> takeOut(Page& page, const Declaration& out, bool& found);
    bool has(const Declaration& declaration) const;

    Page configured_;
    Page requested_;
};

}  // namespace MrpAgent
