/// The protocol builder: from the JSON text of one protocol to a protocol record.
///
/// The text is parsed, checked against the semantic rules of protocols, walked into a container,
/// and the container is converted into a record. A failure is recorded with its message at the
/// place that finds it (oddity O35): PDATA_ERR_PRAGMAR for a text that does not parse,
/// PDATA_ERR_JSON_BAD_SEMANTIC for one that says something it may not, PDATA_ERR_OVERFLOW for an
/// exhausted dimension, PDATA_ERR_PROTODESC_ATTR for an attribute that nobody knows.
#pragma once

#include <cstdint>
#include <string_view>

#include "container_protocol.h"
#include "pdata_cfg.h"
#include "pragmar.h"
#include "protodesc.h"

/// What is kept between the protocols of a description: the rule machine is built once, and tree
/// and container keep their memory.
struct protodesc_json_t {
    const pdata_cfg_t *cfg = nullptr; ///< may be null: nothing is checked; not owned
    uint32_t proto_sem_type = 0;      ///< kind of the semantic rules that protocols follow
    pragmar_rules_t rules;            ///< loaded when first needed
    json_t parsed;                    ///< the protocol at hand
    protocol_t protocol;
};

/// Reports count lines from the start of `json_text`. Oddity O65.
///
/// Builds `pb`, which is reset first, from the protocol object that `json_text` starts with, and
/// gives the bytes of text that it took, with the whitespace behind it. The record's strings point
/// into the text, or live until string_list_clean where they are written with escapes.
[[nodiscard]] pdata_status_t json_to_protodesc(protodesc_json_t *json, std::string_view json_text,
                                               uint32_t *text_consumed_len, protodesc_build_t *pb);

/// Refuses a sub-rule that has several protocols and attributes.
[[nodiscard]] pdata_status_t vprotocol_bottom_subrule_check(const protocol_t &protocol);

/// Splits every rule with a sub-rule of several protocols: the rule keeps the first of them, and
/// a copy of it for each further one is appended behind all rules. Only the first such sub-rule
/// of a rule is split. Oddity O89.
[[nodiscard]] pdata_status_t vprotocol_bottom_subrule_split(protocol_t *protocol);

/// Converts a container into a record, which must have been reset.
[[nodiscard]] pdata_status_t vprotocol_to_protodesc(const protocol_t &protocol,
                                                    protodesc_build_t *pb);

/// Adds the first `nr_attr` attribute entries of a sub-rule to slot `n_rule`. Consecutive entries
/// of one key are values of one attribute.
[[nodiscard]] pdata_status_t vattrs_to_protodesc_attrs(protodesc_build_t *pb, uint32_t n_rule,
                                                       uint32_t nr_attr,
                                                       const protocol_attr_t *vattrs);

/// Adds the bit of the first scope word that begins with `scope` (oddity O85). Returns
/// PDATA_SUCCESS, or PDATA_ERR_INVALID_ARGUMENT without a message when no word does.
[[nodiscard]] pdata_status_t process_scop_field(ruledesc_build_t *rule, csa_str_t scope);

/// Returns the id of the built-in protocol of that name, 0 for an unknown one (oddity O96) or when
/// memory runs out. The name ends at its first 0 byte.
uint32_t get_protocol_id_from_name(const char *name, uint32_t len);
