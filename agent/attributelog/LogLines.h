#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "mrp/MrpSm/types/MrpApplicationDatabase.h"
#include "mrp/MrpSm/types/MrpEnums.h"

namespace MrpAgent {

// The lines of the attribute log (docs/attribute-log.md), written and read. Each is a JSON object;
// the writers add the newline, the reader gets a line without it.

inline constexpr unsigned attributeLogVersion = 1;

std::string headerLine(const std::string& node, std::span<const Mrp::MrpApplication> applications);
std::string refusalLine(std::string_view reason);
std::string completeLine();

// Writes the lines of one application. Hundreds of thousands of them may be written at a time, so
// what they have in common is prepared once.
class LineWriter {
  public:
    explicit LineWriter(Mrp::MrpApplication application) : application_(application) {}

    // Append one line. The record is the attribute's; null: it is no longer there.
    void record(std::string& lines, const Mrp::MrpAttribute& attribute,
                const Mrp::MrpAttrDatabase* record);
    // The time in seconds; nothing: there is none any more.
    void leaveAllTime(std::string& lines, const Mrp::MrpApplicationDatabase::LeaveAllKey& key,
                      std::optional<Platform::Seconds> time);

  private:
    using Place = Mrp::MrpApplicationDatabase::LeaveAllKey;

    const std::string& placeText(const Place& place);

    Mrp::MrpApplication application_;
    Place place_;            // of the text below
    std::string placeText_;  // the members that name application, interface and type
};

// What a line says. The application of a record or a time is one of ours, its type one of the
// application's.
struct HeaderLine {
    std::string node;
};
struct RecordLine {
    Mrp::MrpApplication application;
    Mrp::MrpAttribute attribute;
    Platform::Ptr<Mrp::MrpAttrDatabase> record;  // null: deleted
};
struct LeaveAllTimeLine {
    Mrp::MrpApplication application;
    Mrp::MrpApplicationDatabase::LeaveAllKey key;
    std::optional<Platform::Seconds> time;  // nothing: there is none any more
};
struct CompleteLine {};
struct OtherLine {};  // nothing that concerns us
struct FaultyLine {
    std::string fault;  // for the user
};
using LogLine =
    std::variant<HeaderLine, RecordLine, LeaveAllTimeLine, CompleteLine, OtherLine, FaultyLine>;

LogLine readLogLine(std::string_view line);

}  // namespace MrpAgent
