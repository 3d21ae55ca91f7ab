/// Read views of stored protocol descriptions.
///
/// A view is made from the bytes of a record and points into them: the stored words stay as they
/// are, big-endian, and are converted when a value is asked for. Making a view checks every length
/// that its accessors will rely on, so a damaged description yields a status and a message, never
/// a wild read. The bytes must outlive the view.
///
/// Strings are stored as offsets into a string table, which every accessor of a string is given:
/// the group's table for names, paths, attribute names and values, the table of the tag names for
/// rule tags. An offset that the table refuses is PDATA_ERR_ENGINE. All other failures are
/// PDATA_ERR_INVALID_ARGUMENT with a message, unless stated.
#pragma once

#include <cstdint>
#include <span>

#include "csa_str.h"
#include "csa_types.h"
#include "hstring.h"
#include "matcher_type.h"
#include "pdata_error.h"
#include "protodesc_tlv.h"

/// A stored protocol. Strings are table offsets; the pointers are to stored words, null while the
/// list is empty or missing.
struct protodesc_t {
    uint32_t proto_id;
    uint32_t proto_name;
    uint32_t proto_default_port;
    uint32_t proto_max_trans;
    uint32_t proto_cacheable;
    uint32_t proto_http_reclassify;
    uint32_t proto_version_major;
    uint32_t proto_version_minor;
    uint32_t proto_version_revision;
    uint32_t proto_implicit_bottom_layer;
    const uint8_t *proto_tags; ///< per tag: category, value
    uint32_t proto_nr_tags;
    const uint8_t *proto_desc; ///< per description: language, text
    uint32_t proto_nr_desc;
    const uint8_t *proto_compat;
    uint32_t proto_nr_compat;
    const uint8_t *proto_supported_version;
    uint32_t proto_nr_supported_version;
    const uint8_t *proto_altname;
    uint32_t proto_nr_altname;
    const uint8_t *proto_rules_offset; ///< per rule: word offset within `proto_rules`
    const uint8_t *proto_rules;
    uint32_t proto_nr_rules;
    uint32_t proto_rules_len; ///< words at `proto_rules`
};

/// A stored rule. Fields that an older form of its meta lacks read as 0; a form without a version
/// identifier reads as `rule_vid` 0, the fifth form as RULE_VID_NONE. Oddity O101.
struct ruledesc_t {
    const uint8_t *rule_path; ///< words: protocol names
    const uint8_t *rule_tags; ///< words: tag names
    const uint8_t *rule_srules;
    const uint8_t *rule_srules_offset;
    uint32_t rule_nr_path;
    uint32_t rule_nr_tags;
    uint32_t rule_nr_srules;
    uint32_t rule_srules_len;  ///< words at `rule_srules`
    uint8_t rule_ruleorder;    ///< the rule's order is significant
    uint8_t rule_meta_version; ///< 1 to 6: the form of the meta that was read
    uint32_t rule_order;       ///< the priority word
    uint32_t rule_params;      ///< the reserved word of the meta, 0 in everything written here
    uint32_t rule_fastpass;
    uint32_t rule_scope;
    uint32_t rule_preempt;
    uint32_t rule_vid;
};

/// A stored sub-rule.
struct sub_ruledesc_t {
    uint32_t srule_protocol;        ///< string: the bottom protocol
    uint32_t srule_bottom_protocol; ///< string: the real bottom protocol
    uint32_t srule_stc_mindata;
    uint32_t srule_cts_mindata;
    const uint8_t *srule_attrs;
    const uint8_t *srule_attrs_offset;
    uint32_t srule_nr_attrs;
    uint32_t srule_attrs_len; ///< words at `srule_attrs`
};

/// A stored attribute.
struct attrdesc_t {
    uint32_t attr_way_proto;   ///< as stored
    uint32_t attr_type;        ///< tlv_proto_attr_type_t
    const uint8_t *attr_start; ///< words: one string per value
    uint32_t attr_name;        ///< string
    uint32_t attr_nr_values;
    const uint8_t *attr_offset; ///< words: one pattern offset per value; null for none
};

/// Reads the description of `buf`, of which whole words count, into a view. The records of the
/// top level may stand in any order.
///
/// Fails on a record that does not end within `buf`, on a meta, tag, description or rule list of
/// an impossible length, and with PDATA_ERR_TLV_NOT_FOUND on a record of a type outside 1 to 8.
[[nodiscard]] pdata_status_t protodesc_deserialize(protodesc_t *protodesc,
                                                   std::span<const uint8_t> buf);

/// The meta of a protocol.
[[nodiscard]] pdata_status_t protodesc_get_name(const protodesc_t &protodesc,
                                                const hstring_t &hstring, csa_str_t *name);
[[nodiscard]] pdata_status_t protodesc_get_default_port(const protodesc_t &protodesc,
                                                        const hstring_t &hstring, csa_str_t *port);
uint32_t protodesc_get_id(const protodesc_t &protodesc);

/// Returns the namespace of the protocol's id, 0 to 3; namespace 1 is the user namespace.
uint32_t protodesc_get_ns(const protodesc_t &protodesc);
uint32_t protodesc_get_max_trans(const protodesc_t &protodesc);
uint32_t protodesc_get_cacheable(const protodesc_t &protodesc);
uint32_t protodesc_get_http_reclassify(const protodesc_t &protodesc);
uint32_t protodesc_get_implicit_bottom_layer(const protodesc_t &protodesc);
uint32_t protodesc_get_version_major(const protodesc_t &protodesc);
uint32_t protodesc_get_version_minor(const protodesc_t &protodesc);
uint32_t protodesc_get_version_revision(const protodesc_t &protodesc);

/// The lists of a protocol: their counts, and their entries by index from 0.
uint32_t protodesc_get_tag_nr(const protodesc_t &protodesc);
[[nodiscard]] pdata_status_t protodesc_get_tag(const protodesc_t &protodesc, uint32_t index,
                                               const hstring_t &hstring, csa_str_t *name,
                                               csa_str_t *value);
uint32_t protodesc_get_desc_nr(const protodesc_t &protodesc);
[[nodiscard]] pdata_status_t protodesc_get_desc(const protodesc_t &protodesc, uint32_t index,
                                                const hstring_t &hstring, csa_str_t *lang,
                                                csa_str_t *text);
uint32_t protodesc_get_compat_nr(const protodesc_t &protodesc);
[[nodiscard]] pdata_status_t protodesc_get_compat(const protodesc_t &protodesc, uint32_t index,
                                                  const hstring_t &hstring, csa_str_t *compat);
uint32_t protodesc_get_supported_version_nr(const protodesc_t &protodesc);
[[nodiscard]] pdata_status_t protodesc_get_supported_version(const protodesc_t &protodesc,
                                                             uint32_t index,
                                                             const hstring_t &hstring,
                                                             csa_str_t *version);
uint32_t protodesc_get_altname_nr(const protodesc_t &protodesc);
[[nodiscard]] pdata_status_t protodesc_get_altname(const protodesc_t &protodesc, uint32_t index,
                                                   const hstring_t &hstring, csa_str_t *altname);
uint32_t protodesc_get_ruledesc_nr(const protodesc_t &protodesc);

/// Makes the view of a rule. Fails as well when its counts claim more words than it holds.
[[nodiscard]] pdata_status_t protodesc_get_ruledesc(const protodesc_t &protodesc, uint32_t index,
                                                    ruledesc_t *ruledesc);

/// The meta of a rule.
uint32_t ruledesc_get_order(const ruledesc_t &ruledesc);
uint32_t ruledesc_get_rule_params(const ruledesc_t &ruledesc);
uint32_t ruledesc_get_scope(const ruledesc_t &ruledesc);
uint32_t ruledesc_get_fastpass(const ruledesc_t &ruledesc);
uint32_t ruledesc_get_preempt(const ruledesc_t &ruledesc);
uint32_t ruledesc_get_path_nr(const ruledesc_t &ruledesc);
[[nodiscard]] pdata_status_t ruledesc_get_path_elt(const ruledesc_t &ruledesc, uint32_t index,
                                                   const hstring_t &hstring, csa_str_t *path);
uint32_t ruledesc_get_tag_nr(const ruledesc_t &ruledesc);
[[nodiscard]] pdata_status_t ruledesc_get_tag(const ruledesc_t &ruledesc, uint32_t index,
                                              const hstring_t &hstring, csa_str_t *tag);
uint32_t ruledesc_get_sub_ruledesc_nr(const ruledesc_t &ruledesc);

/// Makes the view of a sub-rule.
[[nodiscard]] pdata_status_t ruledesc_get_sub_ruledesc(const ruledesc_t &ruledesc, uint32_t index,
                                                       sub_ruledesc_t *sub_ruledesc);

/// The meta of a sub-rule.
[[nodiscard]] pdata_status_t sub_ruledesc_get_protocol(const sub_ruledesc_t &sub_ruledesc,
                                                       const hstring_t &hstring,
                                                       csa_str_t *protocol);
[[nodiscard]] pdata_status_t sub_ruledesc_get_bottom_protocol(const sub_ruledesc_t &sub_ruledesc,
                                                              const hstring_t &hstring,
                                                              csa_str_t *protocol);
uint32_t sub_ruledesc_get_stc_mindata(const sub_ruledesc_t &sub_ruledesc);
uint32_t sub_ruledesc_get_cts_mindata(const sub_ruledesc_t &sub_ruledesc);

/// Gives the minimum data of one direction: that from the client for ATTR_WAY_CTS, that from the
/// server for any other.
uint32_t sub_ruledesc_get_mindata(const sub_ruledesc_t &sub_ruledesc, uint32_t way);

uint32_t sub_ruledesc_get_attrdesc_nr(const sub_ruledesc_t &sub_ruledesc);

/// Makes the view of an attribute.
[[nodiscard]] pdata_status_t sub_ruledesc_get_attrdesc(const sub_ruledesc_t &sub_ruledesc,
                                                       uint32_t index, attrdesc_t *attrdesc);

/// The parts of an attribute. The matcher type is that of memory, MATCHER_TYPE_STREAM for both
/// stored forms of a stream. A way outside the three fails with PDATA_ERR_PROTODESC_ATTR.
[[nodiscard]] pdata_status_t attrdesc_get_name(const attrdesc_t &attrdesc, const hstring_t &hstring,
                                               csa_str_t *name);
uint32_t attrdesc_get_value_nr(const attrdesc_t &attrdesc);
[[nodiscard]] pdata_status_t attrdesc_get_value(const attrdesc_t &attrdesc, uint32_t index,
                                                const hstring_t &hstring, csa_str_t *value);
matcher_type_t attrdesc_get_type(const attrdesc_t &attrdesc);
[[nodiscard]] pdata_status_t attrdesc_get_way(const attrdesc_t &attrdesc, csa_attr_way_t *way);
attr_proto_t attrdesc_get_proto(const attrdesc_t &attrdesc);

/// Returns the pattern offset of a value, 0 for none or for an index out of bounds.
uint32_t attrdesc_get_pattern_offset(const attrdesc_t &attrdesc, uint32_t index);
