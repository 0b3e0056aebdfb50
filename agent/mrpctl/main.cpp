// mrpctl: shows and changes what an mrp-agent does. docs/mrpctl.md is its manual.

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <ostream>
#include <string>

#include "agent/mrpctl/AgentConnection.h"
#include "agent/mrpctl/Answer.h"
#include "agent/mrpctl/CellText.h"
#include "agent/mrpctl/CommandLine.h"
#include "agent/mrpctl/Output.h"

namespace {

using namespace MrpCtl;

enum ExitStatus { done = 0, wrongUse = 1, refused = 2, unreachable = 3 };

constexpr std::size_t requestLimit = 65536;  // octets that the agent takes

// A descriptor that the caller closed would be given to the socket, and output go into it.
void openStandardDescriptors() {
    for (int fd = ::open("/dev/null", O_RDWR); fd >= 0; fd = ::open("/dev/null", O_RDWR)) {
        if (fd > STDERR_FILENO) {
            ::close(fd);
            return;
        }
    }
}

int failed(ExitStatus status, const std::string& why) {
    std::fprintf(stderr, "mrpctl: %s\n", printable(why).c_str());
    return status;
}

// Lines of `watch` are written at once and as a whole: there is nothing to be finished.
void endAtOnce() {
    for (const int number : {SIGINT, SIGTERM}) {
        std::signal(number, [](int) { ::_exit(done); });
    }
}

int run(const CommandLine::General& general, const Command& command, std::ostream& out) {
    if (jsonLine(command.request).size() > requestLimit) {
        return failed(wrongUse, "more than one request can hold");
    }
    if (command.rows == Command::Rows::events) {
        endAtOnce();
    }
    AgentConnection agent(general.socket, general.timeout);
    agent.silenceIs(general.timeout + command.mayTake);
    return answerOf(agent, command, general.json, out) ? done : refused;
}

}  // namespace

int main(int argc, char** argv) {
    openStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    CommandLine commandLine("mrpctl", MRPCTL_VERSION);
    try {
        commandLine.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return commandLine.exit(error) ? done : wrongUse;
    }
    Output output(STDOUT_FILENO);
    std::ostream out(&output);
    out.exceptions(std::ios::badbit);
    try {
        return run(commandLine.general(), commandLine.command(), out);
    } catch (const OutputClosed&) {
        return done;
    } catch (const Unreachable& error) {
        return failed(unreachable, error.what());
    } catch (const std::exception& error) {
        return failed(refused, error.what());
    }
}
