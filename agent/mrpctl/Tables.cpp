#include "agent/mrpctl/Tables.h"

#include "agent/mrpctl/AttributeText.h"
#include "agent/mrpctl/CellText.h"
#include "agent/mrpctl/TablePrinter.h"

namespace MrpCtl {

namespace {

constexpr auto changed = "changed";
constexpr auto removed = "removed";

std::string portText(const Json& row) {
    const Json& link = memberOf(row, "link");
    const std::string linkText = link.is_boolean() ? (link.get<bool>() ? "up" : "down") : noValue;
    return cellOf(row, "port") + " link=" + linkText + " state=" + cellOf(row, "state") +
           " nativeVlan=" + cellOf(row, "nativeVlan");
}

// A listener's row has the event of its value where others say that they have changed.
std::string attributeText(const Json& row) {
    const std::string event = cellOf(row, "event");
    const std::string name = cellOf(row, "application") + ' ' + cellOf(row, "port") + ' ' +
                             cellOf(row, "attributeType") + ' ' + attributeName(row);
    if (event == removed) {
        return event + ' ' + name;
    }
    const auto which = event == changed ? Details::withoutEvent : Details::withEvent;
    const std::string details = attributeDetails(row, which);
    return changed + (' ' + name) + ' ' + cellOf(row, "applicant") + ' ' +
           cellOf(row, "registrar") + (details == noValue ? "" : ' ' + details);
}

}  // namespace

void printTable(std::ostream& out, const std::string& table, const std::vector<Json>& rows) {
    TablePrinter printer(table);
    for (const Json& row : rows) {
        printer.rowIs(row);
    }
    printer.print(out);
}

std::string watchLine(const Json& row) {
    const std::string time = cellOf(row, "time") + ' ';
    const std::string event = cellOf(row, "event");
    if (event == "lost") {
        return time + event + ' ' + cellOf(row, "rows") + " rows";
    }
    if (event == "portRemoved") {
        return time + event + ' ' + cellOf(row, "port");
    }
    return time + (event == "port" ? event + ' ' + portText(row) : attributeText(row));
}

}  // namespace MrpCtl
