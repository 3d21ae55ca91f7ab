/// Descriptions as a check sees them: protocols, rules, sub-rules, attributes, values, each with
/// the bytes that it stands at.
///
/// The model is read from the tokens of the texts, not from what the compiler builds, so that
/// everything keeps its place; what the compiler makes of it (properties, directions, priorities,
/// aliases) stands beside it. Texts are decoded as the compiler decodes them: `\n` and the like are
/// bytes, a backslash in front of anything else guards that character. Protocols with a fault are
/// there as far as they could be read.
///
/// Views point into the texts of the inputs; both the texts and the model must outlive the
/// findings.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "finding.h"
#include "matcher_alias_keys.h"
#include "pdb_attr_properties.h"

/// A string of the text.
struct lint_text_t {
    finding_place_t place; ///< with its quotes
    std::string_view raw;  ///< between the quotes, as it is written
    std::string decoded;   ///< the bytes that the compiler reads
    uint32_t entries = 0;  ///< of a value: entries of the second level that its matcher has for it
};

/// A number of the text.
struct lint_number_t {
    finding_place_t place;
    std::string_view raw; ///< its digits
    uint32_t number = 0;  ///< modulo 2^32, as the compiler reads it
};

/// The attribute that a value is compared with once the aliases are applied.
struct lint_key_t {
    std::string protocol;
    std::string attribute; ///< without a direction in front of it
    csa_attr_way_t way = ATTR_WAY_UNKNOWN;
};

/// An attribute of a sub-rule with its values, each of which is an item of the rule.
struct lint_attribute_t {
    lint_text_t key;       ///< "cts-server", "stream_offset"
    finding_place_t place; ///< from the key to the end of the values
    std::string name;      ///< without a direction or "_offset"
    /// Of the name as it is written and of what it is matched as; null: unknown.
    const pdb_attr_properties_t *written = nullptr;
    const pdb_attr_properties_t *matched = nullptr;
    csa_attr_way_t written_way = ATTR_WAY_UNKNOWN; ///< both where there is no prefix
    lint_key_t matched_key; ///< protocol, name and direction of the matcher; aliases are applied
    bool array = false;     ///< its values stand in brackets
    bool object = false;    ///< it has an object in place of values, as a "stream_offset" does
    std::optional<lint_number_t> offset; ///< of a "stream_offset"
    std::vector<lint_text_t> values;
};

/// A sub-rule.
struct lint_sub_rule_t {
    finding_place_t place;
    std::vector<lint_text_t> protocols;
    std::optional<lint_number_t> mindata;
    std::optional<lint_number_t> cts_mindata;
    std::optional<lint_number_t> stc_mindata;
    uint32_t matched_cts_mindata = 0; ///< as the compiler stores them, aliases applied; bytes
    uint32_t matched_stc_mindata = 0;
    std::vector<lint_attribute_t> attributes;
};

/// A flag: `"preempt": true`.
struct lint_flag_t {
    finding_place_t place; ///< of the literal
    finding_place_t pair;  ///< from the key to the literal
    bool value = false;    ///< what it says; its key alone sets it
};

/// A rule as it is written; one that the compiler splits is still one here.
struct lint_rule_t {
    finding_place_t place;
    uint32_t number = 0; ///< within the protocol, from 1
    bool faultless = true;
    std::optional<lint_text_t> order;
    uint32_t priority = 0; ///< range << 24 | order, as written; order 0: worked out by the compiler
    std::vector<lint_text_t> scope;
    std::vector<lint_text_t> path;
    std::vector<lint_text_t> tags;
    std::optional<lint_flag_t> fastpass;
    std::optional<lint_flag_t> preempt;
    std::vector<lint_sub_rule_t> sub_rules;
};

/// A protocol.
struct lint_protocol_t {
    finding_place_t place;
    bool faultless = true; ///< no error was found in it
    std::optional<lint_text_t> name;
    bool has_id = false; ///< there is a key, whatever its value
    std::optional<lint_number_t> id_written;
    uint32_t id = 0; ///< as written, or the built-in one of that name, or 0
    std::optional<lint_number_t> virtual_id;
    std::vector<lint_text_t> altnames;
    std::vector<lint_text_t> categories;
    std::optional<lint_text_t> family;
    std::vector<lint_rule_t> rules;
};

/// An input.
struct lint_file_t {
    std::string name; ///< as messages show it
    std::string_view text;
    bool base = false; ///< stands for a pdb that the others are merged with, and is not judged
};

/// Everything that is checked together.
struct lint_model_t {
    std::vector<lint_file_t> files;
    std::vector<lint_protocol_t> protocols; ///< of all files, in their order
    matcher_alias_t aliases;                ///< of the configuration; none without one
};

/// Most bytes of the name of a protocol that its findings have: each of them repeats it.
constexpr size_t LINT_NAME_MAX = 4096;

/// Returns the name of a protocol as it is written, as far as findings have it; empty for none.
std::string_view lint_protocol_name(const lint_protocol_t &protocol);

/// Returns the first protocol of a sub-rule, whose attributes it tests; empty where there is none.
std::string_view lint_bottom(const lint_sub_rule_t &sub_rule);

/// Tells whether what a rule says of itself is read: it is taken from its first sub-rule, where
/// that has attributes.
bool lint_is_read(const lint_rule_t &rule);

/// Tells whether any sub-rule of a rule has attributes.
bool lint_any_attributes(const lint_rule_t &rule);

/// Returns how many rules the compiler stores of one: one for every protocol of its first sub-rule
/// that has several.
size_t lint_stored_rules(const lint_rule_t &rule);

/// Tells whether the values of an attribute are patterns at an offset; an offset of 0 is none.
bool lint_at_offset(const lint_attribute_t &attribute);

/// Returns the minimum data of a rule in a direction (ATTR_WAY_CTS, else server to client) as its
/// matchers see it: the first of its sub-rules that is not 0, and 0 where none is given. 65536
/// stands for no minimum.
uint32_t lint_mindata(const lint_rule_t &rule, csa_attr_way_t way);
