#include <algorithm>
#include <bit>

#include "match_flow.h"
#include "match_guard.h"

namespace
{

/// Findings that are kept beyond one for each item.
constexpr size_t FINDINGS_MORE = 1024;

view_slot_t first_slot(const pdata_db &db, uint32_t rule)
{
    return view_rules_slot(db.view.rules, db.rules[rule - 1].first_item & ~MATCH_RULE_MARK);
}

/// Returns the bits of the items that a rule misses. A rule of one item comes here complete.
uint32_t missing_bits(const pdata_flow &flow, uint32_t rule)
{
    const uint32_t full = first_slot(*flow.db, rule).bitset_full;
    return full == 1 ? 0 : full & ~uint32_t{flow.room.standing.bits[rule - 1]};
}

/// Tells whether a rule misses exactly one thing.
bool is_near(const pdata_flow &flow, uint32_t rule)
{
    pdata_protocol protocol = 0;
    const uint32_t missing = missing_bits(flow, rule);
    return static_cast<uint32_t>(std::popcount(missing)) +
               match_missing_bottoms(flow, rule, &protocol) ==
           1;
}

/// Returns the item that a rule misses, 0 where no slot has its bit.
pdata_item find_missing_item(const pdata_flow &flow, uint32_t rule)
{
    const uint32_t missing = missing_bits(flow, rule);
    for (uint32_t item = flow.db->rules[rule - 1].first_item & ~MATCH_RULE_MARK;
         item < flow.db->view.rules.nr_slot; ++item) {
        const view_slot_t slot = view_rules_slot(flow.db->view.rules, item);
        if (slot.rule_id == rule && 1U << slot.bitset_pos == missing)
            return item;
    }
    return 0;
}

/// Makes the list of the rules that miss one thing, the best first.
void list_near(pdata_flow &flow)
{
    const match_standing_t &standing = match_stand(flow);
    std::vector<uint32_t> &sorted = flow.room.sorted;
    const std::span<const uint32_t> begun = standing.begun.all();
    sorted.assign(begun.begin(), begun.end());
    for (const match_complete_t &complete : standing.complete.all())
        if (first_slot(*flow.db, complete.rule).bitset_full == 1)
            sorted.push_back(complete.rule);
    std::erase_if(sorted, [&](uint32_t rule) { return !is_near(flow, rule); });
    const auto key = [&](uint32_t rule) {
        return std::pair(first_slot(*flow.db, rule).priority, rule);
    };
    std::sort(sorted.begin(), sorted.end(),
              [&](uint32_t a, uint32_t b) { return key(a) < key(b); });
}

} // namespace

std::unique_ptr<match_findings_t> match_findings_make(pdata_db &db)
{
    std::call_once(db.begins_made, [&] { db.begins = match_make_begins(db); });
    auto made = std::make_unique<match_findings_t>();
    made->findings.reserve(db.view.rules.nr_slot + FINDINGS_MORE);
    size_t nr_piece = 0;
    for (const match_matcher_t &matcher : db.matchers)
        nr_piece = std::max(nr_piece, matcher.roles.size());
    made->pieces.resize(nr_piece);
    return made;
}

void match_note(pdata_flow &flow, const match_attribute_t &attribute, uint32_t item,
                pdata_outcome outcome, std::span<const pdata_piece> pieces,
                std::string_view expression)
{
    match_findings_t &explained = *flow.room.explained;
    if (explained.findings.size() == explained.findings.capacity())
        return;
    pdata_finding finding{};
    finding.item = item;
    finding.rule = view_rules_slot(flow.db->view.rules, item).rule_id;
    finding.attribute = static_cast<pdata_attribute>(&attribute - flow.db->attributes.data() + 1);
    finding.outcome = outcome;
    finding.value = explained.nr_value;
    finding.nr_piece = static_cast<uint32_t>(pieces.size());
    std::copy_n(pieces.begin(), std::min<size_t>(pieces.size(), PDATA_PIECE_MAX), finding.piece);
    finding.expression = {expression.empty() ? nullptr : expression.data(), expression.size()};
    explained.findings.push_back(finding);
}

size_t pdata_flow_nr_finding(const pdata_flow *flow)
{
    return flow == nullptr || flow->room.explained == nullptr
               ? 0
               : flow->room.explained->findings.size();
}

pdata_result pdata_flow_finding_at(const pdata_flow *flow, size_t index, pdata_finding *finding)
{
    if (flow == nullptr || finding == nullptr)
        return PDATA_R_ARGUMENT;
    if (index >= pdata_flow_nr_finding(flow))
        return PDATA_R_UNKNOWN;
    *finding = flow->room.explained->findings[index];
    return PDATA_R_OK;
}

size_t pdata_flow_near(pdata_flow *flow, pdata_near *near, size_t capacity)
{
    if (flow == nullptr)
        return 0;
    list_near(*flow);
    const std::vector<uint32_t> &sorted = flow->room.sorted;
    const size_t nr = near == nullptr ? 0 : std::min(sorted.size(), capacity);
    for (size_t i = 0; i < nr; ++i) {
        near[i] = {sorted[i], 0, 0};
        (void)match_missing_bottoms(*flow, sorted[i], &near[i].protocol);
        if (near[i].protocol == 0)
            near[i].item = find_missing_item(*flow, sorted[i]);
    }
    return sorted.size();
}
