/// Values of lists as protocols of a description.
#pragma once

#include <span>

#include "description_text.h"
#include "format_limits.h"
#include "import_numbers.h"

/// Most rules of a protocol, and private ids of a matcher.
constexpr size_t IMPORT_RULES = PROTOCOL_RULE_DIM - 1;
constexpr size_t IMPORT_PRIVATE_IDS = MATCHER_PRIVATE_MAX;

/// A rule as JSON, and the value that it is for.
struct import_rule_t {
    std::string text; ///< holds IMPORT_NAME_MARK where the protocol's name goes
    const import_value_t *value = nullptr;
    bool first = true; ///< the first rule of its value: all of them go into one protocol
};

/// Stands for the name of the protocol in a rule, which no value holds.
constexpr char IMPORT_NAME_MARK = '\x01';

/// Adds the rules of values of names. Values that one matcher has no private ids left for are
/// findings. The values must outlive the rules.
void import_name_rules(const std::vector<import_value_t> &values, std::vector<import_rule_t> &rules,
                       std::vector<import_finding_t> &findings);

/// Adds the rules of values of numbers.
void import_number_rules(number_kind_t kind, const std::vector<import_value_t> &values,
                         std::vector<import_rule_t> &rules);

/// The protocols to be made.
struct import_protocol_t {
    std::string name;
    uint32_t id = 0;
    std::vector<std::string> categories;
    bool split = false; ///< into NAME, NAME_2, NAME_3, ... with ids one after the other
};

/// One of them.
struct import_part_t {
    std::string name;
    uint32_t id = 0;
    size_t nr_rule = 0;
};

/// Returns protocols as the text of a description in canonical layout, and which they are. Entries
/// beyond the rules of one protocol are findings, unless they may be split and ids are left.
std::string import_description(const import_protocol_t &protocol,
                               const std::vector<import_rule_t> &rules,
                               std::vector<import_part_t> &parts,
                               std::vector<import_finding_t> &findings);

/// Returns the text of `into`, a description, with the protocols of `made`, another one, behind its
/// own. No byte of `into` changes.
std::string import_insert(const description_text_t &into, const description_text_t &made);

/// Finds in a description, or in one that was not read, the first id of users that is above all of
/// its ids.
uint32_t import_free_id(const description_text_t &description);

/// Returns what a description has already of protocols that are to be added, "a protocol "mine"" or
/// "a protocol with the id 16777216", or an empty text.
std::string import_clash(const description_text_t &into, std::span<const import_part_t> parts);
