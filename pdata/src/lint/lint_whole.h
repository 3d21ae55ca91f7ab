/// What is judged over all protocols without a fault together: names, ids and rules that stand
/// twice, protocols that nothing defines, and limits that many fill together.
#pragma once

#include "lint_look.h"

/// Looks at everything that is checked together.
void lint_look_whole(const lint_model_t &model, const lint_config_t &config,
                     std::vector<finding_t> &findings);
