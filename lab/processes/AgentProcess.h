#pragma once

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <optional>
#include <string>

#include "agent/status/StatusJson.h"
#include "platform/linux/FileDescriptor.h"

namespace MrpLab {

using Platform::Linux::checked;
using Platform::Linux::FileDescriptor;

// An mrp-agent in a process of its own, which ends with this object at the latest. Its output goes
// into memory, so that it never waits for the test.
class AgentProcess {
  public:
    enum class Role { active, standby };
    static constexpr const char* inStep = "standby, in step with the active agent";

    // `config` is the text of its configuration.
    AgentProcess(const std::string& config, Role role) {
        const FileDescriptor configFile = memoryFile();
        checked(::write(configFile.get(), config.data(), config.size()), "writing");
        pid_ = checked(::fork(), "starting a process");
        if (pid_ == 0) {
            run(configFile.get(), role);
        }
    }
    ~AgentProcess() { kill(); }

    // What it has written to standard error.
    std::string messages() const { return contents(messages_, 0); }
    bool said(const std::string& message) const {
        return messages().find("mrp-agent: " + message + "\n") != std::string::npos;
    }
    void signal(int signo) const { checked(::kill(pid_, signo), "sending a signal"); }
    // By the time it returns there is no such process any more.
    void kill() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
    }
    // The next line that SIGUSR1 has printed, once it is there.
    std::optional<MrpAgent::Json> status() {
        const std::string text = contents(output_, answered_);
        const std::size_t end = text.find('\n');
        if (end == std::string::npos) {
            return std::nullopt;
        }
        answered_ += end + 1;
        return MrpAgent::Json::parse(text.substr(0, end));
    }
    pid_t pid() const { return pid_; }

  private:
    static FileDescriptor memoryFile() {
        return FileDescriptor(checked(::memfd_create("agent", MFD_CLOEXEC), "making a file"));
    }
    static std::string contents(const FileDescriptor& file, std::size_t from) {
        std::string text;
        std::array<char, 65536> block;
        for (ssize_t count = 1; count > 0;) {
            const auto offset = static_cast<off_t>(from + text.size());
            count = checked(::pread(file.get(), block.data(), block.size(), offset), "reading");
            text.append(block.data(), static_cast<std::size_t>(count));
        }
        return text;
    }
    void run(int config, Role role) const {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::dup2(output_.get(), STDOUT_FILENO);
        ::dup2(messages_.get(), STDERR_FILENO);
        const std::string file = "/dev/fd/" + std::to_string(::dup(config));  // open in the agent
        const char* last = role == Role::standby ? "--standby" : nullptr;
        ::execl(MRP_AGENT, MRP_AGENT, "--config", file.c_str(), last, nullptr);
        ::_exit(127);
    }

    FileDescriptor output_ = memoryFile();
    FileDescriptor messages_ = memoryFile();
    std::size_t answered_ = 0;  // octets of the output
    pid_t pid_ = -1;
};

}  // namespace MrpLab
