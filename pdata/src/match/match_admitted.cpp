#include "match_database.h"

namespace
{

/// Returns what the attributes that lead to each matcher have in common: a rule that admits it
/// admits each of them.
std::vector<match_attribute_t> common_attributes(const pdata_db &db)
{
    std::vector<match_attribute_t> common(db.matchers.size());
    for (const match_attribute_t &attribute : db.attributes)
        for (uint32_t i = 0; i < attribute.nr; ++i) {
            const uint32_t matcher = match_number_of(db, *db.leads[attribute.first + i]);
            match_attribute_t &known = common[matcher];
            const bool first = known.nr++ == 0;
            known.scope = first ? attribute.scope : known.scope & attribute.scope;
            known.number = first || known.number == attribute.number ? attribute.number : 0;
        }
    return common;
}

void mark_table(const pdata_db &db, const match_attribute_t &common, match_jump_t &jump)
{
    for (match_jump_entry_t &entry : jump.entries) {
        if (!match_end_is_item(entry.end))
            continue;
        const view_slot_t slot = view_rules_slot(db.view.rules, entry.end & MATCH_END_ITEM);
        if (slot.rule_id != 0 && match_admits(db, common, slot))
            entry.end |= MATCH_END_ADMITTED;
    }
}

} // namespace

void match_mark_admitted(pdata_db &db)
{
    const std::vector<match_attribute_t> common = common_attributes(db);
    for (size_t i = 0; i < db.matchers.size(); ++i)
        mark_table(db, common[i], db.matchers[i].suffix_jump);
}
