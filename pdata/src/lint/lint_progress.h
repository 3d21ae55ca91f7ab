/// How far a check is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

/// What a check does, one after the other, and what its progress is counted in.
enum lint_step_t : uint8_t {
    LINT_STEP_READ,         ///< bytes
    LINT_STEP_PROVE_VALUES, ///< values
    LINT_STEP_PROVE_RULES,  ///< rules
};

/// Told of how much of a step is done. May be empty.
using lint_progress_t = std::function<void(lint_step_t step, size_t done, size_t all)>;
