#include <string>

#include "agent/mrpctl/CommandOptions.h"
#include "agent/mrpctl/Commands.h"

namespace MrpCtl {

namespace {

void addStates(CLI::App& app, const Request& request) {
    (*request)["state"] = "registered";
    CLI::Option_group* group = app.add_option_group("state", "What is waited for");
    const auto add = [&](const char* option, const char* state, const char* help) {
        group->add_flag_callback(
            option, [request, state] { (*request)["state"] = state; }, help);
    };
    add("--registered", "registered", "A neighbour has registered it (without any of these)");
    add("--declared", "declared", "It is declared there");
    add("--absent", "absent", "Neither");
    group->require_option(0, 1);
}

CLI::App* addWaitFor(CLI::App& wait, Command& command, const Request& request, const char* name,
                     const char* help) {
    constexpr double usual = 10;
    constexpr double day = 86400;
    CLI::App* app = wait.add_subcommand(name, help);
    app->add_option_function<std::string>(
           "--port", [request](const std::string& port) { (*request)["port"] = port; },
           "On this port, not on any")
        ->type_name("PORT");
    addStates(*app, request);
    (*request)["timeout"] = usual;
    app->add_option_function<double>(
           "--timeout", [request](const double& seconds) { (*request)["timeout"] = seconds; },
           "For so long at the most; 10 without the option")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, day));
    app->callback([request, &command] {
        command = {*request, Command::Rows::none, "", (*request)["timeout"].get<double>()};
    });
    return app;
}

}  // namespace

void addWait(CLI::App& app, Command& command) {
    CLI::App* wait = app.add_subcommand("wait", "Waits until something is in a state");
    wait->require_subcommand(1);
    const Request vlan = requestOf("wait");
    addWaitFor(*wait, command, vlan, "vlan", "Waits for a VLAN")
        ->add_option_function<unsigned>(
            "VLAN", [vlan](const unsigned& number) { (*vlan)["vlan"] = number; }, "1 to 4094")
        ->type_name("")
        ->required()
        ->check(CLI::Range(1U, 4094U));
    const Request stream = requestOf("wait");
    CLI::App* streamApp =
        addWaitFor(*wait, command, stream, "stream", "Waits for an attribute of a stream");
    streamApp
        ->add_option_function<std::string>(
            "STREAM", [stream](const std::string& id) { (*stream)["stream"] = id; },
            "The Stream ID, such as 02:00:00:00:00:aa:00:01")
        ->type_name("")
        ->required()
        ->check(streamIdError);
    streamApp
        ->add_option_function<std::string>(
            "--type", [stream](const std::string& type) { (*stream)["type"] = type; },
            "Of this type, not of any")
        ->check(CLI::IsMember({"talkerAdvertise", "talkerFailed", "listener"}));
}

void addActions(CLI::App& app, Command& command) {
    CLI::App* clear = app.add_subcommand("clear", "Sets counters to 0");
    clear->require_subcommand(1);
    CLI::App* counters = clear->add_subcommand("counters", "Sets all counters to 0");
    const Request request = requestOf("clear");
    (*request)["what"] = "counters";
    addFilters(*counters, request, {"application"});
    counters->callback([request, &command] { command.request = *request; });

    app.add_subcommand("activate", "Makes a standby agent active")->callback([&command] {
        command.request = *requestOf("activate");
    });
    app.add_subcommand("doctor", "Looks for what is wrong around the agent")->callback([&command] {
        command = {*requestOf("doctor"), Command::Rows::table, "doctor"};
    });
}

}  // namespace MrpCtl
