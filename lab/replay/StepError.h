#pragma once

#include <stdexcept>

namespace MrpLab {

// Why a line of a scenario is no valid step, in words for who wrote it.
class StepError final : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace MrpLab
