#pragma once

#include <string>

#include "platform/base/Assert.h"
#include "platform/state/Directory.h"
#include "platform/status/Bridging.h"

namespace Platform::Stp {

// A part's status by its name. Parts are made by their names and live until they are removed.
template <class Part>
class PartDir final : public Directory<std::string, Ptr<Part>> {
  public:
    using Directory<std::string, Ptr<Part>>::Directory;

    // Null when there is none of the name.
    Ptr<Part> part(const std::string& name) const { return this->value(name).value_or(nullptr); }
    // Makes the part, or returns the one that is there.
    Ptr<Part> partIs(const std::string& name) {
        Ptr<Part> found = part(name);
        if (!found) {
            found = makePtr<Part>(name);
            valueIs(name, found);
        }
        return found;
    }
    // Enters the part under its name.
    void valueIs(const std::string& name, const Ptr<Part>& part) {
        require(part && part->name() == name, "a part is entered under its name");
        Directory<std::string, Ptr<Part>>::valueIs(name, part);
    }
};

// A port in one spanning tree, named as its interface. Its role is a number of the spanning-tree
// program; 0 as long as none has been said.
class PortStatus final : public Entity {
  public:
    using Entity::Entity;

    int role() const { return role_; }
    void roleIs(int role) {
        if (role_ != role) {
            role_ = role;
            roleChanged_.notify();
        }
    }
    Notification<>& roleChanged() const { return roleChanged_; }

  private:
    int role_ = 0;
    mutable Notification<> roleChanged_;
};

// One spanning tree of an instance: a topology and the ports in it.
class MstiStatus final : public Entity {
  public:
    using Entity::Entity;

    PartDir<PortStatus>& portStatus() { return portStatus_; }
    const PartDir<PortStatus>& portStatus() const { return portStatus_; }

  private:
    PartDir<PortStatus> portStatus_;
};

// One spanning-tree instance.
class StpiStatus final : public Entity {
  public:
    using Entity::Entity;

    PartDir<MstiStatus>& mstiStatus() { return mstiStatus_; }
    const PartDir<MstiStatus>& mstiStatus() const { return mstiStatus_; }

  private:
    PartDir<MstiStatus> mstiStatus_;
};

// The modes of the spanning-tree program in which topologies are named otherwise than "Cist".
namespace Mode {
inline constexpr int noStp = -1;
inline constexpr int backup = 100;
inline constexpr int perVlan = 101;
}  // namespace Mode

// The spanning-tree status of the switch, kept by its spanning-tree program: which ports forward,
// by instance and topology.
class Status final : public Entity {
  public:
    using Entity::Entity;

    // A number of the spanning-tree program.
    int mode() const { return mode_; }
    void modeIs(int mode) { mode_ = mode; }

    PartDir<StpiStatus>& stpiStatus() { return stpiStatus_; }
    const PartDir<StpiStatus>& stpiStatus() const { return stpiStatus_; }

    // The role of a port; 0 where a level is missing.
    int role(const std::string& stpiName, const std::string& mstiName,
             const std::string& portName) const;

  private:
    int mode_ = Mode::noStp;
    PartDir<StpiStatus> stpiStatus_;
};

// What the topologies of the spanning-tree status are called.
namespace TopologyName {
inline constexpr const char* cist = "Cist";
inline constexpr const char* mst = "Mst";
inline constexpr const char* mstFormat = "Mst%d";  // of an MST instance
inline constexpr const char* perVlan = "Vl";       // before the VLAN
inline constexpr const char* mstInstance = "Mst";  // before the number of an MST instance
inline constexpr const char* noStp = "NoStp";
inline constexpr const char* backup = "Bkup";  // before the VLAN
}  // namespace TopologyName

// The name of the instance that a VLAN has of its own, where spanning tree runs per VLAN: "Vl10".
std::string perVlanInstanceName(const Bridging::VlanConfig& vlanConfig);

}  // namespace Platform::Stp
