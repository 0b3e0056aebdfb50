#include "lab/demo/NodeTable.h"

#include <algorithm>
#include <iomanip>
#include <ostream>

#include "platform/base/Text.h"

namespace MrpLab {

using MrpAgent::Json;

namespace {

std::string text(const Json& attribute, const char* key) {
    return attribute.at(key).get<std::string>();
}

std::string number(const Json& attribute, const char* key) {
    return std::to_string(attribute.at(key).get<unsigned>());
}

std::string nameOf(const Json& attribute) {
    const std::string type = text(attribute, "attributeType");
    if (type == "vlanVector") {
        return "VLAN " + number(attribute, "vlan");
    }
    if (type == "domainVector") {
        return "domain, SR class " + number(attribute, "srClassId") + " priority " +
               number(attribute, "srClassPriority") + " VLAN " + number(attribute, "srClassVID");
    }
    const std::string stream = text(attribute, "streamId");
    if (type == "listenerVector") {
        return "listener " + text(attribute, "event") + " " + stream;
    }
    return (type == "talkerFailed" ? "talker failed " : "talker advertise ") + stream;
}

std::string identityOf(const std::string& application, const Json& attribute) {
    return application + " " + text(attribute, "attributeType") + " " + text(attribute, "value");
}

// A row of the table: one attribute, or VLANs from `vlan` to `lastVlan`.
struct Row {
    std::string name;
    std::string applicant;
    std::string registrar;
    unsigned vlan = 0;
    unsigned lastVlan = 0;

    bool continues(const Row& next) const {
        return vlan != 0 && next.vlan == lastVlan + 1 && applicant == next.applicant &&
               registrar == next.registrar;
    }
};

std::vector<Row> rowsOf(const Json& status) {
    std::vector<Row> rows;
    for (const Json& application : status.at("applications")) {
        for (const Json& attribute : application.at("attributes")) {
            const unsigned vlan = attribute.value("vlan", 0U);
            const Row row{nameOf(attribute), text(attribute, "applicant"),
                          text(attribute, "registrar"), vlan, vlan};
            if (!rows.empty() && rows.back().continues(row)) {
                rows.back().lastVlan = vlan;
                rows.back().name =
                    "VLAN " + std::to_string(rows.back().vlan) + " to " + std::to_string(vlan);
            } else {
                rows.push_back(row);
            }
        }
    }
    return rows;
}

std::string registration(const std::string& registrar) {
    if (registrar == "MT") {
        return "no";
    }
    return registrar == "IN" ? "yes" : "leaving";
}

}  // namespace

AttributeSet registeredIn(const Json& status) {
    AttributeSet registered;
    for (const Json& application : status.at("applications")) {
        for (const Json& attribute : application.at("attributes")) {
            if (text(attribute, "registrar") != "MT") {
                registered[identityOf(text(application, "application"), attribute)] =
                    nameOf(attribute);
            }
        }
    }
    return registered;
}

AttributeSet declaredBy(const MrpAgent::AgentConfig& config) {
    AttributeSet declared;
    for (const MrpAgent::Declaration& declaration : config.declarations) {
        const auto& [application, type] =
            std::pair(declaration.application, declaration.attributeType);
        Json attribute = MrpAgent::valueJson(application, type, declaration.value);
        attribute["attributeType"] = Mrp::attributeTypeName(type, application);
        attribute["value"] = Platform::hexBytes(declaration.value);
        declared[identityOf(std::string(Mrp::stringValue(application)), attribute)] =
            nameOf(attribute);
    }
    return declared;
}

std::vector<std::string> differences(const std::string& node, const AttributeSet& registered,
                                     const AttributeSet& expected) {
    const std::string lacks = "node " + node + " has not registered ";
    const std::string keeps = "node " + node + " has registered, but should not have, ";
    std::vector<std::string> result;
    for (const auto& [identity, name] : expected) {
        if (!registered.contains(identity)) {
            result.push_back(lacks + name);
        }
    }
    for (const auto& [identity, name] : registered) {
        if (!expected.contains(identity)) {
            result.push_back(keeps + name);
        }
    }
    return result;
}

void printNode(std::ostream& out, const std::string& node, const Json& status) {
    std::vector<Row> rows{{"attribute", "applicant", "registrar"}};
    for (Row& row : rowsOf(status)) {
        rows.push_back(std::move(row));
    }
    std::size_t width = 0;
    for (const Row& row : rows) {
        width = std::max(width, row.name.size());
    }
    out << "  node " << node << "\n" << std::left;
    bool heading = true;
    for (const Row& row : rows) {
        out << "    " << std::setw(static_cast<int>(width + 2)) << row.name << std::setw(11)
            << row.applicant << std::setw(11) << row.registrar
            << (heading ? "registered" : registration(row.registrar)) << "\n";
        heading = false;
    }
}

}  // namespace MrpLab
