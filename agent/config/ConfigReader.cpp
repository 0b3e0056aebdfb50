#include "agent/config/ConfigReader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "agent/config/ConfigTable.h"
#include "agent/config/DeclarationReader.h"

namespace MrpAgent {

using namespace Platform;
using namespace Mrp;

namespace {

void readApplications(ConfigTable& root, AgentConfig& config) {
    const std::string expected = "a list of \"mvrp\" and \"msrp\"";
    const auto names = root.texts("applications", expected, Presence::optional);
    if (!names) {
        return;
    }
    std::vector<MrpApplication> applications;
    for (const auto& [name, line] : *names) {
        if (name == stringValue(MrpApplication::mvrp)) {
            applications.push_back(MrpApplication::mvrp);
        } else if (name == stringValue(MrpApplication::msrp)) {
            applications.push_back(MrpApplication::msrp);
        } else {
            root.errorIs(line, "applications", "expected " + expected);
            return;  // what is declared is judged by the defaults
        }
    }
    config.applications = applications;
}

void readBridge(ConfigTable& root, AgentConfig& config) {
    auto table = root.table("bridge");
    if (!table) {
        return;
    }
    const std::string expected = "the name of a bridge, 1 to 15 octets";
    constexpr std::size_t longest = 15;
    const auto name = table->text("name", expected, Presence::required);
    if (name && (name->empty() || name->size() > longest)) {
        table->errorIs(table->lineOf("name"), "name", "expected " + expected);
    }
    // Also without a usable name the interfaces are the bridge's.
    config.bridge.name = name.value_or("").empty() ? "?" : *name;
    config.bridge.vlanFilter = table->flag("vlanFilter").value_or(false);
    table->finish();
}

void readInterfaces(ConfigTable& root, AgentConfig& config) {
    const bool onBridge = !config.bridge.name.empty();
    const auto names = root.texts("interfaces", "a list of interface names, each once",
                                  onBridge ? Presence::optional : Presence::required);
    if (names && onBridge) {
        root.errorIs(root.lineOf("interfaces"), "interfaces",
                     "expected either interfaces or a bridge, whose ports they are");
        return;
    }
    for (const auto& [name, line] : names.value_or(std::vector<LocatedText>{})) {
        config.interfaces.push_back(name);
    }
}

void readBridgeMacAddr(ConfigTable& root, AgentConfig& config) {
    constexpr std::uint8_t groupBit = 1;
    const auto addr = root.address("bridgeMacAddr", Presence::optional);
    if (addr && (addr->number() == 0 || (addr->octets()[0] & groupBit) != 0)) {
        root.errorIs(root.lineOf("bridgeMacAddr"), "bridgeMacAddr",
                     "expected the address of a station, not a group address and not zero");
        return;
    }
    config.bridgeMacAddr = addr;
}

void readIntfTimers(ConfigTable& timers, AgentConfig& config) {
    auto interfaces = timers.table("interfaces");
    if (!interfaces) {
        return;
    }
    for (const std::string& name : interfaces->keys()) {
        auto table = interfaces->table(name);
        if (!table) {
            continue;
        }
        const auto& known = config.interfaces;
        if (!known.empty() && std::find(known.begin(), known.end(), name) == known.end()) {
            interfaces->errorIs(table->line(), name, "expected the name of one of the interfaces");
        }
        config.intfTimers[name] = {table->seconds("leaveTime"), table->seconds("leaveAllTime")};
        table->finish();
    }
}

void readTimers(ConfigTable& root, AgentConfig& config) {
    auto table = root.table("timers");
    if (!table) {
        return;
    }
    AgentConfig::Timers& timers = config.timers;
    timers.leaveTime = table->seconds("leaveTime").value_or(timers.leaveTime);
    timers.leaveAllTime = table->seconds("leaveAllTime").value_or(timers.leaveAllTime);
    timers.txLeaveAllExpiryTime =
        table->seconds("txLeaveAllExpiryTime").value_or(timers.txLeaveAllExpiryTime);
    readIntfTimers(*table, config);
    table->finish();
}

// A path of a Unix socket, which has room for so many octets.
std::optional<std::string> readSocketPath(ConfigTable& table, std::string_view key,
                                          Presence presence) {
    constexpr std::size_t longest = 107;
    const std::string expected = "a path of 1 to 107 octets";
    auto path = table.text(key, expected, presence);
    if (path &&
        (path->empty() || path->size() > longest || path->find('\0') != std::string::npos)) {
        table.errorIs(table.lineOf(key), key, "expected " + expected);
        return std::nullopt;
    }
    return path;
}

void readAttributeLog(ConfigTable& root, AgentConfig& config) {
    if (auto table = root.table("attributeLog")) {
        config.attributeLogPath = readSocketPath(*table, "path", Presence::required);
        if (config.attributeLogPath && (config.attributeLogPath == config.control.path ||
                                        config.attributeLogPath == config.control.readOnlyPath)) {
            table->errorIs(table->lineOf("path"), "path",
                           "expected another path than those of the control sockets");
        }
        table->finish();
    }
}

void readControl(ConfigTable& root, AgentConfig& config) {
    if (auto table = root.table("control")) {
        config.control.path = readSocketPath(*table, "path", Presence::optional);
        config.control.readOnlyPath = readSocketPath(*table, "readOnlyPath", Presence::optional);
        if (config.control.path && config.control.readOnlyPath == config.control.path) {
            table->errorIs(table->lineOf("readOnlyPath"), "readOnlyPath",
                           "expected another path than that of the other socket");
        }
        table->finish();
    }
}

void readStandby(ConfigTable& root, AgentConfig& config) {
    config.standby.attributeLog = config.attributeLogPath;
    auto table = root.table("standby");
    if (!table) {
        return;
    }
    if (const auto path = readSocketPath(*table, "attributeLog", Presence::optional)) {
        config.standby.attributeLog = path;
    }
    const std::string expected = "\"on-signal\" or \"on-disconnect\"";
    const auto takeover = table->text("takeover", expected, Presence::optional);
    if (takeover == "on-disconnect") {
        config.standby.takeover = AgentConfig::Takeover::onDisconnect;
    } else if (takeover && takeover != "on-signal") {
        table->errorIs(table->lineOf("takeover"), "takeover", "expected " + expected);
    }
    table->finish();
}

AgentConfig readRoot(const toml::table& document, ConfigErrors& errors) {
    constexpr std::size_t firstLine = 1;
    AgentConfig config;
    ConfigTable root(document, "", firstLine, errors);
    readApplications(root, config);
    readBridge(root, config);
    readInterfaces(root, config);
    readBridgeMacAddr(root, config);
    config.mrpFlooding = root.flag("mrpFlooding").value_or(false);
    readTimers(root, config);
    config.propagation = root.flag("propagation").value_or(true);
    readControl(root, config);
    readAttributeLog(root, config);
    readStandby(root, config);
    DeclarationReader(root, config).read();
    root.finish();
    return config;
}

}  // namespace

ConfigResult readConfig(std::string_view text, const std::string& fileName) {
    ConfigErrors errors(fileName);
    ConfigResult result;
    try {
        const toml::table document = toml::parse(text, fileName);
        result.config = readRoot(document, errors);
    } catch (const toml::parse_error& error) {
        errors.add(error.source().begin.line, "",
                   "expected TOML: " + std::string(error.description()));
    }
    result.errors = errors.texts();
    return result;
}

ConfigResult readConfigFile(const std::string& fileName) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(fileName.c_str(), "rb"),
                                                               std::fclose);
    std::string text;
    std::array<char, 4096> block;
    std::size_t octets = 0;
    while (file && (octets = std::fread(block.data(), 1, block.size(), file.get())) > 0) {
        text.append(block.data(), octets);
    }
    // A directory opens like a file and fails at the first read.
    if (!file || std::ferror(file.get()) != 0) {
        return {{}, {fileName + ": cannot be read: " + std::strerror(errno)}};
    }
    return readConfig(text, fileName);
}

}  // namespace MrpAgent
