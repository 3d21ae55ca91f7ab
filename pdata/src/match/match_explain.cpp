#include <algorithm>
#include <bit>

#include "match_flow.h"
#include "match_guard.h"

namespace
{

/// Findings that are kept beyond one for each item.
constexpr size_t FINDINGS_MORE = 1024;

/// Returns the item of a rule whose bit is the one of `bits`, 0 for none.
uint32_t item_of_bit(const pdata_db &db, uint32_t rule, uint32_t bits)
{
    for (uint32_t item = db.rules[rule - 1].first_item & ~MATCH_RULE_MARK;
         item != 0 && item < db.view.rules.nr_slot; ++item) {
        const view_slot_t slot = view_rules_slot(db.view.rules, item);
        if (slot.rule_id == rule && 1U << slot.bitset_pos == bits)
            return item;
    }
    return 0;
}

/// Tells whether a rule misses exactly one thing, and what.
bool is_near(const pdata_flow &flow, uint32_t rule, pdata_near &near)
{
    const match_rule_t &known = flow.db->rules[rule - 1];
    const view_slot_t slot =
        view_rules_slot(flow.db->view.rules, known.first_item & ~MATCH_RULE_MARK);
    const uint32_t missing = slot.bitset_full & ~uint32_t{flow.room.bits[rule - 1]};
    near = {rule, 0, 0};
    const uint32_t nr_protocol = match_missing_bottoms(flow, rule, &near.protocol);
    if (static_cast<uint32_t>(std::popcount(missing)) + nr_protocol != 1)
        return false;
    if (missing == 0)
        return true;
    near.item = item_of_bit(*flow.db, rule, missing);
    return near.item != 0;
}

uint32_t priority_of(const pdata_db &db, uint32_t rule)
{
    return view_rules_slot(db.view.rules, db.rules[rule - 1].first_item & ~MATCH_RULE_MARK)
        .priority;
}

} // namespace

std::unique_ptr<match_findings_t> match_findings_make(const pdata_db &db)
{
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
    pdata_near one;
    std::vector<uint32_t> &sorted = flow->room.sorted;
    sorted.clear();
    for (const uint32_t rule : flow->room.begun)
        if (is_near(*flow, rule, one))
            sorted.push_back(rule);
    std::sort(sorted.begin(), sorted.end(), [&](uint32_t a, uint32_t b) {
        return std::pair(priority_of(*flow->db, a), a) < std::pair(priority_of(*flow->db, b), b);
    });
    for (size_t i = 0; i < std::min(sorted.size(), capacity) && near != nullptr; ++i)
        (void)is_near(*flow, sorted[i], near[i]);
    return sorted.size();
}
