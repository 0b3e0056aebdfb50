#pragma once

#include <memory>

#include "agent/control/Answer.h"
#include "agent/control/RowSource.h"

namespace MrpAgent {

// Tells a table, as fast as the client reads it.
class TableAnswer final : public Answer {
  public:
    TableAnswer(std::unique_ptr<RowSource> rows, AnswerOutput& output);

    State work() override;

  private:
    std::unique_ptr<RowSource> rows_;
    AnswerOutput& output_;
};

}  // namespace MrpAgent
