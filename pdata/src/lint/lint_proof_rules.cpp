#include <set>
#include <unordered_map>
#include <unordered_set>

#include "lint_proof.h"
#include "lint_resolve.h"
#include "lint_words.h"
#include "prove_rule.h"
#include "view_overfull.h"

namespace
{

/// Rules to prove, and where each stands. A rule that the compiler splits is several.
struct gathered_rules_t {
    std::vector<prove_rule_t> rules;
    std::vector<lint_look_t> places;
    std::vector<lint_look_t> stored; ///< all rules, those of bases as well, as they are stored
    std::unordered_map<std::string_view, size_t> first_stored; ///< by protocol: its first rule
};

prove_item_t item_of(const lint_look_t &value, const lint_proved_t &proved)
{
    const lint_attribute_t &attribute = *value.attribute;
    prove_item_t item;
    item.value = lint_proved_value(value, lint_tests_way(attribute, ATTR_WAY_CTS) ? ATTR_WAY_CTS
                                                                                  : ATTR_WAY_STC);
    item.protocol = lint_bottom(*value.sub_rule);
    item.attribute = attribute.name;
    item.way = lint_stored_way(attribute);
    const prove_verdict_t &known = proved.at(value.value);
    item.known = known.found;
    item.has_known = known.nr_missed < known.nr_sample;
    return item;
}

prove_rule_t rule_of(const lint_look_t &rule, const lint_proved_t &proved)
{
    prove_rule_t stored;
    stored.protocol = rule.protocol->name->decoded;
    lint_each_attribute(rule, [&](const lint_look_t &attribute) {
        lint_each_value(attribute, [&](const lint_look_t &value) {
            stored.items.push_back(item_of(value, proved));
        });
    });
    return stored;
}

void add_rule(gathered_rules_t &gathered, const lint_look_t &rule, const lint_proved_t &proved,
              uint32_t index)
{
    gathered.stored.push_back(rule);
    if (rule.model.files[rule.protocol->place.file].base)
        return;
    gathered.rules.push_back(rule_of(rule, proved));
    gathered.rules.back().index = index;
    gathered.places.push_back(rule);
}

/// Gathers the rules of a protocol in the order in which they are stored.
void gather_protocol(gathered_rules_t &gathered, const lint_look_t &protocol,
                     const lint_proved_t &proved)
{
    gathered.first_stored.emplace(protocol.protocol->name->decoded, gathered.stored.size());
    uint32_t index = 0;
    lint_each_rule(protocol,
                   [&](const lint_look_t &rule) { add_rule(gathered, rule, proved, index++); });
    lint_each_rule(protocol, [&](const lint_look_t &rule) {
        for (size_t i = lint_stored_rules(*rule.rule); i != 1; --i)
            add_rule(gathered, rule, proved, index++);
    });
}

/// Gathers the rules of all protocols without a fault; of a name that two have, none.
gathered_rules_t gather_rules(const lint_look_t &look, const lint_proved_t &proved)
{
    gathered_rules_t gathered;
    std::unordered_map<std::string_view, uint32_t> names;
    for (const lint_protocol_t &protocol : look.model.protocols)
        if (protocol.name)
            ++names[protocol.name->decoded];
    for (const lint_protocol_t &protocol : look.model.protocols) {
        if (!protocol.faultless || !protocol.name || names[protocol.name->decoded] != 1)
            continue;
        lint_look_t at = look;
        at.protocol = &protocol;
        gather_protocol(gathered, at, proved);
    }
    return gathered;
}

/// Tells whether a value of a rule was called dead already.
bool has_dead_value(const lint_look_t &rule, const lint_proved_t &proved)
{
    bool found = false;
    lint_each_attribute(rule, [&](const lint_look_t &attribute) {
        lint_each_value(attribute, [&](const lint_look_t &value) {
            found = found || proved.at(value.value).outcome == PROVE_DEAD;
        });
    });
    return found;
}

void report_dead(const lint_look_t &rule, const prove_rule_t &stored, uint32_t item)
{
    if (stored.items.empty()) {
        lint_report(rule, FINDING_DEAD_RULE,
                    "no sub-rule tests an attribute, so nothing fires this",
                    "write what is to be tested");
        return;
    }
    lint_report(
        rule, FINDING_DEAD_RULE,
        lint_joined({"nothing fires this: its value ", lint_quoted(stored.items[item].value.text),
                     " is not found where all protocols are compiled together"}),
        "");
}

void report_shadowed(const lint_look_t &rule, const lint_look_t &winner)
{
    const std::string other = lint_joined({"rule ", std::to_string(winner.rule->number),
                                           " of protocol ", winner.protocol->name->decoded});
    finding_t &finding = lint_report(
        rule, FINDING_SHADOWED_RULE,
        lint_joined({"whatever fires this fires ", other, " as well, which goes before"}),
        "give this rule a smaller order, or drop it");
    finding.related = {winner.rule->place, "the other one stands here"};
}

/// Returns the rule that goes before another one, or null.
const lint_look_t *winner_of(const gathered_rules_t &gathered, const prove_rule_verdict_t &verdict)
{
    const auto first = gathered.first_stored.find(verdict.winner);
    if (verdict.outcome != PROVE_RULE_SHADOWED || first == gathered.first_stored.end())
        return nullptr;
    const size_t at = first->second + verdict.winner_index;
    const bool is_its = at < gathered.stored.size() &&
                        gathered.stored[at].protocol->name->decoded == verdict.winner;
    return is_its ? &gathered.stored[at] : nullptr;
}

/// Returns where the rules stand that repeat another one: that they lose to it needs no word.
std::set<std::pair<uint32_t, uint32_t>> repeated_rules(const gathered_rules_t &gathered)
{
    std::set<std::pair<uint32_t, uint32_t>> places;
    for (const finding_t &finding : gathered.places.front().findings)
        if (finding.id == FINDING_DUPLICATE_RULE)
            places.emplace(finding.place.file, finding.place.begin);
    return places;
}

/// Reports each rule once, however often it is stored.
void report_rules(const gathered_rules_t &gathered, const lint_proved_t &proved,
                  const std::vector<prove_rule_verdict_t> &verdicts)
{
    std::unordered_set<const lint_rule_t *> reported;
    const std::set<std::pair<uint32_t, uint32_t>> repeated = repeated_rules(gathered);
    for (size_t i = 0; i < verdicts.size(); ++i) {
        const lint_look_t &rule = gathered.places[i];
        const prove_rule_verdict_t &verdict = verdicts[i];
        const bool is_dead = verdict.outcome == PROVE_RULE_DEAD || gathered.rules[i].items.empty();
        const lint_look_t *winner = winner_of(gathered, verdict);
        const finding_place_t &place = rule.rule->place;
        if ((!is_dead && winner == nullptr) || has_dead_value(rule, proved) ||
            (!is_dead && repeated.contains({place.file, place.begin})) ||
            !reported.insert(rule.rule).second)
            continue;
        if (is_dead)
            report_dead(rule, gathered.rules[i], verdict.item);
        else
            report_shadowed(rule, *winner);
    }
}

/// Makes `look` the first place that tests an attribute in a direction.
void find_test(const gathered_rules_t &gathered, const view_matcher_t &matcher, lint_look_t &look)
{
    for (const lint_look_t &rule : gathered.places)
        lint_each_attribute(rule, [&](const lint_look_t &attribute) {
            const lint_key_t &key = attribute.attribute->matched_key;
            if (look.attribute != nullptr || key.protocol != matcher.protocol ||
                key.attribute != matcher.attribute || (key.way & matcher.way) == 0)
                return;
            look.protocol = attribute.protocol;
            look.rule = attribute.rule;
            look.attribute = attribute.attribute;
        });
}

/// Reports matchers whose tables are too small for what is in them.
void report_overfull(const gathered_rules_t &gathered, std::span<const uint8_t> pdb)
{
    const auto report = [](void *context, const view_overfull_t &overfull) {
        const auto &[matcher, table, area, nr, limit] = overfull;
        const gathered_rules_t &rules = **static_cast<const gathered_rules_t **>(context);
        lint_look_t look = rules.places.front();
        find_test(rules, matcher, look);
        lint_report(look, FINDING_TOO_MANY,
                    lint_joined({"the values of ", matcher.protocol, ":", matcher.attribute,
                                 " need ", std::to_string(nr), " ", table, " and no more than ",
                                 std::to_string(limit), " can be told apart: some are not found"}),
                    "split the values over several pdbs, or write fewer short pieces");
    };
    pdb_view_t view;
    view_error_t error;
    const gathered_rules_t *place = &gathered;
    if (pdb_view_open(pdb, view, error))
        view_overfull(view, {report, &place});
}

/// Reports that protocols which are sound each alone are refused together.
void report_refused(const gathered_rules_t &gathered, const prove_compiled_t &compiled)
{
    std::string message = compiled.message;
    message.erase(message.find_last_not_of('\n') + 1);
    lint_look_t look = gathered.places.front();
    look.rule = nullptr;
    lint_report(look, FINDING_REFUSED,
                lint_joined({"the compiler refuses all protocols together: status ",
                             std::to_string(compiled.status), ", ", message}),
                "");
}

} // namespace

void lint_prove_rules(const lint_look_t &look, const lint_proved_t &proved, lint_compiled_t &whole,
                      const lint_progress_t &progress)
{
    const gathered_rules_t gathered = gather_rules(look, proved);
    if (gathered.rules.empty())
        return;
    if (whole.compiled.status != PDATA_SUCCESS)
        report_refused(gathered, whole.compiled);
    report_overfull(gathered, whole.compiled.bytes);
    std::vector<prove_rule_verdict_t> verdicts(gathered.rules.size());
    if (whole.is_open)
        verdicts =
            prove_rules(whole.catalog, gathered.rules,
                        lint_step_progress(progress, LINT_STEP_PROVE_RULES, gathered.rules.size()));
    report_rules(gathered, proved, verdicts);
}
