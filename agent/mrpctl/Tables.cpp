#include "agent/mrpctl/Tables.h"

#include "agent/mrpctl/AttributeText.h"
#include "agent/mrpctl/CellText.h"
#include "agent/mrpctl/TablePrinter.h"

namespace MrpCtl {

namespace {

constexpr auto removed = "removed";

std::string portText(const Json& row) {
    const Json& link = memberOf(row, "link");
    const std::string linkText = link.is_boolean() ? (link.get<bool>() ? "up" : "down") : noValue;
    return cellOf(row, "port") + " link=" + linkText + " state=" + cellOf(row, "state") +
           " nativeVlan=" + cellOf(row, "nativeVlan");
}

std::string attributeText(const Json& row, const std::string& change) {
    std::string name = change + ' ' + cellOf(row, "application") + ' ' + cellOf(row, "port") + ' ' +
                       cellOf(row, "attributeType") + ' ' + attributeName(row);
    if (change == removed) {
        return name;
    }
    const std::string details = attributeDetails(row, Details::withEvent);
    return name + ' ' + cellOf(row, "applicant") + ' ' + cellOf(row, "registrar") +
           (details == noValue ? "" : ' ' + details);
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
    const std::string change = cellOf(row, "change");
    if (change == "lost") {
        return time + change + ' ' + cellOf(row, "rows") + " rows";
    }
    if (change == "portRemoved") {
        return time + change + ' ' + cellOf(row, "port");
    }
    return time + (change == "port" ? change + ' ' + portText(row) : attributeText(row, change));
}

}  // namespace MrpCtl
