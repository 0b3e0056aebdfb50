#include <initializer_list>
#include <string_view>

#include "agent/mrpctl/CommandOptions.h"
#include "agent/mrpctl/Commands.h"

namespace MrpCtl {

namespace {

struct Table {
    const char* name;
    const char* help;
    std::initializer_list<std::string_view> filters;
};

const std::initializer_list<std::string_view> allFilters{"application", "port", "vlan",
                                                         "stream",      "type", "state"};

void addTable(CLI::App& show, const Table& table, Command& command) {
    CLI::App* app = show.add_subcommand(table.name, table.help);
    const Request request = requestOf("show");
    (*request)["what"] = table.name;
    addFilters(*app, request, table.filters);
    if (table.name == std::string_view("log")) {
        addLimit(*app, request, "The last N messages only");
    }
    app->callback([request, name = table.name, &command] {
        command = {*request, Command::Rows::table, name};
    });
}

}  // namespace

void addShow(CLI::App& app, Command& command) {
    CLI::App* show = app.add_subcommand("show", "Prints one of the agent's tables");
    show->require_subcommand(1);
    addTable(*show, {"ports", "The ports and what is registered and declared there", {"port"}},
             command);
    addTable(*show,
             {"vlans", "The VLANs and the ports on which each is known", {"port", "vlan", "state"}},
             command);
    addTable(*show, {"attributes", "Every attribute on every port with its states", allFilters},
             command);
    addTable(*show,
             {"streams",
              "The streams, their talkers and their listeners",
              {"port", "stream", "type", "state"}},
             command);
    addTable(*show, {"domain", "The SR classes of the ports", {"port", "state"}}, command);
    addTable(*show, {"counters", "What was sent and received", {"application", "port"}}, command);
    addTable(*show, {"timers", "The timers that run", {"application", "port"}}, command);
    addTable(*show, {"log", "The agent's last messages", {}}, command);
    addTable(*show, {"agent", "The agent itself", {}}, command);

    CLI::App* watch = app.add_subcommand(
        "watch", "Prints what changes, a line for each change, until SIGINT or SIGTERM");
    const Request request = requestOf("watch");
    addFilters(*watch, request, allFilters);
    addLimit(*watch, request, "End after N lines");
    watch->callback([request, &command] { command = {*request, Command::Rows::events, ""}; });
}

}  // namespace MrpCtl
