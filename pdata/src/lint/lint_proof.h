/// What is proved of the values and rules of a model (prove_value.h, prove_rule.h), as findings.
#pragma once

#include <unordered_map>

#include "lint_look.h"
#include "lint_progress.h"
#include "prove_catalog.h"
#include "prove_compile.h"
#include "prove_value.h"

/// Proves the values of all rules without a fault, then these rules, against one pdb of all
/// protocols without a fault. The place of `look` is the whole model. Takes time and memory linear
/// in the texts.
void lint_prove(const lint_look_t &look, const lint_progress_t &progress);

/// All protocols without a fault, compiled together.
struct lint_compiled_t {
    prove_compiled_t compiled; ///< without bytes where the compiler refused them
    prove_catalog_t catalog;   ///< of them
    bool is_open = false;      ///< there is a catalog
};

/// Compiles them. Says nothing.
void lint_compile_whole(const lint_look_t &look, lint_compiled_t &whole);

/// Proofs by value of the model.
using lint_proved_t = std::unordered_map<const lint_text_t *, prove_verdict_t>;

/// Returns what the proofs of a step with `all` values or rules tell how many are done; empty where
/// `progress` is, which must outlive it.
prove_progress_t lint_step_progress(const lint_progress_t &progress, lint_step_t step, size_t all);

/// Returns what is to be proved of a value, in a direction that it is tested in.
prove_value_t lint_proved_value(const lint_look_t &value, csa_attr_way_t way);

/// Proves the rules, whose values were.
void lint_prove_rules(const lint_look_t &look, const lint_proved_t &proved, lint_compiled_t &whole,
                      const lint_progress_t &progress);
