#pragma once

#include <cstddef>

#include "agent/status/StatusJson.h"

namespace MrpAgent {

// A table while it is told, row by row, with anything going on in between. So it keeps its place by
// the names of things, and never points into what may change.
class RowSource {
  public:
    struct Row {
        Json json;             // null: nothing to show there
        std::size_t cost = 1;  // about how many look-ups it took
    };

    RowSource() = default;
    RowSource(const RowSource&) = delete;
    RowSource& operator=(const RowSource&) = delete;
    virtual ~RowSource() = default;

    // Looks at the next thing. False behind the last.
    virtual bool next(Row& row) = 0;
};

}  // namespace MrpAgent
