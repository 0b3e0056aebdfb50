#include "agent/mrpctl/TablePrinter.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "agent/mrpctl/AttributeText.h"
#include "agent/mrpctl/CellText.h"

namespace MrpCtl {

namespace {

using Sections = std::vector<TextTable>;

TextTable::Column left(const char* title) {
    return {title, false};
}
TextTable::Column right(const char* title) {
    return {title, true};
}

TextTable::Line cellsOf(const Json& row, std::initializer_list<const char*> members) {
    TextTable::Line line;
    for (const char* member : members) {
        line.push_back(cellOf(row, member));
    }
    return line;
}

void append(TextTable::Line& line, const TextTable::Line& cells) {
    line.insert(line.end(), cells.begin(), cells.end());
}

// A line for each element of a list; one for none, so that the row itself is seen.
void eachOf(const Json& list, const std::function<void(const Json& element)>& add) {
    if (!list.is_array() || list.empty()) {
        add(Json());
        return;
    }
    std::for_each(list.begin(), list.end(), add);
}

void addVlanLine(TextTable& table, TextTable::Line line, std::size_t column, const Json& vlan) {
    constexpr unsigned maxVlan = 4095;
    if (vlan.is_number_unsigned() && vlan.get<std::uint64_t>() <= maxVlan) {
        table.vlanLineIs(std::move(line), column, vlan.get<unsigned>());
        return;
    }
    line[column] = cellText(vlan);
    table.lineIs(std::move(line));
}

// "bridge.vlanFilter.enabled", a line for each thing that is no object.
void addMembers(TextTable& table, const std::string& name, const Json& value) {
    if (!value.is_object() || value.empty()) {
        table.lineIs({name, name == "uptime" ? ageText(value) : cellText(value)});
        return;
    }
    for (const auto& [key, member] : value.items()) {
        addMembers(table, (name.empty() ? "" : name + '.') + printable(key), member);
    }
}

void addAgent(Sections& sections, const Json& row) {
    addMembers(sections[0], "", row);
}

std::string packetAccessText(const Json& application) {
    const Json& error = memberOf(application, "error");
    return error.is_null() ? cellOf(application, "packetAccess") : "no: " + cellText(error);
}

std::string linkText(const Json& link) {
    return link.is_boolean() ? (link.get<bool>() ? "up" : "down") : cellText(link);
}

void addPorts(Sections& sections, const Json& row) {
    eachOf(memberOf(row, "applications"), [&](const Json& application) {
        TextTable::Line line = cellsOf(row, {"port", "link", "state", "role", "mac", "mtu"});
        line[1] = linkText(memberOf(row, "link"));
        line.push_back(cellOf(row, "nativeVlan"));
        append(line, cellsOf(application, {"application", "registered", "declared"}));
        line.push_back(packetAccessText(application));
        sections[0].lineIs(std::move(line));
    });
}

void addVlans(Sections& sections, const Json& row) {
    addVlanLine(
        sections[0],
        cellsOf(row, {"vlan", "registered", "fixed", "forbidden", "configured", "declared"}), 0,
        memberOf(row, "vlan"));
}

void addAttributes(Sections& sections, const Json& row) {
    TextTable::Line line = cellsOf(row, {"application", "port", "attributeType"});
    line.push_back(attributeName(row));
    append(line, cellsOf(row, {"applicant", "registrar"}));
    line.push_back(ageText(memberOf(row, "age")));
    line.push_back(attributeDetails(row, Details::withEvent));
    if (memberOf(row, "vlan").is_null()) {
        sections[0].lineIs(std::move(line));
    } else {
        addVlanLine(sections[0], std::move(line), 3, memberOf(row, "vlan"));
    }
}

void addStreamSide(TextTable& table, const Json& row, const char* list, const char* kindMember) {
    for (const Json& side : memberOf(row, list)) {
        TextTable::Line line = cellsOf(row, {"streamId"});
        append(line, cellsOf(side, {"port", kindMember, "applicant", "registrar"}));
        line.insert(line.begin() + 1, list == std::string("talkers") ? "talker" : "listener");
        line.push_back(ageText(memberOf(side, "age")));
        line.push_back(attributeDetails(side, Details::withoutEvent));
        table.lineIs(std::move(line));
    }
}

void addStreams(Sections& sections, const Json& row) {
    addStreamSide(sections[0], row, "talkers", "attributeType");
    addStreamSide(sections[0], row, "listeners", "event");
}

void addDomain(Sections& sections, const Json& row) {
    TextTable::Line line = cellsOf(
        row, {"port", "srClassId", "srClassPriority", "srClassVID", "applicant", "registrar"});
    line.push_back(ageText(memberOf(row, "age")));
    sections[0].lineIs(std::move(line));
}

void addPortCounters(TextTable& table, const Json& row, const char* direction) {
    const bool in = direction == std::string("in");
    TextTable::Line line = cellsOf(row, {"application", "port"});
    line.push_back(direction);
    line.push_back(cellOf(row, in ? "pdusIn" : "pdusOut"));
    append(line, cellsOf(memberOf(row, in ? "eventsIn" : "eventsOut"),
                         {"New", "JoinIn", "In", "JoinMt", "Mt", "Lv", "LeaveAll"}));
    line.push_back(cellOf(row, in ? "malformed" : "sendFailures"));
    table.lineIs(std::move(line));
}

void addCounters(Sections& sections, const Json& row) {
    if (memberOf(row, "scope") == "port") {
        addPortCounters(sections[1], row, "in");
        addPortCounters(sections[1], row, "out");
        return;
    }
    const Json& counters = memberOf(row, "counters");
    for (const auto& [name, count] : counters.items()) {
        sections[0].lineIs({cellOf(row, "application"), printable(name), cellText(count)});
    }
}

void addTimers(Sections& sections, const Json& row) {
    TextTable::Line line = cellsOf(row, {"application", "port", "timer", "attributeType"});
    line.push_back(dueText(memberOf(row, "due")));
    line.push_back(cellOf(row, "attributes"));
    sections[0].lineIs(std::move(line));
}

void addLog(Sections& sections, const Json& row) {
    constexpr const char* names[] = {"emergency", "alert",  "critical", "error",
                                     "warning",   "notice", "info",     "debug"};  // RFC 5424
    TextTable::Line line = cellsOf(row, {"time", "severity", "name", "text"});
    const Json& severity = memberOf(row, "severity");
    if (severity.is_number_unsigned() && severity.get<std::uint64_t>() < std::size(names)) {
        line[1] = names[severity.get<std::size_t>()];
    }
    sections[0].lineIs(std::move(line));
}

// The advice stands below what it is about.
void addFinding(Sections& sections, const Json& row) {
    sections[0].lineIs(cellsOf(row, {"severity", "text"}));
    if (!memberOf(row, "advice").is_null()) {
        sections[0].lineIs({"", "-> " + cellOf(row, "advice")});
    }
}

}  // namespace

const std::vector<TablePrinter::Layout>& TablePrinter::layouts() {
    using Columns = std::vector<TextTable::Column>;
    static const std::vector<Layout> all{
        {"agent", {Columns{left("Agent"), left("Value")}}, addAgent},
        {"ports",
         {Columns{left("Port"), left("Link"), left("State"), right("Role"), left("MAC"),
                  right("MTU"), right("Native"), left("Application"), right("Registered"),
                  right("Declared"), left("Packets")}},
         addPorts},
        {"vlans",
         {Columns{left("VLAN"), left("Registered"), left("Fixed"), left("Forbidden"),
                  left("Configured"), left("Declared")}},
         addVlans},
        {"attributes",
         {Columns{left("Application"), left("Port"), left("Type"), left("Attribute"),
                  left("Applicant"), left("Registrar"), right("Age"), left("Value")}},
         addAttributes},
        {"streams",
         {Columns{left("Stream"), left("Side"), left("Port"), left("Declaration"),
                  left("Applicant"), left("Registrar"), right("Age"), left("Value")}},
         addStreams},
        {"domain",
         {Columns{left("Port"), right("Class"), right("Priority"), right("VLAN"), left("Applicant"),
                  left("Registrar"), right("Age")}},
         addDomain},
        {"counters",
         {Columns{left("Application"), left("Counter"), right("Value")},
          Columns{left("Application"), left("Port"), left("Direction"), right("PDUs"), right("New"),
                  right("JoinIn"), right("In"), right("JoinMt"), right("Mt"), right("Lv"),
                  right("LeaveAll"), right("Faults")}},
         addCounters},
        {"timers",
         {Columns{left("Application"), left("Port"), left("Timer"), left("Type"), right("Due"),
                  right("Attributes")}},
         addTimers},
        {"log", {Columns{left("Time"), left("Severity"), left("Name"), left("Text")}}, addLog},
        {"doctor", {Columns{left("Severity"), left("Finding")}}, addFinding},
    };
    return all;
}

TablePrinter::TablePrinter(const std::string& table) {
    const auto& all = layouts();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Layout& layout) { return table == layout.table; });
    if (found == all.end()) {
        throw std::invalid_argument("no table: " + table);
    }
    layout_ = &*found;
    for (const auto& columns : found->sections) {
        sections_.emplace_back(columns);
    }
}

std::size_t TablePrinter::size() const {
    std::size_t lines = 0;
    for (const TextTable& section : sections_) {
        lines += section.size();
    }
    return lines;
}

void TablePrinter::print(std::ostream& out) const {
    if (size() == 0) {
        sections_.front().print(out);
        return;
    }
    bool first = true;
    for (const TextTable& section : sections_) {
        if (section.size() > 0) {
            out << (first ? "" : "\n");
            section.print(out);
            first = false;
        }
    }
}

}  // namespace MrpCtl
