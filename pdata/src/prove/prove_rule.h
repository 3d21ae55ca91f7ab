/// Rules proved: does what a rule describes fire it, and does it ever win?
///
/// Samples of all values of a rule are fed to the loadable pdb that holds it, as a flow of exactly
/// the protocols that the rule asks for. A rule that none of them fires is dead; one that always
/// fires together with another one that goes before it, and says something else, is shadowed.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "prove_value.h"

/// A value of a rule, in the order in which the rule has them.
struct prove_item_t {
    prove_value_t value;        ///< as it is matched
    std::string_view protocol;  ///< as it is written: what data is handed over for
    std::string_view attribute; ///< the same, without its direction
    uint32_t way = 0;           ///< ATTR_WAY bits in which it is written
    prove_datum_t known;        ///< data that is found by it alone (prove_verdict_t)
    bool has_known = false;     ///< there is such data
};

/// A rule of a description.
struct prove_rule_t {
    std::string_view protocol; ///< whose it is
    uint32_t index = 0;        ///< of the rule as it is stored in its protocol, from 0
    std::vector<prove_item_t> items;
};

/// What a proof of a rule came to.
enum prove_rule_outcome_t : uint8_t {
    PROVE_RULE_WINS = 0, ///< some samples lead to it
    PROVE_RULE_DEAD,     ///< a value that is found alone is not, so nothing fires it
    PROVE_RULE_SHADOWED, ///< all of them lead to another one
    PROVE_RULE_UNKNOWN,  ///< it is not known again in the pdb, or has no samples, or the budget
                         ///< ended
};

/// A proof of a rule.
struct prove_rule_verdict_t {
    prove_rule_outcome_t outcome = PROVE_RULE_UNKNOWN;
    uint32_t item = 0;         ///< of a dead rule: the value that is never found
    std::string winner;        ///< of a shadowed rule: the protocol of the other one
    uint32_t winner_index = 0; ///< and its index as it is stored
};

/// Sets of samples that a rule is tried with at most.
constexpr size_t PROVE_RULE_SETS = 6;

/// Work on each rule: that of its trials (prove_trial.h), and the rules that samples lead to. A pdb
/// in which every sample leads to most rules uses it up, and the rules behind stay unknown.
constexpr uint64_t PROVE_RULE_WORK = 1024;

/// Proves rules of an open pdb. The verdicts are in their order. std::bad_alloc passes.
std::vector<prove_rule_verdict_t> prove_rules(prove_catalog_t &catalog,
                                              std::span<const prove_rule_t> rules,
                                              const prove_progress_t &progress = {});
