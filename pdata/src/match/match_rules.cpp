#include <algorithm>

#include "format_scope.h"
#include "match_database.h"

namespace
{

/// The names of the protocol map that are used, each once, in the order of their cells.
std::vector<uint32_t> used_cells(const view_rules_t &rules)
{
    std::vector<uint32_t> cells;
    for (const view_area_t *table : {&rules.paths, &rules.bottoms, &rules.real_bottoms})
        for (size_t i = 0; i < view_words(*table); ++i)
            if (view_word(*table, i) != PDB_PROTOCOL_MAP_EMPTY)
                cells.push_back(view_word(*table, i));
    std::sort(cells.begin(), cells.end());
    cells.erase(std::unique(cells.begin(), cells.end()), cells.end());
    return cells;
}

/// Every protocol that rules and matchers name, each once, in byte order.
void collect_protocols(pdata_db &db)
{
    const view_rules_t &rules = db.view.rules;
    const std::vector<uint32_t> cells = used_cells(rules);
    for (const uint32_t cell : cells)
        db.protocols.push_back(view_rules_name(rules, cell));
    for (const match_matcher_t &matcher : db.matchers)
        db.protocols.push_back(matcher.view.protocol);
    std::sort(db.protocols.begin(), db.protocols.end());
    db.protocols.erase(std::unique(db.protocols.begin(), db.protocols.end()), db.protocols.end());
    for (const uint32_t cell : cells)
        db.cells.push_back({cell, match_find_protocol(db, view_rules_name(rules, cell))});
}

bool fail_slot(const pdata_db &db, uint32_t item, uint32_t rule, view_error_t &error)
{
    return view_fail(error, VIEW_VALUE,
                     db.view.rules.slots.offset + size_t{item} * RULE_SLOT_WORDS * 4,
                     "rules: rule engine: item %u: rule %u differs from slot to slot", item, rule);
}

/// Notes the first item of every rule, counts what can complete one, and checks that all its slots
/// say the same of it.
bool index_slots(pdata_db &db, view_error_t &error)
{
    for (uint32_t item = 1; item < db.view.rules.nr_slot; ++item) {
        const view_slot_t slot = view_rules_slot(db.view.rules, item);
        if (slot.rule_id == 0)
            continue;
        uint32_t &first = db.rules[slot.rule_id - 1].first_item;
        if (first == 0 || match_is_only(slot)) // of damaged slots, several may be the only one
            ++db.nr_complete;
        if (first == 0)
            first = item;
        const view_slot_t known = view_rules_slot(db.view.rules, first);
        if (known.priority != slot.priority || known.scope != slot.scope ||
            known.bitset_full != slot.bitset_full || known.flags != slot.flags)
            return fail_slot(db, item, slot.rule_id, error);
    }
    return true;
}

void index_bottoms(pdata_db &db)
{
    for (uint32_t rule = 1; rule <= db.rules.size(); ++rule)
        for (uint32_t i = 0; i < PDATA_BOTTOM_MAX; ++i)
            db.rules[rule - 1].real_bottom[i] = match_protocol_of(
                db, view_rules_cell(db.view.rules.real_bottoms, PDB_PROTOCOL_MAP_BOTTOMS, rule, i));
}

/// Marks the real bottoms of which a rule tests nothing. Only rules of two bottoms can have one.
void mark_untested(pdata_db &db)
{
    const auto has_two = [](const match_rule_t &rule) { return rule.real_bottom[1] != 0; };
    if (std::none_of(db.rules.begin(), db.rules.end(), has_two))
        return;
    const std::vector<uint32_t> owners = match_item_owners(db);
    std::vector<uint8_t> tested(db.rules.size()); // bit i: a matcher of bottom i has an item
    for (uint32_t item = 1; item < db.view.rules.nr_slot; ++item) {
        const uint32_t rule = view_rules_slot(db.view.rules, item).rule_id;
        if (rule == 0 || owners[item] == UINT32_MAX || !has_two(db.rules[rule - 1]))
            continue;
        for (uint32_t i = 0; i < PDATA_BOTTOM_MAX; ++i)
            if (view_rules_bottom(db.view.rules, rule, i) ==
                db.matchers[owners[item]].view.protocol)
                tested[rule - 1] |= static_cast<uint8_t>(1U << i);
    }
    for (size_t i = 0; i < db.rules.size(); ++i)
        for (uint32_t bottom = 0; bottom < PDATA_BOTTOM_MAX; ++bottom)
            if (has_two(db.rules[i]) && (tested[i] >> bottom & 1) == 0)
                db.rules[i].real_bottom[bottom] |= MATCH_RULE_MARK;
}

} // namespace

pdata_protocol match_find_protocol(const pdata_db &db, std::string_view name)
{
    const auto found = std::lower_bound(db.protocols.begin(), db.protocols.end(), name);
    if (found == db.protocols.end() || *found != name)
        return 0;
    return static_cast<pdata_protocol>(found - db.protocols.begin() + 1);
}

pdata_protocol match_protocol_of(const pdata_db &db, uint32_t cell)
{
    const auto found =
        std::ranges::lower_bound(db.cells, cell, {}, &std::pair<uint32_t, pdata_protocol>::first);
    return found == db.cells.end() ? 0 : found->second; // an empty cell is greater than all others
}

uint32_t match_scope_of(std::string_view protocol)
{
    const uint32_t bit = format_scope_bit(protocol);
    return PDATA_SCOPE_ALL | (format_scope_word(bit) == protocol ? bit : 0);
}

bool match_index_rules(pdata_db &db, view_error_t &error)
{
    db.rules.resize(db.view.rules.nr_rule);
    collect_protocols(db);
    if (!index_slots(db, error))
        return false;
    index_bottoms(db);
    mark_untested(db);
    return true;
}
