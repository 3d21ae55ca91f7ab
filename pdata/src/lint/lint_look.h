/// What every rule of the check is given: a place of the model, and where to say what it finds.
#pragma once

#include "lint_config.h"
#include "lint_model.h"

/// A place of the model. What lies deeper than the place is null.
struct lint_look_t {
    const lint_model_t &model;
    const lint_config_t &config;
    std::vector<finding_t> &findings;
    const lint_protocol_t *protocol = nullptr;
    const lint_rule_t *rule = nullptr;
    const lint_sub_rule_t *sub_rule = nullptr;
    const lint_attribute_t *attribute = nullptr;
    const lint_text_t *value = nullptr;
};

/// A rule of the check: one row of a table. It is given one place of its kind after another.
struct lint_row_t {
    void (*look)(const lint_look_t &look);
};

/// Adds a finding at the place: that of the value, the key of the attribute, the rule or the name
/// of the protocol, which has one where the look goes no deeper. It may be changed until the next
/// one is added.
finding_t &lint_report(const lint_look_t &look, finding_id_t id, std::string message,
                       std::string hint);

/// The same at another place.
finding_t &lint_report_at(const lint_look_t &look, finding_place_t place, finding_id_t id,
                          std::string message, std::string hint);

/// Lets a finding take a text in place of its own bytes, which is safe.
void lint_mend(finding_t &finding, std::string text);

/// Refuses a text that has no byte, or as many as wrap to none in its length field.
void lint_refuse_empty(const lint_look_t &look, const lint_text_t &text);

/// Adds a finding for a text that is none of the tags of the configuration.
void lint_look_tag(const lint_look_t &look, const lint_text_t &tag, finding_id_t id);

/// Hands every rule, sub-rule, attribute and value of a protocol to `take`, each with its place.
template <typename Take>
void lint_each_rule(const lint_look_t &look, const Take &take)
{
    for (const lint_rule_t &rule : look.protocol->rules) {
        lint_look_t at = look;
        at.rule = &rule;
        take(at);
    }
}

template <typename Take>
void lint_each_attribute(const lint_look_t &look, const Take &take)
{
    for (const lint_sub_rule_t &sub_rule : look.rule->sub_rules)
        for (const lint_attribute_t &attribute : sub_rule.attributes) {
            lint_look_t at = look;
            at.sub_rule = &sub_rule;
            at.attribute = &attribute;
            take(at);
        }
}

template <typename Take>
void lint_each_value(const lint_look_t &look, const Take &take)
{
    for (const lint_text_t &value : look.attribute->values) {
        lint_look_t at = look;
        at.value = &value;
        take(at);
    }
}
