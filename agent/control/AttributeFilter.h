#pragma once

#include <bitset>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "agent/control/RequestMembers.h"
#include "mrp/MrpSm/types/MrpAttrDatabase.h"
#include "platform/base/VlanId.h"

namespace MrpAgent {

// States of an attribute: any of its registrar, of its applicant, or what they amount to.
class AttributeStates {
  public:
    // False when there is no such state.
    bool add(const std::string& name);
    bool fits(Mrp::MrpApplicantState applicant, Mrp::MrpRegistrarState registrar) const;

  private:
    std::bitset<Mrp::applicantStates> applicants_;
    std::bitset<Mrp::registrarStates> registrars_;
    bool registered_ = false;
    bool declared_ = false;
};

// What of the attributes a request is about: one of the values of each filter that is given.
class AttributeFilter final {
  public:
    // The filters that a table has use for, as a sum.
    enum Kind : unsigned {
        application = 1,
        port = 2,
        vlan = 4,
        stream = 8,
        type = 16,
        state = 32,
        all = 63,
    };
    using States = AttributeStates;

    // Fits everything.
    AttributeFilter() = default;
    // Reads the members of these kinds. Throws RequestError.
    AttributeFilter(RequestMembers& members, unsigned kinds);

    // Leaves nothing but SR classes.
    void domainOnly();

    bool fitsApplication(Mrp::MrpApplication value) const;
    bool fitsPort(const std::string& name) const { return !ports_ || ports_->contains(name); }
    bool fitsType(Mrp::MrpApplication app, Mrp::AttributeType value) const;
    // A filter for VLANs fits VLANs alone, one for streams talkers and listeners.
    bool fitsKey(Mrp::MrpApplication app, Mrp::AttributeType value, Mrp::AttributeKey key) const;
    bool fitsVlan(std::uint16_t value) const { return !vlans_ || vlans_->test(value); }
    bool fitsStream(Mrp::AttributeKey key) const { return !streams_ || streams_->contains(key); }
    bool fitsState(const Mrp::MrpAttrDatabase& record) const {
        return fitsStates(record.applicantState(), record.registrarState());
    }
    bool fitsStates(Mrp::MrpApplicantState applicant, Mrp::MrpRegistrarState registrar) const {
        return !states_ || states_->fits(applicant, registrar);
    }
    bool fits(Mrp::MrpApplication app, const Mrp::MrpAttribute& attribute) const;

    bool asksForState() const { return states_.has_value(); }
    // Whether only attributes can fit, and no port as such.
    bool asksForAttributes() const { return vlans_ || streams_ || types_ || states_; }
    bool asksForPort() const { return ports_.has_value(); }

  private:
    using Vlans = std::bitset<Platform::VlanId::max + 1>;

    void readVlans(RequestMembers& members);
    void readStreams(RequestMembers& members);
    void readTypes(RequestMembers& members);
    void readStates(RequestMembers& members);

    std::optional<std::set<Mrp::MrpApplication>> applications_;
    std::optional<std::set<std::string>> ports_;
    std::optional<Vlans> vlans_;
    std::optional<std::set<Mrp::AttributeKey>> streams_;
    std::optional<std::set<std::string, std::less<>>> types_;
    std::optional<States> states_;
};

// Whether the attribute is registered: the registrar is IN, or LV, until its leave timer ends
// (clause 10.7.8).
bool registers(Mrp::MrpRegistrarState state);

// VLANs as people write them: "10", "10-20", "10,20-30". Nothing for any other text.
std::optional<std::bitset<Platform::VlanId::max + 1>> vlansOf(const std::string& text);

}  // namespace MrpAgent
