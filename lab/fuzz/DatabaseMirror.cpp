#include "DatabaseMirror.h"

#include <sstream>

#include "Broken.h"

namespace MrpFuzz {

using namespace Mrp;

DatabaseMirror::DatabaseMirror(MrpApplicationDatabase& database) : database_(database) {
    reactor_ = database.recordChanged().react(
        [this](const MrpAttribute& attribute, const MrpAttrDatabase* record) {
            if (record != nullptr) {
                records_.insert_or_assign(attribute, recordOf(*record));
            } else {
                records_.erase(attribute);
            }
        });
}

DatabaseMirror::Record DatabaseMirror::recordOf(const MrpAttrDatabase& record) {
    const auto value = record.attributeValue();
    return {record.applicantState(), record.registrarState(), {value.begin(), value.end()}};
}

void DatabaseMirror::check() const {
    for (const auto& [attribute, told] : records_) {
        const MrpAttrDatabase* record =
            database_.record(attribute.intfId, attribute.attributeType, attribute.key);
        if (record == nullptr || recordOf(*record) != told) {
            std::ostringstream text;
            text << "a record is not as it was told: " << attribute;
            broken(text.str());
        }
    }
    if (records_.size() != database_.recordCount()) {
        broken("there are records that nobody was told of");
    }
}

}  // namespace MrpFuzz
