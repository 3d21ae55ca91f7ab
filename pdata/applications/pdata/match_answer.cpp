#include "match_answer.h"

#include <algorithm>

namespace
{

/// The findings of a flow, by item: the first that counts, else the last that does not.
std::map<pdata_item, pdata_finding> collect_findings(pdata_flow *flow)
{
    std::map<pdata_item, pdata_finding> findings;
    for (size_t i = 0; i < pdata_flow_nr_finding(flow); ++i) {
        pdata_finding finding = {};
        (void)pdata_flow_finding_at(flow, i, &finding); // there are so many
        pdata_finding &kept = findings[finding.item];
        if (kept.outcome != PDATA_COUNTED)
            kept = finding;
    }
    return findings;
}

match_item_t item_of(const loadable_t &loadable, pdata_item item,
                     const std::map<pdata_item, pdata_finding> &findings)
{
    match_item_t made = {item, loadable_origin(loadable, item), false, {}};
    const auto found = findings.find(item);
    if (found != findings.end()) {
        made.found = found->second.outcome == PDATA_COUNTED;
        made.finding = found->second;
    }
    return made;
}

fired_rule_t rule_of(const loadable_t &loadable, pdata_rule rule,
                     const std::map<pdata_item, pdata_finding> &findings)
{
    fired_rule_t made;
    made.rule = rule;
    (void)pdata_db_rule(loadable.db.get(), rule, &made.info);
    for (const pdata_item item : loadable.rule_items[rule])
        made.items.push_back(item_of(loadable, item, findings));
    return made;
}

/// What two operations of the library have in common: asked how many, then for all.
template <typename Thing, typename Ask>
std::vector<Thing> ask_for_all(const Ask &ask)
{
    std::vector<Thing> things(ask(nullptr, 0));
    things.resize(std::min(things.size(), ask(things.data(), things.size())));
    return things;
}

void collect_near(const loadable_t &loadable, pdata_flow *flow,
                  const std::map<pdata_item, pdata_finding> &findings, match_answer_t &answer)
{
    const auto nearly = ask_for_all<pdata_near>([flow](pdata_near *near, size_t capacity) {
        return pdata_flow_near(flow, near, capacity);
    });
    for (const pdata_near &near : nearly) {
        fired_rule_t rule = rule_of(loadable, near.rule, findings);
        rule.missing_item = near.item;
        rule.missing_protocol = near.protocol;
        if (std::ranges::any_of(rule.items, &match_item_t::found))
            answer.near.push_back(std::move(rule));
    }
    for (const auto &[item, finding] : findings)
        if (finding.outcome != PDATA_COUNTED)
            answer.failed.push_back(item_of(loadable, item, findings));
}

} // namespace

match_answer_t match_collect(const loadable_t &loadable, flow_runner_t &runner, bool near)
{
    pdata_flow *flow = runner.flow.get();
    match_answer_t answer;
    const auto findings = collect_findings(flow);
    const auto rules = ask_for_all<pdata_rule>([flow](pdata_rule *some, size_t capacity) {
        return pdata_flow_rules(flow, some, capacity);
    });
    for (size_t i = 0; i < rules.size(); ++i) {
        answer.rules.push_back(rule_of(loadable, rules[i], findings));
        if (i + 1 < rules.size())
            (void)pdata_db_precedence(loadable.db.get(), rules[i], rules[i + 1],
                                      &answer.rules.back().beats_next);
    }
    if (near)
        collect_near(loadable, flow, findings, answer);
    return answer;
}
