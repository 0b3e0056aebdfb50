#pragma once

#include <CLI/CLI.hpp>

#include <string>

#include "agent/mrpctl/Command.h"

namespace MrpCtl {

// What stands on the command line (docs/mrpctl.md).
class CommandLine final {
  public:
    // Options of every command.
    struct General {
        std::string socket = "/run/mrp/control.sock";
        bool json = false;
        double timeout = 10;  // seconds without an octet of the agent
    };

    // `program` is the name before messages, `version` what --version says.
    CommandLine(const std::string& program, const std::string& version);
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    // Throws CLI::ParseError, of which exit() prints what there is to say.
    void parse(int argc, const char* const* argv) { app_.parse(argc, argv); }
    // Whether the user asked for what was printed, as with --help.
    bool exit(const CLI::ParseError& error) const { return app_.exit(error) == 0; }

    // After parse().
    const General& general() const { return general_; }
    const Command& command() const { return command_; }

  private:
    CLI::App app_;
    General general_;
    Command command_;
};

}  // namespace MrpCtl
