#pragma once

#include "mrp/MrpSm/database/MrpDatabaseReviewSm.h"

namespace Mrp {

// Commits pending additions.
class MrpDatabaseAddSm final : public MrpDatabaseReviewSm {
  public:
    using MrpDatabaseReviewSm::MrpDatabaseReviewSm;

  protected:
    const char* className() const override { return "MrpDatabaseAddSm"; }
    bool pendingEmpty() const override;
    void reviewFirst() override;
};

}  // namespace Mrp
