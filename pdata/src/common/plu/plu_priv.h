/// The private state of an update, and its steps.
#pragma once

#include <deque>
#include <span>
#include <unordered_map>

#include "csa_buf.h"
#include "plu.h"
#include "plu_action.h"
#include "plu_duplicate.h"
#include "plu_group.h"
#include "plu_updates.h"
#include "protodesc.h"

/// One serialized protocol: the value of its record.
struct seria_proto {
    csa_buf_t proto_tlv;
};

/// Serialized protocols, newest first.
using seria_proto_list_t = std::deque<seria_proto>;

/// The protocol group that is being rebuilt.
struct pdata_update_pg_t {
    hstring_build_t pg_hstring;          ///< the new group's strings, in the order of serialization
    hstring_build_t ruletag_hstring;     ///< the strings of rule tags, at their stored offsets
    bool ruletag_hstring_is_set = false; ///< a stored table was built in
    plu_action_table_t action_table;
    seria_proto_list_t pg_seria_protos;
};

/// Bit of `ci_finalized`.
constexpr uint8_t PLU_FINALIZED = 1;

struct pdata_commit_priv {
    uint8_t ci_finalized = 0; ///< PLU_FINALIZED once committed
    pdata_update_pg_t ci_pg;
    size_t ci_proto_size = 0;        ///< bytes of the serialized protocols, with their headers
    hstring_t ci_root_hstring;       ///< strings of the base's rule tags
    uint32_t ci_nr_rules = 0;        ///< rules that the commit copied
    std::span<const uint8_t> groups; ///< the base's protocol groups
    plu_base_t base;                 ///< the base as the look-ups see it
    plu_rule_index_t known;          ///< rules of the protocol at hand, while one is updated
    std::unordered_map<uint32_t, plu_updates_t> updates; ///< per id, once one of the base has it
};

/// The namespace that protocols may be added to.
constexpr uint32_t PLU_USER_NAMESPACE = 1;

/// The headers around the protocols of a result: root, group, list, strings.
constexpr size_t PLU_FIXED_SIZE = 4 * 4;

/// What an id look-up was asked and what it found.
struct check_proto_t {
    bool enable = false;  ///< the description of the base is wanted
    bool in_base = false; ///< it was found there and stands in `proto`
    protodesc_t proto{};
};

/// Tells whether the base or a pending addition has an id.
[[nodiscard]] pdata_status_t pdata_update_has_id(pdata_commit_priv *priv, uint32_t protoid,
                                                 bool *found, check_proto_t *check);

/// Builds a stored string table into that of the rule tags, which keeps its offsets. An empty one
/// adds nothing.
[[nodiscard]] pdata_status_t plu_load_ruletags(pdata_update_pg_t *pg, const hstring_t &root);

/// Applies the pending actions to the base's groups.
[[nodiscard]] pdata_status_t plu_commit_groups(pdata_commit_priv *priv);

/// Applies the actions of the protocol that was just copied into `pb`, oldest first.
[[nodiscard]] pdata_status_t process_pending_actions(pdata_commit_priv *priv, uint32_t protoid,
                                                     protodesc_build_t *pb);

/// Serializes the record and puts the result in front of the others. PDATA_ERR_OVERFLOW, with the
/// message of a record that is too long, once all of them together are.
[[nodiscard]] pdata_status_t pdata_update_proto_serialize(pdata_commit_priv *priv,
                                                          const protodesc_build_t &pb);
