#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "agent/instance/MrpInstance.h"
#include "mrp/MrpSm/types/MrpAttribute.h"

namespace MrpAgent {

// What management says of an attribute's registration on a port (clause 8.8.2, and the Registrar
// Administrative Controls of 10.7.2): as the neighbours declare it; registered whatever they say;
// neither registered nor declared.
enum class Registration { normal, fixed, forbidden };

// One attribute that the node declares by itself, or forbids.
struct Declaration {
    Mrp::MrpApplication application = Mrp::MrpApplication::none;
    Mrp::AttributeType attributeType = 0;
    Mrp::AttributeKey key = 0;
    std::vector<std::uint8_t> value;  // the octets of the value record
    bool newEvent = false;            // announce as New (IEEE 802.1Q clause 10.2) in place of Join
    Registration registration = Registration::normal;  // other than normal: VLANs only
    std::vector<std::string> interfaces;               // empty: every port

    bool concerns(const std::string& interface) const;
    bool operator==(const Declaration&) const = default;
};

// Declares the attribute on the interface unless it is declared there, or withdraws it. False when
// the instance refuses it.
bool declare(MrpInstance& instance, const Declaration& declaration, Platform::IntfId intfId);
bool withdraw(MrpInstance& instance, const Declaration& declaration, Platform::IntfId intfId);

}  // namespace MrpAgent
