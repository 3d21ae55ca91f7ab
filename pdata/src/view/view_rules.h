/// The rules section of a loadable pdb: what each item and each rule stands for.
///
/// Rule ids count from 1. Opening checks records, lengths and counts; after view_rules_check, no
/// accessor leaves the file for a rule id from 1 to `nr_rule`. An item id of a matcher may lie
/// behind the last slot: no rule owns it (view_rules_slot says so).
#pragma once

#include <string_view>

#include "format_loadable.h"
#include "format_values.h"
#include "view_pool.h"

/// A view of the section; the file must outlive it.
struct view_rules_t {
    uint32_t nr_rule = 0;
    uint32_t nr_slot = 0;     ///< one more than the largest item id that a rule owns
    view_area_t paths;        ///< PDB_PROTOCOL_MAP_PATH cells per rule: protocol names
    view_area_t bottoms;      ///< PDB_PROTOCOL_MAP_BOTTOMS cells per rule
    view_area_t real_bottoms; ///< the same
    view_area_t vids;         ///< a version identifier per rule; none where no rule has one
    view_area_t tag_starts;   ///< per rule the index of its list in `tag_lists`, in words
    view_area_t tag_lists;    ///< lists: a count, and as many tags
    view_area_t slots;        ///< RULE_SLOT_WORDS words per item id
    view_pool_t names;
};

/// What the rule engine knows of an item.
struct view_slot_t {
    uint32_t rule_id = 0; ///< from 1; 0 for an item that no rule owns
    uint32_t flags = 0;   ///< the top four bits of the stored id
    uint32_t priority = 0;
    uint32_t scope = 0;
    uint32_t bitset_full = 0; ///< one bit per item of the rule
    uint32_t bitset_pos = 0;  ///< bit of this item, below RULE_MAX_ITEM
    bool referer = false;     ///< one of several items of the rule is a referer
};

/// Opens the value of a rules record.
[[nodiscard]] bool view_rules_open(const view_area_t &area, view_rules_t &view,
                                   view_error_t &error);

/// Checks every name, tag list and slot. Linear time; memory of 1 bit for 2 bytes of names.
[[nodiscard]] bool view_rules_check(const view_rules_t &view, view_error_t &error);

/// Returns cell `cell` of a rule in `table`, which has `width` cells per rule: the offset of a
/// name, or PDB_PROTOCOL_MAP_EMPTY.
inline uint32_t view_rules_cell(const view_area_t &table, uint32_t width, uint32_t rule_id,
                                uint32_t cell)
{
    return view_word(table, (size_t{rule_id} - 1) * width + cell);
}

/// Returns the name in a cell; empty for an empty cell.
inline std::string_view view_rules_name(const view_rules_t &view, uint32_t cell)
{
    std::string_view name;
    if (cell != PDB_PROTOCOL_MAP_EMPTY)
        (void)view_pool_get(view.names, cell, name);
    return name;
}

/// Returns name `cell` of the protocol path of a rule; the protocol that is classified comes last.
inline std::string_view view_rules_path(const view_rules_t &view, uint32_t rule_id, uint32_t cell)
{
    return view_rules_name(view, view_rules_cell(view.paths, PDB_PROTOCOL_MAP_PATH, rule_id, cell));
}

/// Returns bottom protocol `cell` of a rule; of sub-rule 1, if there is one, then of sub-rule 0.
inline std::string_view view_rules_bottom(const view_rules_t &view, uint32_t rule_id, uint32_t cell)
{
    return view_rules_name(view,
                           view_rules_cell(view.bottoms, PDB_PROTOCOL_MAP_BOTTOMS, rule_id, cell));
}

/// The same for the real bottom protocols.
inline std::string_view view_rules_real_bottom(const view_rules_t &view, uint32_t rule_id,
                                               uint32_t cell)
{
    return view_rules_name(
        view, view_rules_cell(view.real_bottoms, PDB_PROTOCOL_MAP_BOTTOMS, rule_id, cell));
}

/// Returns the version identifier of a rule; RULE_VID_NONE for none.
inline uint32_t view_rules_vid(const view_rules_t &view, uint32_t rule_id)
{
    return view.vids.size == 0 ? RULE_VID_NONE : view_word(view.vids, size_t{rule_id} - 1);
}

/// Returns the tags of a rule, a word each.
inline view_area_t view_rules_tags(const view_rules_t &view, uint32_t rule_id)
{
    const uint32_t start = view_word(view.tag_starts, size_t{rule_id} - 1);
    return view_part(view.tag_lists, (size_t{start} + 1) * 4,
                     size_t{view_word(view.tag_lists, start)} * 4);
}

/// Returns what is known of any item id; a slot without a rule for one that no rule owns.
inline view_slot_t view_rules_slot(const view_rules_t &view, uint32_t item_id)
{
    view_slot_t slot;
    if (item_id >= view.nr_slot)
        return slot;
    const uint8_t *at = view.slots.data + size_t{item_id} * RULE_SLOT_WORDS * 4;
    const uint32_t id = csa_get_be32(at);
    const uint32_t bitset = csa_get_be32(at + 12);
    slot.rule_id = id & RULE_SEQUENCE_MASK;
    slot.flags = id >> RULE_FLAG_SHIFT;
    slot.priority = csa_get_be32(at + 4);
    slot.scope = csa_get_be32(at + 8);
    slot.bitset_full = bitset & 0xFFFF;
    slot.bitset_pos = (bitset & ~RULE_BITSET_REFERER) >> RULE_BITSET_POS_SHIFT;
    slot.referer = (bitset & RULE_BITSET_REFERER) != 0;
    return slot;
}
