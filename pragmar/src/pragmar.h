/// The JSON front end in one call: parse a document and check it against a rule file.
#pragma once

#include <string_view>

#include "container_semantic.h"
#include "json_parser.h"

/// A rule machine together with the rule tree that its labels point into.
struct pragmar_rules_t {
    json_t json;
    std::unique_ptr<semantic_t> semantic;
};

/// Parses the rule text `rules`, which must outlive the machine, and reads it into a machine.
/// Returns 0, or -1 with everything freed and the report in the error text.
[[nodiscard]] int pragmar_rules_load(pragmar_rules_t *loaded, std::string_view rules);

/// Frees the machine and its tree.
void pragmar_rules_clean(pragmar_rules_t *loaded);

/// Checks a parsed document against loaded rules. Returns 0, or -1 with the report in the error
/// text.
[[nodiscard]] int pragmar_check(const json_t &json, pragmar_rules_t *rules);

/// Parses `text` into `json` and checks it against the rule text `rules`, unless `ignore_sem` is
/// set or there is no rule text (a null view; an empty text is present and fails to parse).
///
/// Returns 0 with the tree kept for the caller, who frees it with pragmar_destroy and keeps
/// `text` alive, or -1 with everything freed and the report in the error text. An absent document
/// text (a null view) gives -1 without a report.
[[nodiscard]] int pragmar_load(std::string_view text, std::string_view rules, json_t *json,
                               bool ignore_sem);
