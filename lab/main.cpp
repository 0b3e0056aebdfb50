// mrp-lab: engines in virtual time. docs/mrp-lab.md is its manual.

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <functional>
#include <string>

#include "lab/replay/Replay.h"

namespace {

using namespace MrpLab;

constexpr int wrongUse = 2;  // also of what cannot be read or written

struct ReplayOptions {
    std::string file = standardInput;
    std::string capture;
};

// Each command is a function that adds itself, and sets what is to be run when it is the one given.
using Command = std::function<int()>;

void addReplay(CLI::App& app, ReplayOptions& options, Command& command) {
    CLI::App* replayApp = app.add_subcommand(
        "replay", "Runs a scenario through one engine and prints what the engine did");
    replayApp->add_option("FILE", options.file, "The scenario; standard input when - or missing");
    replayApp
        ->add_option("--capture", options.capture, "Also write the frames that the engine sent")
        ->type_name("OUT.pcap");
    replayApp->callback([&options, &command] {
        command = [&options] { return static_cast<int>(replay(options.file, options.capture)); };
    });
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is an error like any other
    CLI::App app{"The MRP engine in virtual time.", "mrp-lab"};
    app.require_subcommand(1);
    Command command;
    ReplayOptions replayOptions;
    addReplay(app, replayOptions, command);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : wrongUse;
    }
    try {
        return command();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "mrp-lab: %s\n", error.what());
        return wrongUse;
    }
}
