// mrp-agent: runs MRP applications on the interfaces of a Linux network
// namespace, in the foreground. docs/mrp-agent.md is its manual.

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "agent/config/ConfigReader.h"
#include "agent/control/LogMemory.h"
#include "agent/process/Agent.h"
#include "agent/process/OutputQueue.h"
#include "agent/service/ServiceLog.h"
#include "agent/service/ServiceManager.h"
#include "platform/base/ScopeGuard.h"
#include "platform/log/Log.h"
#include "platform/log/Trace.h"

namespace {

using namespace MrpAgent;

enum ExitStatus { ended = 0, cannotRun = 1, wrongUse = 2 };

struct Options {
    std::string configFile;
    bool check = false;
    bool standby = false;
    std::string trace;
};

// A descriptor that the caller closed would be given to a socket, and output go
// into it.
void openStandardDescriptors() {
    for (int fd = ::open("/dev/null", O_RDWR); fd >= 0; fd = ::open("/dev/null", O_RDWR)) {
        if (fd > STDERR_FILENO) {
            ::close(fd);
            return;
        }
    }
}

void tell(const std::vector<std::string>& lines, const char* prefix) {
    for (const std::string& line : lines) {
        std::fprintf(stderr, "%s%s\n", prefix, line.c_str());
    }
}

int check(const Options& options) {
    const bool told = std::printf("%s: ok\n", options.configFile.c_str()) >= 0;
    return told && std::fflush(stdout) == 0 ? ended : cannotRun;
}

// Reads the configuration anew and goes on with it; one with faults changes
// nothing.
void reload(Agent& agent, const std::string& configFile, const Agent::Tell& tellUser) {
    std::error_code error;
    // A pipe could be waited for without end.
    if (!std::filesystem::is_regular_file(configFile, error)) {
        tellUser(configFile + ": no file that can be read anew");
        return;
    }
    const ConfigResult read = readConfigFile(configFile);
    if (!read.errors.empty()) {
        for (const std::string& error : read.errors) {
            tellUser(error);
        }
        tellUser("goes on with the configuration that it has");
        return;
    }
    for (const std::string& key : agent.reload(read.config)) {
        tellUser(key + ": needs a restart, and stays as it is");
    }
    tellUser("goes on with " + configFile);
}

int run(const AgentConfig& config, const Options& options) {
    Platform::Linux::EpollActivityManager activityManager;
    const ServiceEnvironment environment = ServiceEnvironment::ofProcess();
    ServiceLog log(activityManager, environment);
    LogMemory logMemory;
    ServiceManager serviceManager(activityManager, environment);
    const Agent::Tell tellUser = [&](const std::string& message) {
        logMemory.add(ServiceLog::informational, "", message);
        log.tell(message);
        serviceManager.statusIs(message);
    };
    OutputQueue standardOutput(STDOUT_FILENO, activityManager, [&](const char* why) {
        tellUser(std::string("standard output: ") + why + "; output is lost");
    });
    // A neighbour causes a message for each of its declarations: whoever reads
    // them slowly must not slow the protocol.
    Platform::logSinkIs([&](const Platform::LogHandle& handle, const std::string& text) {
        logMemory.add(handle.severity(), handle.name(), text);
        log.handleLog(handle, text);
    });
    const Platform::ScopeGuard restoreLog([] { Platform::logToStandardError(); });
    Agent agent(activityManager, config, logMemory, tellUser);
    // Before anything starts: until then these signals would end the process in
    // the midst of it.
    activityManager.signalIs(SIGINT, [&] { activityManager.stop(); });
    activityManager.signalIs(SIGTERM, [&] { activityManager.stop(); });
    activityManager.signalIs(SIGHUP, [&] {
        serviceManager.reloading();
        const Platform::ScopeGuard reloaded([&] { serviceManager.ready(); });
        reload(agent, options.configFile, tellUser);
    });
    activityManager.signalIs(SIGUSR1, [&] { standardOutput.lineIs(jsonLine(agent.status())); });
    activityManager.signalIs(SIGUSR2, [&] { agent.takeOver(); });
    const Agent::Role role = options.standby ? Agent::Role::standby : Agent::Role::active;
    if (const auto errors = agent.start(role); !errors.empty()) {
        tell(errors, "mrp-agent: ");
        return cannotRun;
    }
    tellUser(role == Agent::Role::standby ? "standby" : "running");
    serviceManager.ready();
    activityManager.run();
    serviceManager.stopping();
    agent.stop();
    return ended;
}

int runProgram(const Options& options) {
    if (!Platform::setTraceLevels(options.trace)) {
        tell({"--trace: expected NAME/LEVEL with a level from 0 to 9, or a list of "
              "these with "
              "commas between them"},
             "mrp-agent: ");
        return wrongUse;
    }
    const ConfigResult read = readConfigFile(options.configFile);
    if (!read.errors.empty()) {
        tell(read.errors, "");
        return wrongUse;
    }
    if (options.standby && !read.config.standby.attributeLog) {
        tell({options.configFile + ": standby.attributeLog: expected the path of "
                                   "the active agent's attribute log"},
             "");
        return wrongUse;
    }
    if (options.check) {
        return check(options);
    }
    return run(read.config, options);
}

}  // namespace

int main(int argc, char** argv) {
    openStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    Options options;
    CLI::App app{"Runs MRP applications (MVRP, MSRP) on Ethernet interfaces, until SIGINT "
                 "or "
                 "SIGTERM.\nSIGHUP reads the configuration anew; SIGUSR1 prints the "
                 "attributes and the "
                 "counters as a\nline of JSON; SIGUSR2 makes a standby agent active.",
                 "mrp-agent"};
    app.add_option("--config", options.configFile, "The configuration, a TOML file")
        ->required()
        ->type_name("FILE");
    app.set_version_flag("--version", MRP_AGENT_VERSION, "Print the version");
    app.add_flag("--check", options.check, "Only read the configuration");
    app.add_flag("--standby", options.standby,
                 "Follow the active agent's attribute log, and take over from it");
    app.add_option("--trace", options.trace, "Trace levels, such as MrpSm/8 or '*/2'")
        ->type_name("NAME/LEVEL");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? ended : wrongUse;
    }
    try {
        return runProgram(options);
    } catch (const std::exception& error) {
        tell({error.what()}, "mrp-agent: ");
        return cannotRun;
    }
}
