/// The shape of a protocol, judged by the rule machine of the compiler.
///
/// The events of the compiler's check are taken from the tokens of the protocol, so that what the
/// machine refuses has a place; a member that it refuses is passed over, as if it were not there,
/// and the check goes on.
#pragma once

#include "container_semantic.h"
#include "description_text.h"
#include "finding.h"

/// Checks a protocol, whose tokens begin with its object, and adds what the machine refuses to
/// `findings`. The machine is rewound.
void lint_shape_check(semantic_t &machine, const description_text_t &tokens, uint32_t file,
                      std::vector<finding_t> &findings);
