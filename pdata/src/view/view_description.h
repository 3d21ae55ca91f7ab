/// Stored descriptions: a protocol, its rules, their sub-rules and attributes.
///
/// A view is made from the value of a record; making it checks every length that its fields rely
/// on, so that lists may be read by index up to their count without further checks. Texts are
/// offsets into a pool (fields.def says which one); whether they lead to a text is asked of the
/// pool. Views point into the bytes of the file, which must outlive them.
///
/// Who reads record by record, to say more about a refused one, walks the records himself and
/// hands each to a ..._take operation; the others do both and fill an error.
#pragma once

#include "view_cursor.h"

/// A protocol. Fields that an older form of its meta lacks are 0, missing lists are empty.
struct view_protocol_t {
    uint32_t id = 0;
    uint32_t name = 0;         ///< text
    uint32_t default_port = 0; ///< text
    uint32_t max_trans = 0;
    uint32_t cacheable = 0;
    uint32_t http_reclassify = 0;
    uint32_t version_major = 0;
    uint32_t version_minor = 0;
    uint32_t version_revision = 0;
    uint32_t implicit_bottom_layer = 0;
    view_area_t tags;               ///< two texts each: category, value
    view_area_t descriptions;       ///< two texts each: language, text
    view_area_t compat;             ///< texts
    view_area_t supported_versions; ///< texts
    view_area_t altnames;           ///< texts
    view_list_t rules;
};

/// A rule.
struct view_rule_t {
    bool order_significant = false;
    uint8_t meta_form = 0; ///< 1 to 6, 0 without a meta
    uint32_t priority = 0; ///< range in bits 31 to 24, order in bits 23 to 0
    uint32_t reserved = 0;
    uint32_t scope = 0;
    uint32_t vid = 0; ///< version identifier; RULE_VID_NONE in the fifth form, which has none
    uint32_t fastpass = 0;
    uint32_t preempt = 0;
    view_area_t path; ///< texts
    view_area_t tags; ///< texts of the main pool
    view_list_t sub_rules;
};

/// A sub-rule.
struct view_sub_rule_t {
    uint32_t protocol = 0;        ///< text: the bottom protocol
    uint32_t bottom_protocol = 0; ///< text: the real bottom protocol
    uint32_t stc_mindata = 0;     ///< bytes
    uint32_t cts_mindata = 0;     ///< bytes
    view_list_t attributes;
};

/// An attribute.
struct view_attribute_t {
    uint32_t type = 0;      ///< tlv_proto_attr_type_t
    uint32_t way_proto = 0; ///< direction and transport, as stored
    uint32_t name = 0;      ///< text
    view_area_t values;     ///< texts
    view_area_t offsets;    ///< per value its pattern offset; empty for types without
};

/// Returns the direction of an attribute as in memory, csa_attr_way_t: the stored form numbers the
/// two directions the other way round. ATTR_WAY_UNKNOWN for one that the format does not have.
[[nodiscard]] uint32_t view_attribute_way(const view_attribute_t &attribute);

/// Takes one record of a protocol into its view. Returns VIEW_SOUND, VIEW_UNKNOWN for a type that
/// a protocol does not have, or VIEW_LENGTH: a meta of a length that no form has, half a pair,
/// rules shorter than the positions that were read before them say.
[[nodiscard]] view_fault_t view_protocol_take(const view_record_t &record,
                                              view_protocol_t &protocol);

/// Reads a protocol from the value of its record. Returns false with `error` for a record that is
/// refused or does not end within the value.
[[nodiscard]] bool view_protocol_open(const view_area_t &value, view_protocol_t &protocol,
                                      view_error_t &error);

/// Reads a rule from its record, a sub-rule from its record, an attribute from its record; every
/// earlier content of the view is gone. They return the fault and, unless it is VIEW_SOUND, the
/// place of the record or field at fault in `*at` (bytes from the file's start).
[[nodiscard]] view_fault_t view_rule_read(const view_record_t &record, view_rule_t &rule,
                                          size_t *at);
[[nodiscard]] view_fault_t view_sub_rule_read(const view_record_t &record,
                                              view_sub_rule_t &sub_rule, size_t *at);
[[nodiscard]] view_fault_t view_attribute_read(const view_record_t &record,
                                               view_attribute_t &attribute, size_t *at);

/// Gives entry `index`, below the count of the list. Returns false with `error`, whose text begins
/// with "rule 3: " and the like, for an entry that overlaps the one before it, is not whole, or
/// cannot be read.
[[nodiscard]] bool view_rule_at(const view_protocol_t &protocol, uint32_t index, view_rule_t &rule,
                                view_error_t &error);
[[nodiscard]] bool view_sub_rule_at(const view_rule_t &rule, uint32_t index,
                                    view_sub_rule_t &sub_rule, view_error_t &error);
[[nodiscard]] bool view_attribute_at(const view_sub_rule_t &sub_rule, uint32_t index,
                                     view_attribute_t &attribute, view_error_t &error);
