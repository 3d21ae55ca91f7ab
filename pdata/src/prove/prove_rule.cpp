#include "prove_rule.h"

#include <algorithm>

#include "csa_types.h"
#include "prove_trial.h"

namespace
{

/// An item of a rule at work.
struct tried_item_t {
    const prove_item_t *item = nullptr;
    uint32_t value = 0;                 ///< of the catalog
    pdata_attribute attributes[2] = {}; ///< that data is handed over for: of even sets, of odd ones
    std::vector<prove_datum_t> found{}; ///< samples that lead to it
};

/// One run.
struct trying_t {
    prove_catalog_t &catalog;
    prove_trial_t trial;
    std::vector<pdata_rule> rules; ///< room for an answer
};

/// A rule at work.
struct tried_rule_t {
    pdata_rule number = 0;
    pdata_rule_info info{};
    std::vector<tried_item_t> items;
};

/// Returns the direction of set `set`: both in turn where there are two.
pdata_direction direction_of(const prove_item_t &item, size_t set)
{
    if (item.way == ATTR_WAY_BOTH)
        return set % 2 == 0 ? PDATA_CTS : PDATA_STC;
    return item.way == ATTR_WAY_STC ? PDATA_STC : PDATA_CTS;
}

void feed(trying_t &trying, const tried_item_t &tried, const prove_datum_t &datum, size_t set)
{
    prove_trial_feed(trying.trial, tried.attributes[set % 2], datum.bytes, datum.number);
}

/// Says which protocols the flow has: those that the rule asks for, and no others.
void feed_protocols(trying_t &trying, const tried_rule_t &rule)
{
    for (uint32_t i = 0; i < rule.info.nr_bottom; ++i)
        (void)pdata_flow_add_protocol(trying.catalog.flow.get(), rule.info.real_bottom[i]);
}

/// Returns samples of a value. Where all are shorter than what counts, they are made longer, which
/// open data takes.
std::vector<prove_datum_t> long_data(const prove_value_t &value)
{
    std::vector<prove_datum_t> data = prove_data(value);
    if (!data.empty() || value.min_size == 0)
        return data;
    prove_value_t any_size = value;
    any_size.min_size = 0;
    data = prove_data(any_size);
    for (prove_datum_t &datum : data)
        datum.bytes.resize(std::max<size_t>(datum.bytes.size(), value.min_size), 'x');
    return data;
}

/// Finds up to PROVE_RULE_SETS samples that lead to an item: that which does so alone, then others.
void find_data(trying_t &trying, tried_item_t &tried)
{
    tried.found.clear();
    std::vector<prove_datum_t> data = long_data(tried.item->value);
    data.insert(data.begin(), tried.item->known);
    for (size_t i = 0; i < data.size() && tried.found.size() < PROVE_RULE_SETS; ++i)
        if (prove_trial_finds(trying.trial, {tried.value, tried.attributes[i % 2]}, data[i].bytes,
                              data[i].number))
            tried.found.push_back(data[i]);
}

/// Puts a value to work.
tried_item_t tried_of(trying_t &trying, const prove_item_t &item, uint32_t value)
{
    const auto attribute_of = [&](size_t set) {
        return prove_catalog_attribute(trying.catalog, item.protocol, item.attribute,
                                       direction_of(item, set));
    };
    const pdata_attribute even = attribute_of(0);
    return {&item, value, {even, item.way == ATTR_WAY_BOTH ? attribute_of(1) : even}};
}

/// Finds the rule in the pdb, value by value. False where it is another one, or none.
bool find_rule(trying_t &trying, const prove_rule_t &rule, tried_rule_t &tried)
{
    tried.number = prove_catalog_rule(trying.catalog, {rule.protocol, rule.index});
    const prove_rule_values_t &stored = trying.catalog.rules[tried.number];
    if (tried.number == 0 || stored.nr != rule.items.size())
        return false;
    (void)pdata_db_rule(trying.catalog.db.get(), tried.number, &tried.info);
    for (uint32_t i = 0; i < stored.nr; ++i) {
        if (trying.catalog.values[stored.first + i].text != rule.items[i].value.text)
            return false;
        tried.items.push_back(tried_of(trying, rule.items[i], stored.first + i));
    }
    return true;
}

/// Tells whether `other` says the same of a flow as `rule`.
bool says_the_same(const trying_t &trying, const tried_rule_t &rule, pdata_rule other)
{
    const pdata_db *db = trying.catalog.db.get();
    pdata_rule_info info{};
    (void)pdata_db_rule(db, other, &info);
    if (info.nr_path != rule.info.nr_path || info.nr_tag != rule.info.nr_tag ||
        !std::equal(info.path, info.path + info.nr_path, rule.info.path))
        return false;
    for (uint32_t i = 0; i < info.nr_tag; ++i) {
        uint32_t its = 0;
        uint32_t mine = 0;
        pdata_text name; // which the library does not go without
        (void)pdata_db_rule_tag(db, other, i, &its, &name);
        (void)pdata_db_rule_tag(db, rule.number, i, &mine, &name);
        if (its != mine)
            return false;
    }
    return true;
}

/// Tells whether `other` fires wherever the scope of `rule` lets that fire.
bool reaches_as_far(const trying_t &trying, const tried_rule_t &rule, pdata_rule other)
{
    pdata_rule_info info{};
    (void)pdata_db_rule(trying.catalog.db.get(), other, &info);
    return (info.scope & PDATA_SCOPE_ALL) != 0 || (rule.info.scope & ~info.scope) == 0;
}

/// Gives the rules that go before a rule in a flow of set `set`; false where it does not fire.
bool find_better(trying_t &trying, const tried_rule_t &rule, size_t set,
                 std::vector<pdata_rule> &better)
{
    for (const tried_item_t &item : rule.items)
        feed(trying, item, item.found[set % item.found.size()], set);
    feed_protocols(trying, rule);
    const size_t nr =
        pdata_flow_rules(trying.catalog.flow.get(), trying.rules.data(), trying.rules.size());
    pdata_flow_reset(trying.catalog.flow.get());
    prove_trial_pay(trying.trial, nr);
    const auto end = trying.rules.begin() + static_cast<ptrdiff_t>(nr);
    const auto mine = std::find(trying.rules.begin(), end, rule.number);
    better.assign(trying.rules.begin(), mine);
    return mine != end;
}

/// Returns how many sets there are to try.
size_t sets_of(const tried_rule_t &rule)
{
    size_t nr = 1;
    for (const tried_item_t &item : rule.items)
        nr = std::max({nr, item.found.size(), size_t{item.item->way == ATTR_WAY_BOTH ? 2U : 1U}});
    return std::min(nr, PROVE_RULE_SETS);
}

/// Finds the best rule that always goes before a rule; 0 for none. False where no set fires it.
bool find_winner(trying_t &trying, const tried_rule_t &rule, pdata_rule &found)
{
    found = 0;
    std::vector<pdata_rule> always;
    std::vector<pdata_rule> better;
    bool is_first = true;
    for (size_t set = 0; set < sets_of(rule); ++set) {
        if (!find_better(trying, rule, set, better))
            continue; // of a list in both directions, one completes nothing
        if (is_first)
            always = better;
        else
            std::erase_if(always, [&](pdata_rule other) {
                return std::find(better.begin(), better.end(), other) == better.end();
            });
        is_first = false;
        if (always.empty())
            return true;
    }
    const auto winner = std::find_if(always.begin(), always.end(), [&](pdata_rule other) {
        return reaches_as_far(trying, rule, other);
    });
    if (winner != always.end() && !says_the_same(trying, rule, *winner))
        found = *winner;
    return !is_first;
}

/// Names the rule that wins.
void name_winner(const trying_t &trying, pdata_rule winner, prove_rule_verdict_t &verdict)
{
    const auto [protocol, index] = trying.catalog.rules[winner].name;
    verdict.outcome = PROVE_RULE_SHADOWED;
    verdict.winner = protocol;
    verdict.winner_index = index;
}

/// Finds samples of every item. Returns false with the index of one that has none.
bool find_all_data(trying_t &trying, tried_rule_t &rule, uint32_t &item)
{
    for (item = 0; item < rule.items.size(); ++item) {
        find_data(trying, rule.items[item]);
        if (rule.items[item].found.empty())
            return false;
    }
    return true;
}

/// Tells whether a rule goes before all others when it is fed with what is known to be found.
/// Nearly all rules do.
bool wins_at_once(trying_t &trying, tried_rule_t &rule)
{
    std::vector<pdata_rule> better;
    for (tried_item_t &item : rule.items)
        item.found = {item.item->known};
    return find_better(trying, rule, 0, better) && better.empty();
}

prove_rule_verdict_t prove_rule(trying_t &trying, const prove_rule_t &rule)
{
    prove_rule_verdict_t verdict;
    tried_rule_t tried;
    if (!find_rule(trying, rule, tried))
        return verdict;
    if (wins_at_once(trying, tried)) {
        verdict.outcome = PROVE_RULE_WINS;
        return verdict;
    }
    const bool is_alive = find_all_data(trying, tried, verdict.item);
    pdata_rule winner = 0;
    if (!is_alive && rule.items[verdict.item].has_known)
        verdict.outcome = PROVE_RULE_DEAD;
    if (!is_alive || !find_winner(trying, tried, winner))
        return verdict;
    verdict.outcome = PROVE_RULE_WINS;
    if (winner != 0)
        name_winner(trying, winner, verdict);
    return verdict;
}

} // namespace

std::vector<prove_rule_verdict_t> prove_rules(prove_catalog_t &catalog,
                                              std::span<const prove_rule_t> rules,
                                              const prove_progress_t &progress)
{
    std::vector<prove_rule_verdict_t> verdicts(rules.size());
    trying_t trying{catalog, prove_trial_begin(catalog, PROVE_RULE_WORK * (rules.size() + 1)),
                    std::vector<pdata_rule>(catalog.rules.size())};
    for (size_t i = 0; i < rules.size(); ++i) {
        if (trying.trial.left != 0)
            verdicts[i] = prove_rule(trying, rules[i]);
        if (trying.trial.left == 0)
            verdicts[i] = {};
        if (progress)
            progress(i + 1);
    }
    return verdicts;
}
