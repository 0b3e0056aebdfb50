#include "agent/mrpctl/CommandLine.h"

#include "agent/mrpctl/CellText.h"
#include "agent/mrpctl/Commands.h"

namespace MrpCtl {

CommandLine::CommandLine(const std::string& program, const std::string& version)
    : app_("Shows and changes what an mrp-agent does.", program) {
    constexpr double leastTimeout = 0.001;
    constexpr double mostTimeout = 86400;
    app_.require_subcommand(1);
    app_.fallthrough();  // so that general options may stand behind the command
    app_.set_version_flag("--version", program + ' ' + version);
    app_.failure_message([program](const CLI::App*, const CLI::Error& error) {
        return program + ": " + printable(error.what()) + '\n';
    });
    app_.add_option("--socket", general_.socket, "The agent's control socket")
        ->envname("MRP_CONTROL")
        ->capture_default_str()
        ->type_name("PATH");
    app_.add_flag("-j,--json", general_.json, "Print JSON");
    app_.add_option("--timeout", general_.timeout,
                    "Give up when the agent says nothing for so long")
        ->capture_default_str()
        ->type_name("SECONDS")
        ->check(CLI::Range(leastTimeout, mostTimeout));
    addShow(app_, command_);
    addDeclare(app_, command_);
    addWait(app_, command_);
    addActions(app_, command_);
}

}  // namespace MrpCtl
