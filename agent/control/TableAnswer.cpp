#include "agent/control/TableAnswer.h"

#include <utility>

namespace MrpAgent {

namespace {

// What a slice may cost, in look-ups. Text takes longer than these.
constexpr std::size_t sliceCost = 1000;
constexpr std::size_t rowCost = 30;

}  // namespace

TableAnswer::TableAnswer(std::unique_ptr<RowSource> rows, AnswerOutput& output)
    : rows_(std::move(rows)), output_(output) {}

Answer::State TableAnswer::work() {
    for (std::size_t cost = 0; cost < sliceCost && output_.waiting() < AnswerOutput::enough;) {
        RowSource::Row row;
        if (!rows_->next(row)) {
            return State::done;
        }
        cost += row.cost;
        if (!row.json.is_null()) {
            output_.rowIs(row.json);
            cost += rowCost;
        }
    }
    return State::more;
}

}  // namespace MrpAgent
