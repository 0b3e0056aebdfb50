#pragma once

#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "agent/config/AgentConfig.h"
#include "agent/config/ConfigTable.h"
#include "mrp/MrpSm/types/MrpValueImage.h"

namespace MrpAgent {

// Reads what is to be declared: the tables [[vlans]], [[talkerAdvertise]], [[talkerFailed]],
// [[listener]] and [[domain]] of the root, into the configuration, whose applications and
// interfaces have been read.
class DeclarationReader {
  public:
    DeclarationReader(ConfigTable& root, AgentConfig& config) : root_(root), config_(config) {}

    void read();

  private:
    using VlanRange = std::pair<std::uint16_t, std::uint16_t>;

    void readVlans(ConfigTable& table);
    void readTalkerAdvertise(ConfigTable& table);
    void readTalkerFailed(ConfigTable& table);
    void readListener(ConfigTable& table);
    void readDomain(ConfigTable& table);
    Mrp::MsrpTalkerAdvertiseAttribute talkerOf(ConfigTable& table) const;

    // What every table may say: New or Join, and on which interfaces.
    Declaration scopeOf(ConfigTable& table, Mrp::MrpApplication application) const;
    // Declares the slot of the image, unless the attribute was declared before.
    void add(Declaration scope, Mrp::AttributeType attributeType, const Mrp::MrpValueImage& image,
             ConfigTable& table);

    ConfigTable& root_;
    AgentConfig& config_;
    std::set<std::tuple<std::string, Mrp::MrpApplication, Mrp::AttributeType, Mrp::AttributeKey>>
        declared_;
};

}  // namespace MrpAgent
