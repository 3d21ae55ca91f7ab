/// Runs everything of a verified pdb through the accessors of its views, which check nothing.
///
/// What they read is summed up, so that nothing is left out by a compiler; what they must not read
/// is for the sanitizers.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "pdb_view.h"

/// The ids that a run met, in its order.
using run_ids_t = std::vector<uint32_t>;

inline void run_items(const view_item_record_t &record, run_ids_t &ids)
{
    for (uint32_t i = 0; i < record.count; ++i) {
        ids.push_back(view_item_id(record, i));
        (void)view_item_end(record, i);
    }
}

/// Every item at every end, an end's items in their order; those with an offset only there.
inline void run_automaton(const view_aho_corasick_t &view, std::string_view data, run_ids_t &ids)
{
    if (view.rows.nr_row == 0)
        return;
    const auto report = [&](uint32_t state, size_t at) {
        const view_item_record_t record = view_aho_corasick_items(view, state);
        for (uint32_t i = 0; i < record.count; ++i)
            if (view_item_end(record, i) == PATTERN_NO_OFFSET || view_item_end(record, i) == at)
                ids.push_back(view_item_id(record, i));
    };
    uint32_t state = 0;
    report(state, 0);
    for (size_t i = 0; i < data.size(); ++i) {
        const uint32_t word = view_aho_corasick_next(view, state, static_cast<uint8_t>(data[i]));
        state = word >> 1;
        if ((word & 1) != 0)
            report(state, i + 1);
    }
}

/// Walks a tree along the data for as long as it goes.
inline void run_tree(const view_radix_t &view, std::string_view data, run_ids_t &ids)
{
    if (view.rows.nr_row == 0)
        return;
    uint32_t row = 0;
    run_items(view_radix_items(view, row), ids);
    for (size_t at = 0; at < data.size();) {
        const uint32_t number = view_radix_next(view, row, static_cast<uint8_t>(data[at++]));
        if (number == 0)
            return;
        row = number;
        if (view_radix_is_chain(view, number)) {
            const view_radix_chain_t chain = view_radix_chain(view, number);
            const std::string_view rest = data.substr(at);
            if (!std::equal(chain.bytes.begin(), chain.bytes.end(), rest.begin(),
                            rest.begin() +
                                static_cast<long>(std::min(rest.size(), chain.bytes.size()))))
                return;
            at += chain.bytes.size();
            row = chain.end;
        }
        run_items(view_radix_items(view, row), ids);
    }
}

/// Goes to a node, its propagation, the propagation of that, unless they are current.
inline void run_enter(const view_dot_prefix_t &view, uint32_t node, std::vector<uint32_t> &current)
{
    while (node != DOT_PREFIX_NO_PROPAGATION &&
           std::find(current.begin(), current.end(), node) == current.end()) {
        current.push_back(node);
        node = view_dot_prefix_propagation(view, node);
    }
}

inline void run_dot_prefix(const view_dot_prefix_t &view, std::string_view data, run_ids_t &ids)
{
    std::vector<uint32_t> current = {0};
    for (size_t i = 0; i < data.size() && view.rows.nr_row != 0 && !current.empty(); ++i) {
        std::vector<uint32_t> next;
        for (const uint32_t node : current) {
            const uint32_t target = view_dot_prefix_next(view, node, static_cast<uint8_t>(data[i]));
            if (target != 0)
                run_enter(view, target, next);
        }
        for (const uint32_t node : next)
            run_items(view_dot_prefix_items(view, node), ids);
        current.swap(next);
    }
}

inline void run_numbers(const view_number_t &view, run_ids_t &ids)
{
    for (uint64_t value = 0; value < 300; ++value)
        run_items(view_number_find(view, {0, value}), ids);
    for (uint32_t i = 0; i < view.nr; ++i)
        run_items(view_number_find(view, view_number_endpoint(view, i)), ids);
}

/// Runs a matcher over `data`; every id that is found leads to an entry or a slot.
inline run_ids_t run_matcher(const view_matcher_t &matcher, std::string_view data)
{
    run_ids_t ids;
    if (matcher.type != MATCHER_TYPE_STREAM) {
        run_numbers(matcher.number, ids);
        return ids;
    }
    const view_pattern_t &pattern = matcher.pattern;
    run_automaton(pattern.aho_corasick, data, ids);
    run_automaton(pattern.ahoff_corasick, data, ids);
    run_tree(pattern.prefix_tree, data, ids);
    run_tree(pattern.suffix_tree, std::string(data.rbegin(), data.rend()), ids);
    run_dot_prefix(pattern.dot_prefix, data, ids);
    for (uint32_t i = 0; i < view_matcher_nr_private(matcher); ++i)
        ids.push_back(MATCHER_PRIVATE_ID + i);
    return ids;
}

/// Takes an id through the second level to the slot of its item.
inline size_t run_id(const pdb_view_t &view, const view_matcher_t &matcher, uint32_t id)
{
    size_t sum = 0;
    if (id >= MATCHER_PRIVATE_ID) {
        const view_entry_t entry = view_matcher_entry(matcher, id - MATCHER_PRIVATE_ID);
        sum += entry.has_value ? view_matcher_value(matcher, entry).size() : 0;
        id = entry.pub_id;
    }
    const view_slot_t slot = view_rules_slot(view.rules, id);
    if (slot.rule_id == 0)
        return sum;
    sum += slot.bitset_full >> slot.bitset_pos;
    for (uint32_t cell = 0; cell < PDB_PROTOCOL_MAP_BOTTOMS; ++cell)
        sum += view_rules_path(view.rules, slot.rule_id, cell).size() +
               view_rules_bottom(view.rules, slot.rule_id, cell).size() +
               view_rules_real_bottom(view.rules, slot.rule_id, cell).size();
    const view_area_t tags = view_rules_tags(view.rules, slot.rule_id);
    for (size_t i = 0; i < view_words(tags); ++i)
        sum += view_word(tags, i);
    return sum + view_rules_vid(view.rules, slot.rule_id);
}

/// Runs every matcher over `data` and follows what it finds. Returns what was read, summed up.
inline size_t run_pdb(const pdb_view_t &view, std::string_view data)
{
    size_t sum = 0;
    view_cursor_t cursor = view_walk(view.matchers.list);
    for (view_record_t record; view_next(cursor, record);) {
        view_matcher_t matcher;
        view_error_t error;
        if (!view_matcher_open(record, view.matchers.names, matcher, error))
            return 0;
        for (const uint32_t id : run_matcher(matcher, data))
            sum += run_id(view, matcher, id) + matcher.protocol.size() + matcher.attribute.size();
    }
    return sum;
}
