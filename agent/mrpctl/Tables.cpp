#include "agent/mrpctl/Tables.h"

#include "agent/mrpctl/AttributeText.h"
#include "agent/mrpctl/CellText.h"
#include "agent/mrpctl/TablePrinter.h"

namespace MrpCtl {

namespace {

std::string portText(const Json& row) {
    const Json& link = memberOf(row, "link");
    const std::string linkText = link.is_boolean() ? (link.get<bool>() ? "up" : "down") : noValue;
    return cellOf(row, "port") + " link=" + linkText + " state=" + cellOf(row, "state") +
           " nativeVlan=" + cellOf(row, "nativeVlan");
}

std::string attributeText(const Json& row) {
    std::string text = cellOf(row, "application") + ' ' + cellOf(row, "port") + ' ' +
                       cellOf(row, "attributeType") + ' ' + attributeName(row);
    if (memberOf(row, "event") == "removed") {
        return text;
    }
    text += ' ' + cellOf(row, "applicant") + ' ' + cellOf(row, "registrar");
    const std::string details = attributeDetails(row, Details::withoutEvent);
    return details == noValue ? text : text + ' ' + details;
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
    const Json& event = memberOf(row, "event");
    const std::string begin = cellOf(row, "time") + ' ' + cellText(event) + ' ';
    if (event == "lost") {
        return begin + cellOf(row, "rows") + " rows";
    }
    if (event == "portRemoved") {
        return begin + cellOf(row, "port");
    }
    return begin + (event == "port" ? portText(row) : attributeText(row));
}

}  // namespace MrpCtl
