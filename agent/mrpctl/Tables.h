#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "agent/mrpctl/Json.h"

namespace MrpCtl {

// The rows of the control socket (docs/control-socket.md) as people read them. A row may be
// anything: what is missing or wrong is shown as "-" or as it is, and never an error.

// Prints the rows of one of the tables of `show`, or of "doctor": a header, then aligned columns
// without trailing blanks. Without rows there is only the header. Throws std::invalid_argument for
// the name of no table. See TablePrinter.h for rows that come one by one.
void printTable(std::ostream& out, const std::string& table, const std::vector<Json>& rows);

// A row of `watch` in one line, without its end.
std::string watchLine(const Json& row);

}  // namespace MrpCtl
