#pragma once

#include "mrp/MrpSm/database/MrpDatabaseReviewSm.h"

namespace Mrp {

// Carries out pending deletions.
class MrpDatabaseDeleteSm final : public MrpDatabaseReviewSm {
  public:
    using MrpDatabaseReviewSm::MrpDatabaseReviewSm;

  protected:
    const char* className() const override { return "MrpDatabaseDeleteSm"; }
    bool pendingEmpty() const override;
    void reviewFirst() override;
};

}  // namespace Mrp
