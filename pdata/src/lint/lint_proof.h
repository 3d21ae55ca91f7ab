/// What is proved of the values of a model (prove_value.h), as findings.
#pragma once

#include "lint_look.h"

/// Proves the values of all rules without a fault, of all protocols together. The place of `look`
/// is the whole model. Takes time and memory linear in the values.
void lint_prove_values(const lint_look_t &look);
