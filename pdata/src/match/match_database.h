/// An open database: the pdb where it lies, and the small indexes beside it.
///
/// Nothing of the engines is copied. What is made at opening is what the format leaves to the
/// reader: which matchers an attribute leads to, what each second-level entry stands for, who
/// admits whom, and the compiled second checks.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include "match_expression.h"
#include "match_jump.h"
#include "match_roles.h"
#include "pdata.h"
#include "pdb_view.h"

/// The pieces of one permutation: consecutive entries, in the order in which they must stand.
struct match_group_t {
    uint32_t item = 0;
    uint32_t nr_piece = 0;
};

/// A value that is matched as a whole.
struct match_check_t {
    uint32_t item = 0;
    uint32_t expression = 0; ///< index among those of the matcher; MATCH_NO_EXPRESSION for none
    uint32_t value = 0;      ///< its text: offset in the matcher's strings
};
constexpr uint32_t MATCH_NO_EXPRESSION = UINT32_MAX;

/// Where an automaton stays near its start: two tables of a byte each, of what a byte may begin and
/// what it may go on with, in eight buckets. Data at whose bytes a and b the entries have no bucket
/// in common leads on b from behind a as from the start state itself, and ends no pattern at a.
constexpr uint32_t MATCH_SKIP_TABLE = 256;

/// One matcher with its indexes.
struct match_matcher_t {
    view_matcher_t view;
    std::vector<uint32_t> roles; ///< by private index
    std::vector<match_group_t> groups;
    std::vector<match_check_t> checks;
    std::vector<match_expression_t> expressions;
    std::vector<uint32_t> always; ///< checks that are tried on all data
    match_jump_t suffix_jump;
    std::vector<uint8_t> skips; ///< of the automaton, see MATCH_SKIP_TABLE
    pdata_kind kind = PDATA_BYTES;
    bool forwards = false;       ///< it has an engine that goes from the front
    bool is_suffix_tree = false; ///< without anything else, pieces or second checks
};

/// Returns the automaton of a stream matcher, which has a plain or an offset-aware one; without
/// rows where it has neither.
inline const view_aho_corasick_t &match_automaton(const view_pattern_t &pattern)
{
    return pattern.ahoff_corasick.rows.nr_row != 0 ? pattern.ahoff_corasick : pattern.aho_corasick;
}

/// What a state of an automaton stands for: a prefix of patterns.
struct match_prefix_t {
    uint16_t length = 0; ///< bytes, fewer than states
    uint16_t behind = 0; ///< state of the longest other prefix that it ends with
};

/// What tells where the patterns of a matcher begin.
struct match_begins_t {
    std::vector<match_prefix_t> prefixes; ///< by state of the automaton
    std::vector<uint16_t> dots;           ///< by node of the dot-prefix matcher: the place itself
};

/// An attribute under which values are handed over.
struct match_attribute_t {
    std::string_view protocol;
    std::string_view name;
    uint32_t way = 0;
    uint32_t scope = 0;            ///< bits of scopes that admit its protocol
    pdata_protocol number = 0;     ///< of its protocol
    pdata_kind kind = PDATA_BYTES; ///< of its first matcher
    uint32_t first = 0;            ///< of its matchers in `leads`
    uint32_t nr = 0;
    const match_matcher_t *suffix_tree = nullptr; ///< the only matcher, if it is one
};

/// Marks of the words of match_rule_t.
constexpr uint32_t MATCH_RULE_MARK = 0x80000000;

/// One rule, beside what its slots say.
struct match_rule_t {
    /// Protocols of the real bottoms, 0 for none; marked where no item of the rule tests it.
    uint32_t real_bottom[PDATA_BOTTOM_MAX] = {};
    uint32_t first_item = 0; ///< 0 for a rule without items; marked when the rule is a preempt
};

/// The bytes of a database.
struct match_bytes_t {
    std::span<const uint8_t> bytes;
    std::vector<uint8_t> copy; ///< PDATA_OPEN_COPY
    void *map = nullptr;       ///< a mapping of bytes.size() bytes

    match_bytes_t() = default;
    match_bytes_t(const match_bytes_t &) = delete;
    match_bytes_t &operator=(const match_bytes_t &) = delete;
    ~match_bytes_t();
};

struct pdata_db {
    match_bytes_t bytes;
    pdb_view_t view;
    std::vector<match_matcher_t> matchers;      ///< in the order of the file
    std::vector<match_attribute_t> attributes;  ///< by protocol, name and direction
    std::vector<const match_matcher_t *> leads; ///< matchers that attributes lead to
    std::vector<std::string_view> protocols;    ///< by number - 1, in byte order
    /// Cells of the protocol map that are used, in their order, and their protocols.
    std::vector<std::pair<uint32_t, pdata_protocol>> cells;
    std::vector<match_rule_t> rules; ///< by rule id - 1
    uint32_t nr_complete = 0;        ///< most rules that a flow can complete
    uint32_t nr_progress = 0;        ///< most groups and checks of a matcher
    uint32_t nr_node = 0;            ///< most nodes of a dot-prefix matcher
    std::once_flag owners_made;
    std::vector<uint32_t> owners; ///< by item: the first matcher that has it
    std::once_flag begins_made;
    std::vector<match_begins_t> begins; ///< by matcher; made for the first flow that explains
    std::atomic<uint32_t> holds{1};
};

/// Makes the indexes of the matchers of an open view. Returns false with `error` for a damaged one;
/// std::bad_alloc passes.
[[nodiscard]] bool match_index_matchers(pdata_db &db, view_error_t &error);

/// Makes the roles, groups and checks of a stream matcher. std::bad_alloc passes.
void match_index_second_level(match_matcher_t &matcher);

/// Makes the tables of protocols and rules, once the matchers are there. Returns false with `error`
/// where the items of a rule say different things of it; std::bad_alloc passes.
[[nodiscard]] bool match_index_rules(pdata_db &db, view_error_t &error);

/// Marks the rules that the descriptions call preempts, once the rules are there. Descriptions that
/// do not fit the rules mark none. std::bad_alloc passes.
void match_mark_preempts(pdata_db &db);

/// Makes the table of attributes, once the rules are there. std::bad_alloc passes.
void match_index_attributes(pdata_db &db);

/// Marks the items in the tables of suffix trees that their rules admit whoever hands the data
/// over, once the attributes are there. std::bad_alloc passes.
void match_mark_admitted(pdata_db &db);

/// Gives the public items that a matcher can find, many of them several times. std::bad_alloc
/// passes.
std::vector<uint32_t> match_items_of(const match_matcher_t &matcher);

/// Gives, for every item, the index of the first matcher that has it, or UINT32_MAX.
std::vector<uint32_t> match_item_owners(const pdata_db &db);

/// Tells of every matcher where its patterns begin, in linear time. std::bad_alloc passes.
std::vector<match_begins_t> match_make_begins(const pdata_db &db);

/// Returns where a pattern begins that an automaton found at `state` to end at `end`: of several of
/// one id, the shortest.
[[nodiscard]] uint32_t match_begin_of(const match_begins_t &begins,
                                      const view_aho_corasick_t &engine, uint32_t state,
                                      uint32_t id, uint32_t end);

/// Returns the place of a matcher among those of its database.
inline uint32_t match_number_of(const pdata_db &db, const match_matcher_t &matcher)
{
    return static_cast<uint32_t>(&matcher - db.matchers.data());
}

/// Returns the number of a protocol by its name, 0 for none.
[[nodiscard]] pdata_protocol match_find_protocol(const pdata_db &db, std::string_view name);

/// Returns the protocol of a cell of the protocol map, 0 for one that is not used.
[[nodiscard]] pdata_protocol match_protocol_of(const pdata_db &db, uint32_t cell);

/// Returns the scope bits that admit a protocol: its own, if it is a scope word, and "all".
[[nodiscard]] uint32_t match_scope_of(std::string_view protocol);

/// Tells whether the rule of a slot that has one admits data that was handed over for an attribute.
inline bool match_admits(const pdata_db &db, const match_attribute_t &attribute,
                         const view_slot_t &slot)
{
    if ((slot.scope & attribute.scope) != 0)
        return true;
    for (const uint32_t bottom : db.rules[slot.rule_id - 1].real_bottom)
        if (attribute.number != 0 && (bottom & ~MATCH_RULE_MARK) == attribute.number)
            return true;
    return false;
}

/// Tells whether an item is the only one of its rule.
inline bool match_is_only(const view_slot_t &slot)
{
    return slot.bitset_full == 1 && slot.bitset_pos == 0;
}

/// Returns the bytes of the indexes, and those of the compiled checks.
[[nodiscard]] size_t match_index_bytes(const pdata_db &db);
[[nodiscard]] size_t match_check_bytes(const pdata_db &db);
