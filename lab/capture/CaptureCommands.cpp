#include "lab/capture/CaptureCommands.h"

#include <algorithm>
#include <ostream>
#include <vector>

#include "lab/capture/CaptureReader.h"
#include "lab/capture/PduDecoder.h"
#include "platform/base/Text.h"

namespace MrpLab {

using namespace Platform;
using namespace Mrp;
using MrpAgent::Json;
using MrpAgent::jsonLine;

namespace {

constexpr const char* onlyInterface = "et1";
constexpr const char* bridgeMac = "02:00:00:00:00:aa";
constexpr std::int64_t firstFrame = 1000000000;  // nanoseconds; engines have begun by then

Seconds secondsOf(std::int64_t nanoseconds) {
    constexpr double nanosecondsPerSecond = 1e9;
    return static_cast<double>(nanoseconds) / nanosecondsPerSecond;
}

Json frameJson(Seconds time, const MrpFrame& frame) {
    Json json = {{"at", time},
                 {"application", stringValue(frame.application)},
                 {"source", frame.source.stringValue()}};
    if (frame.vlan) {
        json["tagged"] = *frame.vlan;
    }
    json.update(decodeMrpdu(frame.application, frame.pdu));
    return json;
}

// Which frames become steps, and why others do not.
class Selection {
  public:
    explicit Selection(const ScenarioOptions& options)
        : options_(options), application_(options.application) {}

    // The interface on which the frame arrives; nothing for one that is left out.
    std::optional<std::string> interfaceOf(const std::optional<MrpFrame>& frame) {
        if (!frame) {
            ++others_;
            return std::nullopt;
        }
        application_ = application_.value_or(frame->application);
        if (frame->application != *application_) {
            ++otherApplications_;
            return std::nullopt;
        }
        if (options_.interfaces.empty()) {
            return onlyInterface;
        }
        const auto found = options_.interfaces.find(frame->source);
        if (found == options_.interfaces.end()) {
            ++otherSources_;
            return std::nullopt;
        }
        return found->second;
    }

    std::optional<MrpApplication> application() const { return application_; }

    void printTo(std::ostream& notes) const {
        notes << "left out: " << others_ << " frames without an MRPDU, " << otherApplications_
              << " of the other application, " << otherSources_ << " of other sources\n";
    }

  private:
    const ScenarioOptions& options_;
    std::optional<MrpApplication> application_;
    std::size_t others_ = 0;
    std::size_t otherApplications_ = 0;
    std::size_t otherSources_ = 0;
};

std::vector<std::string> interfaceNames(const ScenarioOptions& options) {
    std::vector<std::string> names;
    for (const auto& [addr, name] : options.interfaces) {
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names.empty() ? std::vector<std::string>{onlyInterface} : names;
}

void writeBeginning(std::ostream& out, MrpApplication application,
                    const std::vector<std::string>& names) {
    Json interfaces = Json::array();
    for (const std::string& name : names) {
        interfaces.push_back({{"name", name}});
    }
    out << jsonLine({{"at", 0},
                     {"start",
                      {{"application", static_cast<unsigned>(application)},
                       {"bridgeMac", bridgeMac},
                       {"interfaces", std::move(interfaces)}}}})
        << '\n';
    for (const std::string& name : names) {
        out << jsonLine({{"at", 0}, {"enable", name}}) << '\n';
    }
}

}  // namespace

void decodeCapture(const std::string& fileName, std::ostream& out, std::ostream& notes) {
    CaptureReader reader(fileName);
    std::size_t pdus = 0;
    std::size_t others = 0;
    while (const auto captured = reader.next()) {
        if (const auto frame = mrpFrameOf(captured->octets)) {
            out << jsonLine(frameJson(secondsOf(captured->nanoseconds), *frame)) << '\n';
            ++pdus;
        } else {
            ++others;
        }
    }
    notes << pdus << " MRPDUs, " << others << " other frames\n";
}

bool scenarioFromCapture(const std::string& fileName, const ScenarioOptions& options,
                         std::ostream& out, std::ostream& notes) {
    CaptureReader reader(fileName);
    Selection selection(options);
    std::optional<std::int64_t> begin;  // in nanoseconds
    Seconds at = 0;
    while (const auto captured = reader.next()) {
        const auto frame = mrpFrameOf(captured->octets);
        const auto interfaceName = selection.interfaceOf(frame);
        if (!interfaceName) {
            continue;
        }
        if (!begin) {
            begin = captured->nanoseconds - firstFrame;
            writeBeginning(out, *selection.application(), interfaceNames(options));
        }
        // A capture may hold frames in another order than that of their times; steps go forward.
        at = std::max(at, secondsOf(captured->nanoseconds - *begin));
        out << jsonLine({{"at", at},
                         {"receive",
                          {{"interface", *interfaceName}, {"frame", hexBytes(frame->octets)}}}})
            << '\n';
    }
    selection.printTo(notes);
    return begin.has_value();
}

}  // namespace MrpLab
