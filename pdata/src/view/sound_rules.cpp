#include "view_sound.h"

#include <new>

#include "view_stored.h"

namespace
{

/// Checks where an entry stands in its permutation; numbers above 255 were cut.
bool piece_fits(const view_matcher_t &view, uint32_t index, view_error_t &error)
{
    const view_entry_t entry = view_matcher_entry(view, index);
    return entry.permutation == 0 || (entry.position != 0 && entry.position <= entry.nb_pieces) ||
           view_fail(error, VIEW_LOST,
                     view.second_level.offset + size_t{index} * MATCHER_MAP_WORDS * 4 + 8,
                     "second level: entry %u: piece %u of %u", index, entry.position,
                     entry.nb_pieces);
}

/// What is known of a rule from the slots of its items.
struct rule_items_t {
    uint32_t first = 0; ///< item id
    uint32_t bits = 0;  ///< of its items
};

bool slot_agrees(const view_slot_t &slot, const view_slot_t &first)
{
    return slot.flags == first.flags && slot.priority == first.priority &&
           slot.scope == first.scope && slot.bitset_full == first.bitset_full &&
           slot.referer == first.referer;
}

bool fail_slot(const view_rules_t &view, view_fault_t fault, uint32_t item, const char *what,
               view_error_t &error)
{
    return view_fail(error, fault, view.slots.offset + size_t{item} * RULE_SLOT_WORDS * 4,
                     "rule engine: item %u of rule %u: %s", item,
                     view_rules_slot(view, item).rule_id, what);
}

/// Adds an item to its rule.
bool add_slot(const view_rules_t &view, uint32_t item, std::vector<rule_items_t> &rules,
              view_error_t &error)
{
    const view_slot_t slot = view_rules_slot(view, item);
    if (slot.rule_id == 0)
        return true;
    rule_items_t &rule = rules[slot.rule_id - 1];
    const uint32_t bit = 1U << slot.bitset_pos;
    if (rule.bits == 0)
        rule.first = item;
    if ((rule.bits & bit) != 0 || (slot.bitset_full & bit) == 0)
        return fail_slot(view, VIEW_COUNT, item, "its bit is not its own", error);
    rule.bits |= bit;
    return slot_agrees(slot, view_rules_slot(view, rule.first)) ||
           fail_slot(view, VIEW_VALUE, item, "not the rule of its other items", error);
}

bool check_rule_items(const view_rules_t &view, const std::vector<rule_items_t> &rules,
                      view_error_t &error)
{
    for (size_t i = 0; i < rules.size(); ++i) {
        if (rules[i].bits == 0)
            return view_fail(error, VIEW_COUNT, view.slots.offset,
                             "rule engine: rule %zu of %zu has no item", i + 1, rules.size());
        if (rules[i].bits != view_rules_slot(view, rules[i].first).bitset_full)
            return fail_slot(view, VIEW_COUNT, rules[i].first, "the rule has other items", error);
    }
    return true;
}

bool check_given(const view_rules_t &view, const sound_given_t &given, view_error_t &error)
{
    uint32_t first = 0;
    uint32_t count = 0;
    for (uint32_t item = view.nr_slot; item-- != 0;)
        if (view_rules_slot(view, item).rule_id != 0 && !given.items[item]) {
            first = item;
            ++count;
        }
    if (count == 0)
        return true;
    return view_fail(error, VIEW_LOST, view.slots.offset + size_t{first} * RULE_SLOT_WORDS * 4,
                     "rule engine: item %u of rule %u: no matcher gives it, nor %u others", first,
                     view_rules_slot(view, first).rule_id, count - 1);
}

bool rules_fit(const view_rules_t &view, const sound_given_t &given, view_error_t &error)
{
    std::vector<rule_items_t> rules(view.nr_rule);
    for (uint32_t item = 0; item < view.nr_slot; ++item)
        if (!add_slot(view, item, rules, error))
            return false;
    return check_rule_items(view, rules, error) && check_given(view, given, error);
}

/// Tells whether an attribute has a value to look for: one that is more than commas.
bool is_looked_for(const view_pool_t &pool, const view_attribute_t &attribute)
{
    if (view_attribute_way(attribute) == ATTR_WAY_UNKNOWN)
        return false;
    for (size_t i = 0; i < view_words(attribute.values); ++i) {
        std::string_view text;
        if (view_pool_get(pool, view_word(attribute.values, i), text) &&
            text.find_first_not_of(',') != std::string_view::npos)
            return true;
    }
    return false;
}

bool count_rule(const view_pool_t &pool, const view_rule_t &rule, uint32_t &count,
                view_error_t &error)
{
    bool found = false;
    const auto look = [&](const view_attribute_t &attribute) {
        found = found || is_looked_for(pool, attribute);
        return true;
    };
    if (!view_each_sub_rule(rule, error, [&](uint32_t, const view_sub_rule_t &sub_rule) {
            return view_each_attribute(sub_rule, error, look);
        }))
        return false;
    count += found ? 1 : 0;
    return true;
}

bool count_rules(const view_pool_t &pool, const view_protocol_t &protocol, uint32_t &count,
                 view_error_t &error)
{
    return view_each_rule(protocol, error, [&](uint32_t, const view_rule_t &rule) {
        return count_rule(pool, rule, count, error);
    });
}

} // namespace

bool sound_entries(const view_matcher_t &view, sound_given_t &given, view_error_t &error)
{
    uint32_t first = 0;
    uint32_t lost = 0;
    bool pieces_fit = true;
    for (uint32_t index = view_matcher_nr_private(view); index-- != 0;) {
        const view_entry_t entry = view_matcher_entry(view, index);
        if (given.entries[index] || entry.kind == MATCHER_MAP_CATCH_ALL) {
            sound_give(given, entry.pub_id);
            pieces_fit = pieces_fit && piece_fits(view, index, error);
            continue;
        }
        first = index;
        ++lost;
    }
    if (lost == 0)
        return pieces_fit;
    return view_fail(error, VIEW_LOST,
                     view.second_level.offset + size_t{first} * MATCHER_MAP_WORDS * 4,
                     "second level: entry %u of %u: no engine gives it, nor %u others", first,
                     view_matcher_nr_private(view), lost - 1);
}

bool sound_rules(const view_rules_t &view, const sound_given_t &given, view_error_t &error)
try {
    return rules_fit(view, given, error);
} catch (const std::bad_alloc &) {
    return view_fail(error, VIEW_MEMORY, view.slots.offset, "no memory for the rules");
}

bool sound_rule_count(const pdb_view_t &pdb, view_error_t &error)
{
    uint32_t count = 0;
    view_error_t unread;
    if (!view_each_group(pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS), unread,
                         [&](const view_record_t &, const view_group_t &group) {
                             return view_each_protocol(
                                 group, unread,
                                 [&](const view_record_t &, const view_protocol_t &protocol) {
                                     return count_rules(group.pool, protocol, count, unread);
                                 });
                         }))
        return true; // nothing to hold the rules against
    return count == pdb.rules.nr_rule ||
           view_fail(error, VIEW_COUNT, pdb.rules.paths.offset,
                     "%u rules, where the descriptions have %u with values", pdb.rules.nr_rule,
                     count);
}
