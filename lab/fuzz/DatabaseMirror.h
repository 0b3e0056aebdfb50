#pragma once

#include <map>
#include <vector>

#include "mrp/MrpSm/types/MrpApplicationDatabase.h"

namespace MrpFuzz {

// The records of a database, as one knows them who goes by what he is told of changes.
class DatabaseMirror {
  public:
    // Begins with an empty database, which outlives it.
    explicit DatabaseMirror(Mrp::MrpApplicationDatabase& database);

    // Ends the process when the database holds something else.
    void check() const;

  private:
    struct Record {
        Mrp::MrpApplicantState applicant;
        Mrp::MrpRegistrarState registrar;
        std::vector<std::uint8_t> value;

        bool operator==(const Record&) const = default;
    };

    static Record recordOf(const Mrp::MrpAttrDatabase& record);

    Mrp::MrpApplicationDatabase& database_;
    std::map<Mrp::MrpAttribute, Record> records_;
    Platform::Reactor reactor_;
};

}  // namespace MrpFuzz
