#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <vector>

#include "lab/capture/PduDecoder.h"

namespace MrpLab {
namespace {

using MrpAgent::Json;

std::vector<std::uint8_t> octets(const std::string& hex) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

// The words for each element. Where several on end have the same, these stand once: "… x3".
template <class WordsOf>
std::string joined(const Json& list, const std::string& separator, WordsOf wordsOf) {
    std::string text;
    for (auto first = list.begin(); first != list.end();) {
        const std::string words = wordsOf(*first);
        const auto next = std::find_if(first, list.end(),
                                       [&](const Json& other) { return wordsOf(other) != words; });
        text += text.empty() ? words : separator + words;
        text += next - first > 1 ? " x" + std::to_string(next - first) : "";
        first = next;
    }
    return text;
}

// "5 ready" of a Listener, "6/3/2" of a Domain with its priority and VLAN, else the key.
std::string valueText(const std::string& key, const Json& value) {
    return value.contains("srClassVID")
               ? key + "/" + value["srClassPriority"].dump() + "/" + value["srClassVID"].dump()
               : key + (value.contains("event") ? " " + std::string(value["event"]) : "");
}

// "listener "; nothing for VLANs, which have no other type beside them.
std::string typeText(const std::string& name) {
    return name == "vlanVector" ? "" : name.substr(0, name.find("Vector")) + " ";
}

std::string vectorText(const std::string& type, const Json& vector) {
    std::string values = joined(vector["values"], ", ", [](const Json& value) {
        return valueText(value["key"].dump(), value) + " " + std::string(value["attributeEvent"]);
    });
    if (!vector["leaveAll"]) {
        return typeText(type) + values;
    }
    return "LeaveAll " + type.substr(0, type.find("Vector")) + (values.empty() ? "" : " " + values);
}

// Members that are not 0, and the elements of a list: " interface et1 time 10.0, interface et2".
std::string membersText(const Json& json) {
    if (json.is_array()) {
        return joined(json, ",", membersText);
    }
    std::string text;
    for (const auto& [name, value] : json.items()) {
        if (value != 0) {
            text += " ";
            text += name + " " + (value.is_string() ? std::string(value) : value.dump());
        }
    }
    return text;
}

// A file of tests/scenarios is a replay that tells a story in its comments, and in those that begin
// with "#> " what must be seen, all of it and in order: joins, leaves, frames, and the attributes
// of dumps. "#> with NAMES" wants to see logs too, the addresses of frames, or members of dumps.
class Scenario {
  public:
    explicit Scenario(const std::string& path) {
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with("#> with ")) {
                wanted_ += line;
            } else if (line.starts_with("#> ")) {
                expected_ += line.substr(3) + "\n";
            } else if (line.find("\"start\"") != std::string::npos) {
                application_ = Json::parse(line)["start"]["application"];
            }
        }
    }

    const std::string& expected() const { return expected_; }

    // A line that the replay printed, in the words of those that are expected.
    std::string seen(const Json& line) const {
        const std::string what = std::next(line.begin()).key();
        const Json& body = line[what];
        const Json at = std::round(line["at"].get<double>() * 1e6) / 1e6;
        const std::string begin = at.dump() + " " + what + " ";
        if (what == "tx") {
            return at.dump() + " " + frameText(body) + "\n";
        }
        if (what == "dump") {
            return dumpText(begin, body);
        }
        if (what == "log") {
            return wants("logs") ? begin + std::string(body["text"]) + "\n" : "";
        }
        constexpr std::array<const char*, 4> events{" New", " JoinIn", " In", " JoinMt"};
        return begin + attributeText(body) + (what == "join" ? events.at(body["event"]) : "") +
               (body.value("discarded", false) ? " discarded\n" : "\n");
    }

  private:
    bool wants(const std::string& what) const { return wanted_.find(what) != std::string::npos; }

    std::string attributeText(const Json& row) const {
        const Mrp::AttributeType type = row["attributeType"];
        const auto value = octets(row.value("value", ""));
        return std::string(row["interface"]) + " " +
               typeText(std::string(Mrp::attributeTypeName(type, application_))) +
               valueText(std::to_string(std::stoull(std::string(row["key"]), nullptr, 16)),
                         MrpAgent::valueJson(application_, type, value));
    }

    // "et1 sends 100 JoinIn, 101 Lv; LeaveAll vlan 105 In | …": values, vectors, messages.
    std::string frameText(const Json& tx) const {
        const std::string hex = tx["frame"];
        const auto frame = octets(hex);
        const Json pdu = decodeMrpdu(application_, std::span(frame).subspan(14));
        const auto messageText = [](const Json& message) {
            return joined(message["vectors"], "; ", [&message](const Json& vector) {
                return vectorText(message["attributeType"], vector);
            });
        };
        return std::string(tx["interface"]) + " sends " +
               (wants("addresses") ? "to " + hex.substr(0, 24) + " " : "") +
               joined(pdu["messages"], " | ", messageText) +
               (pdu.contains("malformed") ? " malformed" : "");
    }

    std::string dumpText(const std::string& begin, const Json& dump) const {
        std::string lines;
        for (const Json& row : dump["attributes"]) {
            lines += begin + attributeText(row) + " " + std::string(row["applicant"]) + "/" +
                     std::string(row["registrar"]) + (row["committed"] ? " committed\n" : "\n");
        }
        for (const Json& row : dump["deletePending"]) {
            lines += begin + attributeText(row) + " leaving\n";
        }
        lines += lines.empty() ? begin + "nothing\n" : "";
        for (const auto& [name, member] : dump.items()) {
            lines += wants(name) ? begin + name + membersText(member) + "\n" : "";
        }
        return lines;
    }

    Mrp::MrpApplication application_{};
    std::string wanted_;
    std::string expected_;
};

std::vector<std::string> scenarios() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(SCENARIOS)) {
        names.push_back(entry.path().stem());
    }
    return names;
}

class ScenarioTest : public testing::TestWithParam<std::string> {};

TEST_P(ScenarioTest, goesAsItIsTold) {
    const std::string path = std::string(SCENARIOS) + "/" + GetParam() + ".jsonl";
    const std::string output = testing::TempDir() + "mrp-scenario-" + GetParam() + ".out";
    ASSERT_EQ(std::system((MRP_LAB " replay " + path + " >" + output).c_str()), 0);
    const Scenario scenario(path);
    std::ifstream lines(output);
    std::string seen;
    for (std::string line; std::getline(lines, line);) {
        seen += scenario.seen(Json::parse(line));
    }
    EXPECT_EQ(seen, scenario.expected());
}

INSTANTIATE_TEST_SUITE_P(Lab, ScenarioTest, testing::ValuesIn(scenarios()), [](const auto& info) {
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

}  // namespace
}  // namespace MrpLab
