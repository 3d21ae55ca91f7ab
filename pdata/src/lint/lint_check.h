/// The check of descriptions: everything that is wrong with them, in one run.
///
/// Each protocol is judged alone, by the operations of the compiler, so that one fault neither
/// hides nor blames another; limits, duplicates and what rules do to one another are judged over
/// all protocols without a fault. The texts must outlive the result. Takes time and memory linear
/// in the texts. Uses the process-wide state of the compiler: one check at a time.
#pragma once

#include <memory>

#include "lint_config.h"
#include "lint_model.h"
#include "lint_progress.h"

/// What a check found. It moves, and the findings' views stay valid.
struct lint_result_t {
    lint_model_t model;
    std::vector<finding_t> findings;                  ///< by file and place
    std::vector<std::unique_ptr<std::string>> mended; ///< texts with blanks for what was read over
};

/// Checks the files together. Memory that runs out is std::bad_alloc, also where the compiler's
/// operations have a status for it.
lint_result_t lint_check(std::vector<lint_file_t> files, lint_config_t &config,
                         const lint_progress_t &progress);
