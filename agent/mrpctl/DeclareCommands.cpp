#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "agent/mrpctl/CommandOptions.h"
#include "agent/mrpctl/Commands.h"

namespace MrpCtl {

namespace {

Request declarationOf() {
    return std::make_shared<Json>(Json::object());
}

// `list` is where the declaration stands in the request.
void addCommand(CLI::App& app, Command& command, const char* name, const char* list,
                const Request& declaration) {
    addList(app, "--port", "On these ports only, not on all", declaration, "interfaces")
        ->type_name("PORT");
    app.callback([&command, name, list, declaration] {
        command.request = {{"request", name}, {list, Json::array({*declaration})}};
    });
}

void addNew(CLI::App& app, const Request& declaration) {
    app.add_flag_callback(
        "--new", [declaration] { (*declaration)["new"] = true; },
        "Announce it as New, so that bridges forget what they have learned of it");
}

CLI::Option* addText(CLI::App& app, const Request& declaration, const char* option,
                     const char* member, const char* help) {
    const auto take = [declaration, member](const std::string& text) {
        (*declaration)[member] = text;
    };
    return app.add_option_function<std::string>(option, take, help)->required();
}

CLI::Option* addNumber(CLI::App& app, const Request& declaration, const char* option,
                       const char* member, std::pair<std::uint32_t, std::uint32_t> range,
                       const char* help) {
    const auto take = [declaration, member](const std::uint32_t& number) {
        (*declaration)[member] = number;
    };
    return app.add_option_function<std::uint32_t>(option, take, help)
        ->type_name("N")
        ->check(CLI::Range(range.first, range.second))
        ->required();
}

constexpr std::pair<std::uint32_t, std::uint32_t> anyVlan{1, 4094};
constexpr std::pair<std::uint32_t, std::uint32_t> any16{1, 65535};
constexpr std::pair<std::uint32_t, std::uint32_t> anyPriority{0, 7};

// Numbers as numbers, ranges as texts.
void addVlans(CLI::App& app, const Request& declaration) {
    const auto take = [declaration](const std::vector<std::string>& vlans) {
        Json ids = Json::array();
        for (const std::string& vlan : vlans) {
            const bool range = vlan.find('-') != std::string::npos;
            ids.push_back(range ? Json(vlan) : Json(std::stoul(vlan)));
        }
        (*declaration)["ids"] = std::move(ids);
    };
    app.add_option_function<std::vector<std::string>>("VLANS", take,
                                                      "VLANs and ranges: 10, 10-20 or 10,20-30")
        ->type_name("")
        ->delimiter(',')
        ->required()
        ->check(vlanError);
}

void addStreamId(CLI::App& app, const Request& declaration) {
    addText(app, declaration, "--stream-id", "streamId",
            "The Stream ID, such as 02:00:00:00:00:aa:00:01")
        ->type_name("STREAM")
        ->check(streamIdError);
}

// Classes A and B by their letters, too.
std::string classNumber(const std::string& text) {
    return text == "A" || text == "a" ? "6" : text == "B" || text == "b" ? "5" : text;
}

CLI::Option* addClass(CLI::App& app, const Request& declaration) {
    constexpr std::pair<std::uint32_t, std::uint32_t> anyClass{0, 255};
    return addNumber(app, declaration, "--class", "srClassId", anyClass,
                     "The SR class: a number, A (6) or B (5)")
        ->type_name("CLASS")
        ->transform(CLI::Validator(
            [](std::string& text) {
                text = classNumber(text);
                return std::string();
            },
            ""));
}

void addDeclareVlan(CLI::App& declare, Command& command) {
    CLI::App* app = declare.add_subcommand("vlan", "Declares VLANs");
    const Request declaration = declarationOf();
    addVlans(*app, declaration);
    addNew(*app, declaration);
    const auto registration = [&](const char* option, const char* value, const char* help) {
        return app->add_flag_callback(
            option, [declaration, value] { (*declaration)["registration"] = value; }, help);
    };
    CLI::Option* fixed =
        registration("--fixed", "fixed", "Registered there whatever neighbours declare");
    registration("--forbidden", "forbidden", "Never registered there")->excludes(fixed);
    addCommand(*app, command, "declare", "vlans", declaration);
}

void addDeclareTalker(CLI::App& declare, Command& command) {
    CLI::App* app = declare.add_subcommand("talker", "Declares a talker's stream");
    const Request talker = declarationOf();
    addStreamId(*app, talker);
    addText(*app, talker, "--dmac", "dmac", "The destination address of the stream's frames")
        ->type_name("MAC")
        ->check(macError);
    addNumber(*app, talker, "--vlan", "vlanId", anyVlan, "Their VLAN");
    addNumber(*app, talker, "--max-frame-size", "maxFrameSize", any16, "Octets of a frame");
    addNumber(*app, talker, "--max-interval-frames", "maxIntervalFrames", any16,
              "Frames in a class measurement interval");
    addNumber(*app, talker, "--priority", "priority", anyPriority, "The priority, 0 to 7");
    addNumber(*app, talker, "--rank", "rank", {0, 1}, "0: an emergency; 1 without the option")
        ->required(false);
    addNumber(*app, talker, "--latency", "accumulatedLatency", {0, 4294967295U},
              "Nanoseconds; 0 without the option")
        ->required(false);
    addNew(*app, talker);
    addCommand(*app, command, "declare", "talkerAdvertise", talker);
}

void addDeclareListener(CLI::App& declare, Command& command) {
    CLI::App* app = declare.add_subcommand("listener", "Declares a listener of a stream");
    const Request listener = declarationOf();
    addStreamId(*app, listener);
    addText(*app, listener, "--event", "event", "Its state")
        ->check(CLI::IsMember({"ready", "readyFailed", "askingFailed"}));
    addNew(*app, listener);
    addCommand(*app, command, "declare", "listener", listener);
}

void addDeclareDomain(CLI::App& declare, Command& command) {
    CLI::App* app = declare.add_subcommand("domain", "Declares an SR class");
    const Request domain = declarationOf();
    addClass(*app, domain);
    addNumber(*app, domain, "--priority", "srClassPriority", anyPriority, "Its priority, 0 to 7");
    addNumber(*app, domain, "--vlan", "srClassVID", anyVlan, "Its VLAN");
    addNew(*app, domain);
    addCommand(*app, command, "declare", "domain", domain);
}

void addWithdraw(CLI::App& app, Command& command) {
    CLI::App* withdraw = app.add_subcommand("withdraw", "Ends declarations");
    withdraw->require_subcommand(1);
    CLI::App* vlan = withdraw->add_subcommand("vlan", "Ends the declaration of VLANs");
    const Request vlans = declarationOf();
    addVlans(*vlan, vlans);
    addCommand(*vlan, command, "withdraw", "vlans", vlans);

    CLI::App* stream = withdraw->add_subcommand("stream", "Ends the declarations of a stream");
    const Request streamId = declarationOf();
    addText(*stream, streamId, "STREAM", "streamId",
            "The Stream ID, such as 02:00:00:00:00:aa:00:01")
        ->type_name("")
        ->check(streamIdError);
    addCommand(*stream, command, "withdraw", "streams", streamId);

    CLI::App* domain = withdraw->add_subcommand("domain", "Ends the declaration of an SR class");
    const Request srClass = declarationOf();
    addClass(*domain, srClass);
    addCommand(*domain, command, "withdraw", "domain", srClass);
}

}  // namespace

void addDeclare(CLI::App& app, Command& command) {
    CLI::App* declare = app.add_subcommand("declare", "Declares something until it is withdrawn");
    declare->require_subcommand(1);
    addDeclareVlan(*declare, command);
    addDeclareTalker(*declare, command);
    addDeclareListener(*declare, command);
    addDeclareDomain(*declare, command);
    addWithdraw(app, command);
}

}  // namespace MrpCtl
