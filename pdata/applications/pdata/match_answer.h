/// The answer to a flow: which rules fire, why, and which nearly do.
#pragma once

#include <functional>

#include "flow_match.h"
#include "loadable.h"

/// An item that counts, or that is missing.
struct match_item_t {
    pdata_item item = 0;
    const view_stored_value_t *value = nullptr; ///< what the author wrote, null where unknown
    bool found = false;
    pdata_finding finding = {}; ///< where `found`
};

/// A rule that fires, or that nearly does.
struct fired_rule_t {
    pdata_rule rule = 0;
    pdata_rule_info info = {};
    std::vector<match_item_t> items;
    pdata_precedence beats_next = PDATA_BY_NUMBER; ///< where another one follows
    pdata_item missing_item = 0;                   ///< of a near miss
    pdata_protocol missing_protocol = 0;           ///< of a near miss
};

/// The answer to a flow.
struct match_answer_t {
    std::vector<fired_rule_t> rules;  ///< those that fire, the best first
    std::vector<fired_rule_t> near;   ///< those that miss one thing, the best first
    std::vector<match_item_t> failed; ///< values whose pieces were met, and that do not count
};

/// Collects the answer to the flow that `runner` has just run. Near misses are collected where
/// `near` is set.
match_answer_t match_collect(const loadable_t &loadable, flow_runner_t &runner, bool near);

/// Names a rule: its path and, where that is known, its place in its protocol's description.
std::string match_rule_name(const loadable_t &loadable, pdata_rule rule);

/// Says in one line what a rule that nearly fires misses.
std::string match_near_text(const loadable_t &loadable, const fired_rule_t &rule);

/// Says in one line which value was met, and why it does not count.
std::string match_failed_text(const match_item_t &item);

/// Says what the best rule misses that nearly fires, or else which value does not count, of the
/// protocols that are `wanted`; empty for nothing.
std::string match_nearest(const loadable_t &loadable, const match_answer_t &answer,
                          const std::function<bool(std::string_view)> &wanted);

/// Prints an answer for people.
void match_print(console_t &console, const loadable_t &loadable, const match_answer_t &answer);

/// Returns an answer as the members of a JSON document.
void match_fill(json_document_t &document, const loadable_t &loadable, const match_answer_t &answer,
                bool near);
