#pragma once

#include <cstddef>
#include <initializer_list>
#include <limits>
#include <map>
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
// interfaces have been read. What names no interfaces gets those of the configuration; where these
// are not known in advance it concerns every port, and any name will do.
class DeclarationReader {
  public:
    // `limit`: more attributes, each counted once an interface, are an error, and reading ends.
    DeclarationReader(ConfigTable& root, AgentConfig& config,
                      std::size_t limit = std::numeric_limits<std::size_t>::max())
        : root_(root), config_(config), limit_(limit) {}

    void read();
    // Reads what is to be withdrawn in place of that: [[vlans]], [[streams]] and [[domain]]. A
    // stream becomes a talker, a failed talker and a listener, in this order. Values have no more
    // than the key.
    void readWithdrawals();

  private:
    using Read = void (DeclarationReader::*)(ConfigTable& table);

    void readTables(std::initializer_list<std::pair<const char*, Read>> readers);
    void readVlans(ConfigTable& table);
    void readVlanIds(ConfigTable& table, const Declaration& scope);
    void readTalkerAdvertise(ConfigTable& table);
    void readTalkerFailed(ConfigTable& table);
    void readListener(ConfigTable& table);
    void readDomain(ConfigTable& table);
    void withdrawVlans(ConfigTable& table);
    void withdrawStream(ConfigTable& table);
    void withdrawDomain(ConfigTable& table);
    Mrp::MsrpTalkerAdvertiseAttribute talkerOf(ConfigTable& table) const;

    // On which interfaces, which every table may say; New or Join, where it is to be declared.
    Declaration scopeOf(ConfigTable& table, Mrp::MrpApplication application) const;
    Declaration newScopeOf(ConfigTable& table, Mrp::MrpApplication application) const;
    // Declares the slot of the image, unless the attribute was declared before or there are too
    // many: whether.
    bool add(Declaration scope, Mrp::AttributeType attributeType, const Mrp::MrpValueImage& image,
             ConfigTable& table);

    ConfigTable& root_;
    AgentConfig& config_;
    std::size_t limit_;
    std::size_t count_ = 0;
    // By attribute the interfaces; the empty name stands for all of them.
    std::map<std::tuple<Mrp::MrpApplication, Mrp::AttributeType, Mrp::AttributeKey>,
             std::set<std::string>>
        declared_;
};

}  // namespace MrpAgent
