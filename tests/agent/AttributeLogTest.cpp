#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "agent/attributelog/StatusExport.h"
#include "agent/standby/StatusMirror.h"

namespace MrpAgent {
namespace {

using namespace Platform;
using namespace Mrp;
using testing::HasSubstr;

const std::vector<MrpApplication> bothApplications{MrpApplication::mvrp, MrpApplication::msrp};

std::vector<Ptr<MrpStatus>> makeStatuses() {
    std::vector<Ptr<MrpStatus>> statuses;
    for (const MrpApplication application : bothApplications) {
        statuses.push_back(makePtr<MrpStatus>());
        statuses.back()->applicationIs(application);
        statuses.back()->applicationDatabaseIs(application);
    }
    return statuses;
}

// All that the databases hold, as the lines of a log.
std::string contentOf(const std::vector<Ptr<MrpStatus>>& statuses) {
    std::string lines;
    for (const auto& status : statuses) {
        LineWriter writer(status->application());
        const auto database = status->applicationDatabaseIs(status->application());
        for (const auto& [intfId, intf] : database->attrDatabase()) {
            for (const auto& [type, records] : intf->intfTypeApplicant()) {
                for (const auto& [key, record] : records->mrpAttribute()) {
                    writer.record(lines, {intfId, type, key}, record);
                }
            }
        }
        for (const auto& [key, time] : database->leaveAllTime()) {
            writer.leaveAllTime(lines, key, time);
        }
    }
    return lines;
}

// A reader that hands the lines to a mirror, and keeps them.
class MirrorReader final : public AttrLogReader {
  public:
    explicit MirrorReader(StatusMirror& mirror) : mirror_(mirror) {}

    void linesIs(std::string_view lines) override {
        std::istringstream stream{std::string(lines)};
        for (std::string line; std::getline(stream, line);) {
            text += line + '\n';
            EXPECT_EQ(mirror_.lineIs(line), std::nullopt) << line;
        }
    }

    void linesLost() override { FAIL(); }

    std::string text;

  private:
    StatusMirror& mirror_;
};

void writeRecord(const MrpStatus& status, const MrpAttribute& attribute,
                 std::vector<std::uint8_t> value, MrpApplicantState applicant,
                 MrpRegistrarState registrar) {
    const auto record = MrpAttrDatabase::make(attribute.key);
    record->attributeValueIs(ValueIndex(0), value);
    record->applicantStateIs(applicant);
    record->registrarStateIs(registrar);
    status.applicationDatabase(status.application())
        ->attrDatabaseIs(attribute.intfId)
        ->intfTypeApplicantIs(attribute.attributeType)
        ->mrpAttributeIs(attribute.key)
        ->copyFrom(*record);
}

// Random changes of two small databases.
class Changes {
  public:
    Changes(std::vector<Ptr<MrpStatus>> statuses, unsigned seed)
        : statuses_(std::move(statuses)), random_(seed) {}

    void change() {
        const MrpStatus& status = *statuses_[pick(2)];
        const bool mvrp = status.application() == MrpApplication::mvrp;
        MrpApplicationDatabase& database = *status.applicationDatabase(status.application());
        const IntfId intfId("log" + std::to_string(pick(3)));
        const AttributeType type = mvrp ? vlanType : (pick(2) == 0 ? listenerType : domainType);
        const std::uint8_t key = static_cast<std::uint8_t>(pick(8));
        const auto applicant = static_cast<MrpApplicantState>(pick(applicantStates));
        switch (pick(6)) {
        case 0:
            database.leaveAllTimeIs({intfId, type}, 0.1 * pick(200));
            break;
        case 1:
            database.leaveAllTimeDel({intfId, type});
            break;
        case 2:
            database.attrDatabaseIs(intfId)->intfTypeApplicantIs(type)->mrpAttributeDel(key);
            break;
        case 3:
            if (MrpAttrDatabase* record = database.record(intfId, type, key)) {
                record->applicantStateIs(applicant);
            }
            break;
        default:
            writeRecord(status, {intfId, type, key}, valueOf(type, mvrp, key), applicant,
                        static_cast<MrpRegistrarState>(pick(3)));
        }
    }

    unsigned pick(unsigned count) { return static_cast<unsigned>(random_() % count); }

  private:
    std::vector<std::uint8_t> valueOf(AttributeType type, bool mvrp, std::uint8_t key) {
        const auto any = static_cast<std::uint8_t>(pick(256));
        if (mvrp) {
            return {0, key};
        }
        return type == listenerType
                   ? std::vector<std::uint8_t>{0, 0, 0, 0, 0, 0, 0, key, any, 0, 0, 0}
                   : std::vector<std::uint8_t>{key, any, 0, any};
    }

    std::vector<Ptr<MrpStatus>> statuses_;
    std::mt19937 random_;
};

}  // namespace

TEST(AttributeLog, IsWrittenAsDocumented) {
    const auto statuses = makeStatuses();
    const IntfId intfId("eth\"1");
    writeRecord(*statuses[0], {intfId, vlanType, 100}, {0, 100}, MrpApplicantState::QA,
                MrpRegistrarState::IN);
    statuses[0]
        ->applicationDatabase(MrpApplication::mvrp)
        ->leaveAllTimeIs({intfId, vlanType}, 12.5);
    StatusExport log("mrp", bothApplications);
    log.statusesAre(statuses);
    StatusMirror mirror(makeStatuses());
    mirror.sessionStarts();
    MirrorReader reader(mirror);
    log.readerStarts(reader);
    std::string lines;
    while (log.stateLines(lines, 1)) {
    }
    const auto place = R"("application":"mvrp","interface":"eth\"1","attributeType":"vlanVector",)";
    const auto record = R"({"record":{)" + std::string(place) +
                        R"("key":100,"value":"0064","applicant":"QA","registrar":")";
    EXPECT_EQ(lines, R"({"attributeLog":{"version":1,"node":"mrp","applications":["mvrp","msrp"]}})"
                     "\n" +
                         record + "IN\"}}\n" + R"({"leaveAllTime":{)" + place +
                         "\"seconds\":12.5}}\n{\"complete\":true}\n");
    reader.linesIs(lines);
    reader.text.clear();
    auto& database = *statuses[0]->applicationDatabase(MrpApplication::mvrp);
    const Ptr<MrpAttrDatabase> held(database.record(intfId, vlanType, 100));
    held->registrarStateIs(MrpRegistrarState::IN);  // no change
    { const MrpAttrDatabase::AssumedRegistrarState assumed(held, MrpRegistrarState::MT); }
    held->registrarStateIs(MrpRegistrarState::LV);
    database.attrDatabaseIs(intfId)->intfTypeApplicantIs(vlanType)->mrpAttributeDel(100);
    held->registrarStateIs(MrpRegistrarState::MT);  // in no database any more
    database.leaveAllTimeDel({intfId, vlanType});
    EXPECT_EQ(reader.text, record + "LV\"}}\n" + R"({"deleted":{)" + place + "\"key\":100}}\n" +
                               R"({"leaveAllTime":{)" + place + "\"seconds\":null}}\n");
    log.readerEnds();
    database.leaveAllTimeIs({intfId, vlanType}, 1);  // there is nobody to tell
    EXPECT_EQ(log.refusal(),
              R"({"attributeLog":{"version":1},"error":"another reader is connected"})"
              "\n");
}

// The state is told in pieces of any size while it changes, over sessions that break off; whenever
// a session is complete, and from then on, the mirror holds what the databases hold.
TEST(AttributeLog, MirrorsAStateThatChangesWhileItIsTold) {
    for (unsigned seed = 1; seed <= 300; ++seed) {
        const auto statuses = makeStatuses();
        const auto mirrored = makeStatuses();
        Changes changes(statuses, seed);
        StatusMirror mirror(mirrored);
        StatusExport log("mrp", bothApplications);
        log.statusesAre(statuses);
        for (int session = 0; session < 4; ++session) {
            for (unsigned i = changes.pick(60); i > 0; --i) {
                changes.change();
            }
            MirrorReader reader(mirror);
            mirror.sessionStarts();
            log.readerStarts(reader);
            const bool breaks = changes.pick(3) == 0;
            for (bool more = true; more && !(breaks && changes.pick(10) == 0);) {
                std::string lines;
                more = log.stateLines(lines, 1 + changes.pick(300));
                reader.linesIs(lines);
                for (unsigned i = changes.pick(4); i > 0; --i) {
                    changes.change();
                }
                if (mirror.complete()) {
                    ASSERT_EQ(contentOf(mirrored), contentOf(statuses)) << "seed " << seed;
                }
            }
            log.readerEnds();
            mirror.sessionEnds(changes.pick(2) == 0);
        }
    }
}

TEST(AttributeLog, NonsenseIsNamedAndChangesNothing) {
    const auto mirrored = makeStatuses();
    StatusMirror mirror(mirrored);
    const std::string header = R"({"attributeLog":{"version":1,"node":"a","applications":[]}})";
    const std::string place =
        R"("application":"mvrp","interface":"et1","attributeType":"vlanVector")";
    const std::string record =
        R"({"record":{)" + place + R"(,"key":5,"value":"0005","applicant":"QA","registrar":"IN"}})";
    for (const auto& [line, fault] : std::vector<std::pair<std::string, std::string>>{
             {"", "expected a JSON object"},
             {"[1]", "expected a JSON object"},
             {R"({"record":7})", "\"application\" is missing"},
             {header, "a first line in the midst of the log"},
             {R"({"record":{)" + place + R"(,"key":-1}})", "\"key\" is no whole number"},
             {R"({"record":{)" + place + R"(,"key":5,"value":"00"}})", "\"value\" is not as long"},
             {R"({"record":{)" + place + R"(,"key":5,"value":"00x5"}})", "\"value\" is no row"},
             {R"({"record":{)" + place + R"(,"key":6,"value":"0005"}})", "\"key\" is not that of"},
             {R"({"record":{)" + place +
                  R"(,"key":5,"value":"0005","applicant":"QQ","registrar":"IN"}})",
              "is no state"},
             {R"({"leaveAllTime":{)" + place + R"(,"seconds":"soon"}})", "\"seconds\" is neither"},
             {R"({"deleted":{"application":"mvrp","interface":"","attributeType":"vlanVector",)"
              R"("key":1}})",
              "no name of an interface"},
             {R"({"deleted":{"application":"mvrp","interface":"e","attributeType":"domainVector",)"
              R"("key":1}})",
              "\"attributeType\" is none of its application"}}) {
        mirror.sessionStarts();
        ASSERT_EQ(mirror.lineIs(header), std::nullopt);
        ASSERT_EQ(mirror.lineIs(record), std::nullopt);
        EXPECT_THAT(mirror.lineIs(line).value_or("accepted"), HasSubstr(fault)) << line;
        mirror.sessionEnds(false);
        EXPECT_EQ(contentOf(mirrored), "");
    }
    for (const auto& [line, fault] : std::vector<std::pair<std::string, std::string>>{
             {R"({"attributeLog":{"version":2,"node":"a"}})",
              "expected version 1 of the log, found 2"},
             {R"({"attributeLog":7})", "\"version\" is missing"},
             {refusalLine("another reader"), "refused: another reader"},
             {record, "expected the first line of an attribute log"}}) {
        mirror.sessionStarts();
        EXPECT_THAT(mirror.lineIs(line).value_or("accepted"), HasSubstr(fault)) << line;
        EXPECT_FALSE(mirror.accepted());
    }
    // What is not known is passed over; what a session told that ended clean is kept.
    mirror.sessionStarts();
    for (const std::string& line :
         {header, record, std::string(R"({"news":1})"),
          std::string(R"({"record":{"application":"mmrp","anything":1}})")}) {
        EXPECT_EQ(mirror.lineIs(line), std::nullopt) << line;
    }
    mirror.sessionEnds(true);
    EXPECT_EQ(contentOf(mirrored), record + '\n');
}

}  // namespace MrpAgent
