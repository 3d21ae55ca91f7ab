#include "rule_builder.h"

#include <algorithm>

namespace
{

/// Gives the items of one sub-rule their bits. Returns whether one of them is a referer.
bool register_sub_rule(rule_builder_t *rule_builder, const rule_registration_t &rule,
                       uint32_t sub_rule, rule_builder_entry &entry, uint16_t *bitset_pos)
{
    bool referer = false;
    for (size_t i = 0; i < rule.items.size(); ++i) {
        const rule_registration_item_t &item = rule.items[i];
        if (item.sub_rule != sub_rule || item.item == 0)
            continue;
        rule_builder->items[entry.first_item + i] = {item.item, (*bitset_pos)++};
        entry.bitset_full = entry.bitset_full * 2 + 1;
        rule_builder->nb_items = std::max(rule_builder->nb_items, item.item + 1);
        referer = referer || (rule.items.size() > 1 && item.referer == 1);
    }
    return referer;
}

} // namespace

void rule_builder_init(rule_builder_t *rule_builder)
{
    *rule_builder = {};
}

pdata_status_t rule_builder_register(rule_builder_t *rule_builder, const rule_registration_t &rule,
                                     uint32_t *rule_id)
{
    const auto nb_items = static_cast<uint32_t>(rule.items.size());
    if (nb_items > RULE_MAX_ITEM)
        // The message is worded as if it named the rule. Oddity O40.
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, REFUSED_RULE_ITEMS, nb_items);
    const size_t first_item = rule_builder->items.size();
    PDATA_TRY(pdata_guard([&] {
        rule_builder->items.resize(first_item + nb_items);
        rule_builder->rules.emplace_back();
        return PDATA_SUCCESS;
    }));
    rule_builder_entry &entry = rule_builder->rules.back();
    entry.id = rule.flags << RULE_FLAG_SHIFT | ++rule_builder->nb_rules;
    entry.priority = rule.priority;
    entry.scope = rule.scope;
    entry.nb_items = nb_items;
    entry.first_item = first_item;
    uint16_t bitset_pos = 0;
    bool referer = register_sub_rule(rule_builder, rule, 0, entry, &bitset_pos);
    referer = register_sub_rule(rule_builder, rule, 1, entry, &bitset_pos) || referer;
    if (referer)
        entry.bitset_full |= RULE_BITSET_REFERER;
    *rule_id = rule_builder->nb_rules;
    return PDATA_SUCCESS;
}

void rule_builder_clean(rule_builder_t *rule_builder)
{
    *rule_builder = {};
}
