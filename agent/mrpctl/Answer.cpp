#include "agent/mrpctl/Answer.h"

#include <functional>

#include "agent/mrpctl/CellText.h"
#include "agent/mrpctl/TablePrinter.h"
#include "agent/mrpctl/Tables.h"

namespace MrpCtl {

namespace {

constexpr std::size_t maxLines = 1000000;  // of a table as text, which is held until it ends

using RowTaken = std::function<void(const Json& row)>;

// Hands over the rows and returns the "end".
Json endOf(AgentConnection& agent, const RowTaken& row) {
    while (true) {
        const Json line = agent.line();
        const Json& end = memberOf(line, "end");
        if (!end.is_null()) {
            if (!memberOf(end, "ok").is_boolean()) {
                throw Unreachable("the agent's answer has no proper end");
            }
            return end;
        }
        if (!line.contains("row")) {
            throw Unreachable("the agent's answer is none");
        }
        row(line["row"]);
    }
}

bool isOk(const Json& end) {
    return memberOf(end, "ok") == true;
}

// Everything is done when the end says so.
void check(const Json& end) {
    if (isOk(end)) {
        return;
    }
    const Json& text = memberOf(end, "text");
    throw Refused(cellOf(end, "code") + (text.is_null() ? "" : ": " + cellText(text)));
}

// {"vlans": [row, row]}, a line for each row, written as they come. What has begun and is refused
// stays open, so that nobody takes it for whole.
Json jsonTableEnd(AgentConnection& agent, const std::string& table, const RowTaken& look,
                  std::ostream& out) {
    const std::string begin = "{" + jsonLine(table) + ": [";
    bool begun = false;
    Json end = endOf(agent, [&](const Json& row) {
        look(row);
        out << (begun ? ",\n" : begin + "\n") << jsonLine(row);
        begun = true;
    });
    if (isOk(end)) {
        out << (begun ? "\n" : begin) << "]}\n";
    } else {
        out << (begun ? "\n" : jsonLine(end) + "\n");
    }
    return end;
}

Json textTableEnd(AgentConnection& agent, const std::string& table, const RowTaken& look,
                  std::ostream& out) {
    TablePrinter printer(table);
    Json end = endOf(agent, [&](const Json& row) {
        look(row);
        printer.rowIs(row);
        if (printer.size() > maxLines) {
            throw Refused("more than " + std::to_string(maxLines) +
                          " lines; filters make them fewer, and --json takes any number");
        }
    });
    if (isOk(end)) {
        printer.print(out);
    }
    return end;
}

bool tableAnswer(AgentConnection& agent, const std::string& table, bool json, std::ostream& out) {
    bool problem = false;
    const RowTaken look = [&](const Json& row) {
        problem = problem || (table == "doctor" && memberOf(row, "severity") == "problem");
    };
    const Json end =
        json ? jsonTableEnd(agent, table, look, out) : textTableEnd(agent, table, look, out);
    out.flush();
    check(end);
    return !problem;
}

void eventsAnswer(AgentConnection& agent, bool json, std::ostream& out) {
    agent.silenceIs(0);
    check(endOf(agent, [&](const Json& row) {
        out << (json ? jsonLine(row) : watchLine(row)) << '\n';
        out.flush();
    }));
}

void plainAnswer(AgentConnection& agent, bool json, std::ostream& out) {
    const Json end = endOf(agent, [](const Json&) {});
    if (json) {
        out << jsonLine(end) << '\n';
        out.flush();
    }
    check(end);
}

}  // namespace

bool answerOf(AgentConnection& agent, const Command& command, bool json, std::ostream& out) {
    check(memberOf(agent.greeting(), "end").is_null() ? Json{{"ok", true}}
                                                      : memberOf(agent.greeting(), "end"));
    agent.requestIs(command.request);
    switch (command.rows) {
    case Command::Rows::table:
        return tableAnswer(agent, command.table, json, out);
    case Command::Rows::events:
        eventsAnswer(agent, json, out);
        return true;
    case Command::Rows::none:
        break;
    }
    plainAnswer(agent, json, out);
    return true;
}

}  // namespace MrpCtl
