#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include "file_format.h"
#include "loadable_reader.h"

namespace
{

std::string name_of(const loadable_matcher_t &matcher)
{
    return std::string(matcher.protocol) + ":" + std::string(matcher.attribute) +
           (matcher.way == ATTR_WAY_CTS ? " cts" : " stc");
}

bool within(const loadable_matcher_t &matcher, std::string &error)
{
    return blob_fail(error, name_of(matcher) + ": " + error);
}

std::string item_text(uint32_t id)
{
    return "item " + std::to_string(id);
}

/// The items that a check has met, and where.
struct item_log_t {
    const loadable_pdb_t &pdb;
    loadable_origin_t origin;
    std::vector<const loadable_matcher_t *> first; ///< by item id: the first matcher that has it
};

bool same_rule(const loadable_slot_t &a, const loadable_slot_t &b)
{
    return a.flags == b.flags && a.priority == b.priority && a.scope == b.scope &&
           a.bitset_full == b.bitset_full && a.referer == b.referer;
}

/// What the slots of one rule add up to.
struct rule_sum_t {
    const loadable_slot_t *first = nullptr;
    uint32_t bits = 0;
    uint32_t nr_item = 0;
};

bool add_slot(const loadable_slot_t &slot, rule_sum_t &sum, std::string &error)
{
    if (sum.first == nullptr)
        sum.first = &slot;
    if (!same_rule(*sum.first, slot))
        return blob_fail(error, "its rule differs from slot to slot");
    if (slot.bitset_pos >= file_format::RULE_MAX_ITEM || (sum.bits >> slot.bitset_pos & 1) != 0)
        return blob_fail(error, "bit " + std::to_string(slot.bitset_pos) + " is not its own");
    sum.bits |= 1U << slot.bitset_pos;
    ++sum.nr_item;
    return true;
}

bool check_rule(const rule_sum_t &sum, loadable_origin_t origin, std::string &error)
{
    if (sum.first == nullptr)
        return origin == LOADABLE_FOREIGN || blob_fail(error, "has no item");
    if (sum.bits != (1U << sum.nr_item) - 1 || sum.bits != sum.first->bitset_full)
        return blob_fail(error, "its bits are not those of its items");
    return !sum.first->referer || sum.nr_item > 1 || origin == LOADABLE_FOREIGN ||
           blob_fail(error, "a lone item is marked as a referer");
}

bool check_slots(const loadable_pdb_t &pdb, loadable_origin_t origin, std::string &error)
{
    std::vector<rule_sum_t> sums(pdb.rules.size() + 1);
    for (uint32_t id = 0; id < pdb.slots.size(); ++id) {
        const loadable_slot_t &slot = pdb.slots[id];
        if (slot.rule_id == 0)
            continue;
        if (id == 0 || slot.rule_id >= sums.size())
            return blob_fail(error,
                             item_text(id) + " belongs to rule " + std::to_string(slot.rule_id));
        if (!add_slot(slot, sums[slot.rule_id], error))
            return blob_fail(error, item_text(id) + ": " + error);
    }
    for (size_t id = 1; id < sums.size(); ++id)
        if (!check_rule(sums[id], origin, error))
            return blob_fail(error, "rule " + std::to_string(id) + ": " + error);
    return true;
}

/// Checks a public id and notes that `matcher` has it. An item stands in the matchers of one
/// attribute.
bool meet_item(item_log_t &log, const loadable_matcher_t &matcher, uint32_t id, std::string &error)
{
    const bool owned = id < log.pdb.slots.size() && log.pdb.slots[id].rule_id != 0;
    if (id == 0 || id >= file_format::MATCHER_PRIVATE_ID || (!owned && log.origin == LOADABLE_OWN))
        return blob_fail(error, item_text(id) + " belongs to no rule");
    if (!owned)
        return true;
    const loadable_matcher_t *&first = log.first[id];
    if (first == nullptr)
        first = &matcher;
    return (first->protocol == matcher.protocol && first->attribute == matcher.attribute) ||
           blob_fail(error, item_text(id) + " also stands in " + name_of(*first));
}

/// Checks that each position of each permutation occurs equally often. A value of so many pieces
/// that their numbers are cut cannot be checked.
bool check_pieces(const std::vector<loadable_entry_t> &entries, std::string &error)
{
    constexpr uint32_t cut = 256;
    std::map<uint32_t, uint32_t> entries_of;
    std::map<std::tuple<uint32_t, uint32_t, uint32_t>, std::map<uint32_t, uint32_t>> groups;
    for (const loadable_entry_t &entry : entries) {
        ++entries_of[entry.pub_id];
        if (entry.permutation != 0 || entry.position != 0 || entry.nb_pieces != 0)
            ++groups[{entry.pub_id, entry.permutation, entry.nb_pieces}][entry.position];
    }
    for (const auto &[key, positions] : groups) {
        const auto [pub_id, permutation, nb_pieces] = key;
        if (entries_of[pub_id] >= cut)
            continue;
        const uint32_t times = positions.begin()->second;
        const bool equal = std::all_of(positions.begin(), positions.end(),
                                       [&](const auto &one) { return one.second == times; });
        if (!equal || permutation == 0 || nb_pieces < 2 || positions.size() != nb_pieces ||
            positions.begin()->first != 1 || positions.rbegin()->first != nb_pieces)
            return blob_fail(error, "pieces of permutation " + std::to_string(permutation) +
                                        " of " + item_text(pub_id));
    }
    return true;
}

/// Checks the ids of a stream matcher against its second level.
bool check_stream(item_log_t &log, const loadable_matcher_t &matcher,
                  const std::vector<uint32_t> &ids, std::string &error)
{
    const std::vector<loadable_entry_t> &entries = matcher.second_level;
    std::vector<bool> found(entries.size());
    for (const uint32_t id : ids) {
        const uint32_t index = id & file_format::MATCHER_PRIVATE_INDEX;
        if (id < file_format::MATCHER_PRIVATE_ID) {
            if (!meet_item(log, matcher, id, error))
                return false;
            continue;
        }
        if (index != id - file_format::MATCHER_PRIVATE_ID || index >= entries.size())
            return blob_fail(error, "no entry for private id " + std::to_string(id));
        if (entries[index].kind == file_format::MATCHER_MAP_CATCH_ALL)
            return blob_fail(error, "an engine finds catch-all entry " + std::to_string(index));
        found[index] = true;
    }
    for (size_t i = 0; i < entries.size(); ++i) {
        if (!meet_item(log, matcher, entries[i].pub_id, error))
            return blob_fail(error, "second-level entry " + std::to_string(i) + ": " + error);
        if (!found[i] && entries[i].kind != file_format::MATCHER_MAP_CATCH_ALL)
            return blob_fail(error, "no engine finds entry " + std::to_string(i));
    }
    return check_pieces(entries, error);
}

bool check_matcher(item_log_t &log, const loadable_matcher_t &matcher, std::string &error)
{
    std::vector<uint32_t> ids;
    if (!loadable_matcher_ids(matcher, ids, error))
        return false;
    if (matcher.type == file_format::MATCHER_TYPE_STREAM)
        return check_stream(log, matcher, ids, error);
    return std::all_of(ids.begin(), ids.end(),
                       [&](uint32_t id) { return meet_item(log, matcher, id, error); });
}

bool check_matchers(item_log_t &log, std::string &error)
{
    std::set<std::tuple<std::string_view, std::string_view, uint32_t>> names;
    for (const loadable_matcher_t &matcher : log.pdb.matchers) {
        if (!names.emplace(matcher.protocol, matcher.attribute, matcher.way).second)
            return blob_fail(error, name_of(matcher) + ": there is another one");
        if (!check_matcher(log, matcher, error))
            return within(matcher, error);
    }
    return true;
}

bool check_tags(const loadable_pdb_t &pdb, std::string &error)
{
    std::set<uint32_t> values;
    for (const loadable_tag_t &tag : pdb.tag_table)
        values.insert(tag.value);
    for (size_t i = 0; i < pdb.rules.size(); ++i)
        for (const uint32_t tag : pdb.rules[i].tags)
            if (values.count(tag) == 0)
                return blob_fail(error, "rule " + std::to_string(i + 1) + ": tag " +
                                            std::to_string(tag) + " is not in the tag table");
    return true;
}

} // namespace

bool loadable_check(const loadable_pdb_t &pdb, loadable_origin_t origin, std::string &error)
{
    item_log_t log{pdb, origin, {}};
    log.first.resize(pdb.slots.size());
    if (!check_slots(pdb, origin, error) || !check_matchers(log, error) || !check_tags(pdb, error))
        return false;
    for (uint32_t id = 0; id < pdb.slots.size(); ++id)
        if (pdb.slots[id].rule_id != 0 && log.first[id] == nullptr)
            return blob_fail(error, item_text(id) + " stands in no matcher");
    return true;
}
