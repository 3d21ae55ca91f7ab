/// The protocol container: one protocol object of a description, still in the shape of its JSON.
///
/// The visitor puts the nodes that it meets here; nothing is converted or checked but the
/// dimensions (PROTOCOL_..._DIM of format_limits.h). The nodes belong to the parsed document, which
/// must outlive the container. Rules come into being as they are filled; the dimensions hold all
/// the same.
///
/// Setters overwrite, adders append (oddity O59). Each returns 0, or -1 after printing the
/// dimension that is exhausted on standard error (oddity O50); what was stored before stays.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "format_limits.h"
#include "json.h"

struct protocol_version_t {
    json_number_t *major = nullptr;
    json_number_t *minor = nullptr;
    json_number_t *revision = nullptr;
};

struct protocol_tags_t {
    json_string_t *family = nullptr;
    json_atom_t *deprecated = nullptr;
    std::array<json_string_t *, PROTOCOL_CATEGORY_DIM> categories{};
    uint32_t nr_category = 0;
};

struct protocol_altname_t {
    std::array<json_string_t *, PROTOCOL_ALTNAME_DIM> altnames{};
    uint32_t nr_altname = 0;
};

struct protocol_description_t {
    json_string_t *en = nullptr;
    json_string_t *fr = nullptr;
};

/// One value of an attribute. An array of values takes one entry each, all with the same name.
struct protocol_attr_t {
    json_string_t *name = nullptr; ///< the pair's key
    json_string_t *value = nullptr;
    json_number_t *pattern_offset = nullptr; ///< stream-offset attributes only
};

struct protocol_sub_rule_t {
    /// The entries in use, and one being filled.
    std::array<protocol_attr_t, PROTOCOL_ATTR_DIM + 1> attrs{};
    uint32_t nr_attr = 0;
    std::array<json_string_t *, PROTOCOL_PROTOCOL_DIM> protocol{};
    uint32_t nr_protocol = 0;
    json_number_t *mindata = nullptr;
    json_number_t *cts_mindata = nullptr;
    json_number_t *stc_mindata = nullptr;
};

struct protocol_rule_t {
    /// The sub-rules in use, and one being filled.
    std::array<protocol_sub_rule_t, PROTOCOL_SUB_RULE_DIM + 1> sub_rules{};
    uint32_t nr_sub_rule = 0; ///< index of the sub-rule being filled
    json_string_t *order = nullptr;
    json_atom_t *fastpass = nullptr;
    json_atom_t *preempt = nullptr;
    std::array<json_string_t *, PROTOCOL_SCOPE_DIM> scope{};
    std::array<json_string_t *, PROTOCOL_PATH_DIM> path{};
    std::array<json_string_t *, PROTOCOL_RULE_TAG_DIM> tag{};
    uint32_t nr_scope = 0;
    uint32_t nr_path = 0;
    uint32_t nr_tag = 0;
};

struct protocol_rules_t {
    std::vector<protocol_rule_t> rules; ///< those in use, and at most one being filled
    uint32_t nr_rule = 0;               ///< index of the rule being filled
};

/// The container, each field under the key it holds.
struct protocol_t {
    json_string_t *name = nullptr;
    json_number_t *id = nullptr;
    json_number_t *vid = nullptr; ///< "virtual_id"
    json_atom_t *http_reclassify = nullptr;
    json_atom_t *cacheable = nullptr;
    json_number_t *implicit_bottom_layer = nullptr; ///< a number: oddity O199
    protocol_version_t version;
    protocol_tags_t tags;
    protocol_altname_t altnames;
    protocol_description_t description;
    protocol_rules_t rules;
};

/// Empties a container. The memory of its rules stays for the next protocol.
void protocol_init(protocol_t *protocol);

/// Frees what a container holds.
void protocol_cleanup(protocol_t *protocol);

int protocol_name_set(protocol_t *protocol, json_string_t *name);
int protocol_id_set(protocol_t *protocol, json_number_t *id);
int protocol_vid_set(protocol_t *protocol, json_number_t *vid);
int protocol_version_major_set(protocol_t *protocol, json_number_t *major);
int protocol_version_minor_set(protocol_t *protocol, json_number_t *minor);
int protocol_version_revision_set(protocol_t *protocol, json_number_t *revision);
int protocol_tags_family_set(protocol_t *protocol, json_string_t *family);
int protocol_tags_deprecated_set(protocol_t *protocol, json_atom_t *deprecated);
int protocol_tags_category_add(protocol_t *protocol, json_string_t *category);
int protocol_http_reclassify_set(protocol_t *protocol, json_atom_t *http_reclassify);
int protocol_implicit_bottom_layer_set(protocol_t *protocol, json_number_t *layer);
int protocol_cacheable_set(protocol_t *protocol, json_atom_t *cacheable);
int protocol_altname_add(protocol_t *protocol, json_string_t *altname);
int protocol_description_fr_set(protocol_t *protocol, json_string_t *fr);
int protocol_description_en_set(protocol_t *protocol, json_string_t *en);

/// On the rule being filled.
int protocol_rules_rule_order_set(protocol_t *protocol, json_string_t *order);
int protocol_rules_rule_fastpass_set(protocol_t *protocol, json_atom_t *fastpass);
int protocol_rules_rule_preempt_set(protocol_t *protocol, json_atom_t *preempt);
int protocol_rules_rule_scope_add(protocol_t *protocol, json_string_t *scope);
int protocol_rules_rule_path_add(protocol_t *protocol, json_string_t *path);
int protocol_rules_rule_tag_add(protocol_t *protocol, json_string_t *tag);

/// On the sub-rule being filled.
int protocol_rules_rule_protocol_set(protocol_t *protocol, json_string_t *bottom);
int protocol_rules_rule_mindata_set(protocol_t *protocol, json_number_t *mindata);
int protocol_rules_rule_cts_mindata_set(protocol_t *protocol, json_number_t *mindata);
int protocol_rules_rule_stc_mindata_set(protocol_t *protocol, json_number_t *mindata);

/// On the attribute being filled. A value completes the entry and counts it; a further value of
/// the same array takes the name of the entry before it.
int protocol_rules_rule_attr_name_add(protocol_t *protocol, json_string_t *name);
int protocol_rules_rule_attr_value_add(protocol_t *protocol, json_string_t *value);

/// A stream attribute with an offset. A key of 8 bytes or more loses its last 7, "_offset", in
/// the node itself. Offset and pattern come in either order, and whichever completes the pair
/// counts the entry; the sixteenth entry of a sub-rule that is completed here fails and stays
/// counted. Oddities O83, O93 and O198.
int protocol_rules_rule_stream_offset_name_add(protocol_t *protocol, json_string_t *name);
int protocol_rules_rule_stream_offset_offset_set(protocol_t *protocol, json_number_t *offset);
int protocol_rules_rule_stream_offset_pattern_set(protocol_t *protocol, json_string_t *pattern);

/// The end of a rule, and of a sub-rule: on to the next one. The 1200th rule and the third
/// sub-rule fail. Oddity O83.
int protocol_rules_rule_next(protocol_t *protocol);
int protocol_rules_sub_rule_next(protocol_t *protocol);

/// Returns the rule being filled.
protocol_rule_t &protocol_rules_rule(protocol_t *protocol);

/// Prints the container on standard output, for debugging.
void protocol_dump(const protocol_t &protocol);
