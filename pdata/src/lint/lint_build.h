/// From the tokens of a protocol to the model.
#pragma once

#include "description_text.h"
#include "lint_model.h"

/// Appends the protocol that the tokens are to the model, and adds values of the wrong kind and
/// more than the format holds to `findings`. Whatever the shape, what fits is taken.
void lint_build_protocol(const description_text_t &tokens, uint32_t file, lint_model_t &model,
                         std::vector<finding_t> &findings);
