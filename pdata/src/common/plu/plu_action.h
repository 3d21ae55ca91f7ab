/// Pending actions of an update: what is to be done to which protocol.
///
/// Actions lie in 128 buckets by the low bits of the protocol id, newest first within a bucket.
/// That order decides in which order new protocols are created. Beside it stands an index by id,
/// oldest first, so that neither a look-up nor a protocol of the base walks a bucket.
///
/// A bucket is meant as an array that is filled towards its front, with a gap before and behind
/// the entries. A deque holds the entries here; the positions of the array are still kept, since
/// they decide when the array would grow and thereby how many actions a bucket takes: 109,226.
/// Any further one is dropped without a word. Oddity O115.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <span>
#include <unordered_map>
#include <vector>

#include "hstring.h"
#include "protodesc_deserializer.h"

enum action_type_t : uint32_t {
    ACTION_ADD = 0,       ///< a protocol that the base lacks
    ACTION_DEL_RULES = 1, ///< drop all rules of a protocol
    ACTION_UPDATE = 2,    ///< merge into a protocol of the base
};

constexpr uint32_t ACTION_TYPE_NR = 3;

/// One pending action. The view and the tables point into the incoming pdb.
struct action {
    action_type_t a_type = ACTION_ADD;
    uint32_t a_protoid = 0;
    protodesc_t a_proto{};    ///< the incoming description, none for ACTION_DEL_RULES
    hstring_t a_pg_hstring;   ///< strings of its group
    hstring_t a_root_hstring; ///< strings of its rule tags; null: the tags are left out
};

/// One bucket. The entries stand for the array positions `idx_hf` + 1 to `idx_tf` - 1.
struct taq_action_list_t {
    std::deque<action> data; ///< newest first
    uint32_t idx_hf = 1;     ///< free position before the first entry
    uint32_t idx_tf = 2;     ///< free position behind the last entry
    uint32_t len = 5;        ///< positions of the array
};

constexpr uint32_t PLU_NR_BUCKETS = 128;

/// The array of a bucket is doubled while it has fewer positions.
constexpr uint32_t PLU_BUCKET_LEN_LIMIT = 0x1FFFF;

/// The actions of one id. The pointers are to entries of its bucket.
struct plu_id_actions_t {
    std::vector<const action *> actions; ///< oldest first
    std::array<const action *, ACTION_TYPE_NR> newest{};
};

struct plu_action_table_t {
    std::array<taq_action_list_t, PLU_NR_BUCKETS> action_list;
    std::unordered_map<uint32_t, plu_id_actions_t> by_id;
};

/// Returns the bucket of an id.
constexpr uint32_t hashkey(uint32_t protoid)
{
    return protoid & (PLU_NR_BUCKETS - 1);
}

/// Makes the table empty.
void plu_init_action_table(plu_action_table_t *table);

/// Puts an action in front of its bucket. A bucket that is full drops the action silently. Memory
/// that runs out is std::bad_alloc, with the table as it was.
void plu_insert_action(plu_action_table_t *table, const action &entry);

/// Returns the newest action of that type for an id, or null.
const action *plu_lookup_action_by_type(const plu_action_table_t &table, uint32_t protoid,
                                        action_type_t type);

/// Returns the actions for an id, oldest first. They stay valid until the next insertion.
std::span<const action *const> plu_lookup_action_list(const plu_action_table_t &table,
                                                      uint32_t protoid);

/// Frees every action.
void plu_delete_action_table(plu_action_table_t *table);
