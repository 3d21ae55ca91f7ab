/// Where the attributes of flows come from: the table data/capture_fields.tsv, and how it is used.
#pragma once

#include <span>

#include "field_bag.h"
#include "flow_record.h"

/// A row of the table, as it is written there.
struct capture_field_t {
    const char *protocol;
    const char *attribute;
    const char *direction;
    const char *source;
    const char *field;
    const char *condition;
    const char *occurrence;
    const char *transformation;
    const char *version;
};

/// The table.
std::span<const capture_field_t> capture_fields();

/// What a source says of a record beside its fields, for conditions.
struct capture_context_t {
    std::string_view log;                     ///< of "log=": the log of Zeek
    std::span<const std::string_view> layers; ///< of "layer=": of a frame
    uint8_t side = 0;                         ///< who sent it
    std::string_view payload;                 ///< bytes of the frame, to prove texts by
};

/// A condition of a row.
struct capture_condition_t {
    enum kind_t { FIELD, LAYER, LOG } kind = FIELD;
    uint32_t field = 0;
    std::string_view text;
    bool differs = false; ///< "!" in front: any text but this one
    bool begins = false;  ///< "*" behind
};

/// A row, ready to be used. Rows of transformation "key" and "payload" are none: what they say is
/// taken from packets themselves.
struct capture_rule_t {
    const capture_field_t *row = nullptr;
    uint32_t field = 0;
    uint32_t size_field = 0; ///< of "sized:"
    std::vector<capture_condition_t> conditions;
};

/// The rows of a source, and the bag that holds its fields.
struct capture_rules_t {
    std::vector<capture_rule_t> rules;
    std::vector<std::vector<uint32_t>> by_field; ///< rules by the number of their field
};

/// Returns what a field of a source is called in a bag: as it is written, but for tshark, which
/// prints "ip.src" as member "ip_src" of "layers".
std::string capture_field_name(std::string_view source, std::string_view field);

/// Returns the fields that the rules of a source look at, each once.
std::vector<std::string> capture_rules_fields(std::string_view source);

/// Makes the rules of a source, whose fields are asked for in `bag`.
capture_rules_t capture_rules(std::string_view source, field_bag_t &bag);

/// Adds to a flow what the fields of one record say.
void capture_rules_apply(const capture_rules_t &rules, const field_bag_t &bag,
                         const capture_context_t &context, flow_record_t &record);
