/// The protocol record: everything that one protocol of a description declares, while it is built.
///
/// One record is made with fixed capacities and is reset and refilled for each protocol. Rules are
/// not a level of their own: a rule is the run of consecutive sub-rule slots that bear the same
/// `rule_id`. The record owns its arrays and none of the strings, which must outlive it.
///
/// Slots and their arrays come into being when they are first used, so a record costs what its
/// largest protocol needs, not what its capacities allow.
///
/// Every operation returns PDATA_SUCCESS unless it says otherwise. `n_rule` is the index of a
/// sub-rule slot, below `pb_max_rules`; `n_attr` the index of an attribute within it.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "csa_str.h"
#include "csa_types.h"
#include "format_limits.h"
#include "format_values.h"
#include "hstring.h"
#include "matcher_type.h"
#include "pdata_error.h"
#include "protodesc_tlv.h"

/// The capacities of a record.
struct protodesc_bounds_t {
    uint32_t pi_max_tags;      ///< tags of the protocol
    uint32_t pi_max_desc;      ///< descriptions
    uint32_t pi_max_compat;    ///< compatibility strings
    uint32_t pi_max_altname;   ///< alternative names
    uint32_t pi_max_rules;     ///< rules
    uint32_t pi_max_subrules;  ///< sub-rules per rule
    uint32_t pi_max_path;      ///< protocols in one sub-rule's path
    uint32_t pi_max_rule_tags; ///< tags of one sub-rule
    uint32_t pi_max_attr;      ///< attributes of one sub-rule
    uint32_t pi_max_attr_val;  ///< values of one attribute
};

/// Pairs of texts.
struct name_value_t {
    std::vector<csa_str_t> nv_name;
    std::vector<csa_str_t> nv_val; ///< parallel to `nv_name`
    uint32_t nv_nr = 0;            ///< pairs in use
};

/// Texts.
struct value_t {
    std::vector<csa_str_t> v_val;
    uint32_t v_nr = 0; ///< texts in use
};

/// One attribute of a sub-rule.
struct attrdesc_build_t {
    csa_str_t attr_name;             ///< without a way prefix; absent: the attribute is not set
    std::vector<csa_str_t> attr_val; ///< a slot with an absent text is free
    csa_attr_way_t attr_way = ATTR_WAY_UNKNOWN;
    attr_proto_t attr_proto = ATTR_PROTO_UNKNOWN;
    matcher_type_t attr_type = MATCHER_TYPE_UNKNOWN;
    uint32_t attr_nr_val = 0;
    std::vector<uint32_t> attr_offset; ///< per value, its pattern offset; 0: none
};

/// One sub-rule slot.
struct ruledesc_build_t {
    std::vector<attrdesc_build_t> rule_attr;
    std::vector<csa_str_t> rule_path; ///< protocol names, in the order written
    std::vector<csa_str_t> rule_tags;
    csa_str_t rule_protocol;        ///< whose attributes are tested: the bottom protocol
    csa_str_t rule_bottom_protocol; ///< the bottom protocol as written
    uint32_t rule_id = 0;           ///< from 1; 0 in a free slot
    uint32_t rule_sub_id = 0;       ///< number within the rule, from 1
    csa_bool_t rule_ruleorder = 0;
    csa_bool_t rule_fastpass = 0;
    csa_bool_t rule_preempt = 0;
    uint32_t rule_order = 0; ///< the priority word
    uint32_t rule_scope = 0; ///< bit set of scope words
    uint32_t rule_nr_path = 0;
    uint32_t rule_nr_tags = 0;
    uint32_t rule_nr_attr = 0;
    uint32_t rule_stc_mindata = 0; ///< bytes, server to client
    uint32_t rule_cts_mindata = 0; ///< bytes, client to server
    uint32_t rule_vid = 0;         ///< version identifier, or RULE_VID_NONE
};

/// Something that building a protocol says without failing. It is said as often as there are
/// passes over the protocol, while the protocol is built once.
struct protodesc_remark_t {
    void (*say)(const protodesc_remark_t &remark);
    csa_str_t protocol;  ///< the protocol being built
    csa_str_t bottom;    ///< whose attribute it is about
    csa_str_t attr_name; ///< without a way prefix
    uint32_t number;     ///< a direction, a capacity or the key of a rule node
};

/// The record.
struct protodesc_build_t {
    csa_str_t pb_name;
    csa_str_t pb_default_port;
    std::vector<ruledesc_build_t> pb_rules; ///< the slots used so far; see protodesc_slot
    uint32_t pb_id = 0;
    uint32_t pb_max_trans = 0;
    csa_bool_t pb_cacheable = 0; ///< true in a reset record
    csa_bool_t pb_http_reclassify = 0;
    csa_bool_t pb_implicit_bottom_layer = 0;
    uint32_t pb_nr_sub_rule = 0;          ///< slots in use
    name_value_t pb_tags;                 ///< category and value
    name_value_t pb_desc;                 ///< language and text
    std::array<uint32_t, 3> pb_version{}; ///< major, minor, revision
    value_t pb_compat;
    value_t pb_altname;
    uint32_t pb_max_rules = 0; ///< slots the record may hold: rules times sub-rules
    protodesc_bounds_t pb_bounds{};
    hstring_build_t *pb_htable = nullptr;           ///< strings of the group; not owned
    hstring_build_t *pb_tagtable_hstring = nullptr; ///< strings of the tag table; not owned
    uint32_t pb_dirty_slots = 0;                    ///< slots touched since the last reset
    std::vector<protodesc_remark_t> pb_remarks;     ///< what was said since the last reset
};

/// Fills in the default capacities.
void protodesc_populate_bounds(protodesc_bounds_t *bounds);

/// Makes `pb` an empty record of these capacities, all fields zero, whose strings go to the two
/// tables. Returns false when memory runs out.
[[nodiscard]] bool protodesc_init(protodesc_build_t *pb, const protodesc_bounds_t &bounds,
                                  hstring_build_t *pg_hstring, hstring_build_t *tagtable_hstring);

/// Gives the record its sub-rule slots, all free. Returns false when memory runs out.
[[nodiscard]] bool protodesc_init_rules(const protodesc_bounds_t &bounds, protodesc_build_t *pb);

/// Empties the record for the next protocol: everything but the version (oddity O99). The cost is
/// that of what was used since the last reset.
void protodesc_reset(protodesc_build_t *pb);

/// Frees every slot. What a slot keeps from its last use (oddity O88): transport and
/// value count of its attributes, fastpass, preempt, scope, version identifier and the bottom
/// protocol as written. A slot without attributes shows them again.
void protodesc_reset_rules(protodesc_build_t *pb);

/// Frees everything.
void protodesc_clean(protodesc_build_t *pb);

/// Returns slot `n_rule`, which comes into being if it was never used.
ruledesc_build_t &protodesc_slot(protodesc_build_t *pb, uint32_t n_rule);

/// Store one field of the protocol.
void protodesc_set_name(protodesc_build_t *pb, csa_str_t name);
void protodesc_set_id(protodesc_build_t *pb, uint32_t id);
void protodesc_set_max_trans(protodesc_build_t *pb, uint32_t max_trans);
void protodesc_set_default_port(protodesc_build_t *pb, csa_str_t default_port);
void protodesc_set_http_reclassify(protodesc_build_t *pb, csa_bool_t http_reclassify);
void protodesc_set_implicit_bottom_layer(protodesc_build_t *pb, csa_bool_t implicit_bottom_layer);
void protodesc_set_cacheable(protodesc_build_t *pb, csa_bool_t cacheable);
void protodesc_set_version_major(protodesc_build_t *pb, uint32_t major);
void protodesc_set_version_minor(protodesc_build_t *pb, uint32_t minor);
void protodesc_set_version_revision(protodesc_build_t *pb, uint32_t revision);
void protodesc_set_nr_sub_rule(protodesc_build_t *pb, uint32_t nr_sub_rule);

/// Store one field of a slot. protodesc_set_mindata sets both directions; protodesc_set_rule_bottom
/// sets `rule_protocol`, protodesc_set_rule_real_bottom `rule_bottom_protocol`.
void protodesc_set_rule(protodesc_build_t *pb, uint32_t n_rule, uint32_t rule_id,
                        uint32_t rule_sub_id);
void protodesc_set_rule_scope(protodesc_build_t *pb, uint32_t n_rule, uint32_t scope);
void protodesc_set_rule_vid(protodesc_build_t *pb, uint32_t n_rule, uint32_t vid);
void protodesc_set_rule_order(protodesc_build_t *pb, uint32_t n_rule, uint32_t order);
void protodesc_set_rule_ruleorder(protodesc_build_t *pb, uint32_t n_rule, csa_bool_t ruleorder);
void protodesc_set_rule_preempt(protodesc_build_t *pb, uint32_t n_rule, csa_bool_t preempt);
void protodesc_set_rule_fastpass(protodesc_build_t *pb, uint32_t n_rule, csa_bool_t fastpass);
void protodesc_set_cts_mindata(protodesc_build_t *pb, uint32_t n_rule, uint32_t mindata);
void protodesc_set_stc_mindata(protodesc_build_t *pb, uint32_t n_rule, uint32_t mindata);
void protodesc_set_mindata(protodesc_build_t *pb, uint32_t n_rule, uint32_t mindata);
void protodesc_set_rule_bottom(protodesc_build_t *pb, uint32_t n_rule, csa_str_t protocol);
void protodesc_set_rule_real_bottom(protodesc_build_t *pb, uint32_t n_rule, csa_str_t protocol);

/// Append to a list of the protocol or of a slot. A full list gives PDATA_ERR_OVERFLOW with a
/// message that names the capacity; what was stored stays.
[[nodiscard]] pdata_status_t protodesc_add_tag(protodesc_build_t *pb, csa_str_t tag_name,
                                               csa_str_t tag_val);
[[nodiscard]] pdata_status_t protodesc_add_description(protodesc_build_t *pb, csa_str_t lang,
                                                       csa_str_t desc);
[[nodiscard]] pdata_status_t protodesc_add_compat(protodesc_build_t *pb, csa_str_t compat);
[[nodiscard]] pdata_status_t protodesc_add_altname(protodesc_build_t *pb, csa_str_t altname);
[[nodiscard]] pdata_status_t protodesc_add_rule_path_elt(protodesc_build_t *pb, uint32_t n_rule,
                                                         csa_str_t path);
[[nodiscard]] pdata_status_t protodesc_add_rule_tag(protodesc_build_t *pb, uint32_t n_rule,
                                                    csa_str_t tag);

/// Sets the element of the version that `type` names: "major", "minor" or "revision". Any other
/// word gives PDATA_ERR_JSON_BAD_SEMANTIC without a message.
[[nodiscard]] pdata_status_t protodesc_add_version(protodesc_build_t *pb, csa_str_t type,
                                                   uint32_t value);

/// Says a remark and notes it.
void protodesc_remark(protodesc_build_t *pb, const protodesc_remark_t &remark);

/// Finds or adds an attribute of a slot by its written name and gives its index.
///
/// A prefix "cts-" or "stc-" in front of at least one more byte (oddity O94) gives the direction
/// and is dropped; a name without one is for both. The direction is held against the one that the
/// attribute of the slot's protocol allows: a written direction that differs fails, no written
/// direction becomes the allowed one with a warning on standard error.
///
/// Fails with PDATA_ERR_PROTODESC_ATTR for an unknown attribute or a wrong direction, with
/// PDATA_ERR_OVERFLOW when the slot is full; each with a message.
[[nodiscard]] pdata_status_t protodesc_add_attr_name(protodesc_build_t *pb, csa_str_t attr_name,
                                                     uint32_t n_rule, uint32_t *n_attr);

/// The same for a name whose direction, type and transport are known; only a full slot fails.
[[nodiscard]] pdata_status_t
protodesc_add_attr_name_parsed(protodesc_build_t *pb, csa_str_t attr_name, csa_attr_way_t attr_way,
                               matcher_type_t attr_type, attr_proto_t attr_proto, uint32_t n_rule,
                               uint32_t *n_attr);

/// Returns the index of the attribute of that name and direction among the first `nr_attr` of a
/// slot, or `nr_attr`.
uint32_t protodesc_find_attr_name(const protodesc_build_t &pb, uint32_t n_rule, csa_str_t attr_name,
                                  csa_attr_way_t way, uint32_t nr_attr);

/// Puts a value into the first free value slot of an attribute. A full attribute gives
/// PDATA_ERR_OVERFLOW with a message. The second form stores the value's pattern offset as well.
/// Callers may leave the value out; the message is a remark.
[[nodiscard]] pdata_status_t protodesc_add_attr_val(protodesc_build_t *pb, uint32_t n_rule,
                                                    csa_str_t attr_val, uint32_t n_attr);
[[nodiscard]] pdata_status_t protodesc_add_attr_val_with_offset(protodesc_build_t *pb,
                                                                uint32_t n_rule, csa_str_t attr_val,
                                                                uint32_t offset, uint32_t n_attr);

/// A name and one value at once; a name that cannot be added prints a line on standard error. The
/// second form stores a pattern offset unless it is 0.
[[nodiscard]] pdata_status_t protodesc_add_rule_attr(protodesc_build_t *pb, uint32_t n_rule,
                                                     csa_str_t attr_name, csa_str_t attr_val);
[[nodiscard]] pdata_status_t
protodesc_add_rule_attr_parsed(protodesc_build_t *pb, uint32_t n_rule, csa_str_t attr_name,
                               csa_attr_way_t attr_way, matcher_type_t attr_type,
                               attr_proto_t attr_proto, csa_str_t attr_val, uint32_t attr_offset);

/// Returns the number of rules: the runs of equal ids among the slots in use.
uint32_t protodesc_get_nr_rule(const protodesc_build_t &pb);

/// Returns how many slots from `start` on bear `rule_id`, looking at every slot of the record.
uint32_t protocol_get_nr_sub_rule(const protodesc_build_t &pb, uint32_t start, uint32_t rule_id);
