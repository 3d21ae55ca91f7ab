#include "runtime_model.h"

#include <algorithm>
#include <map>

#include "expression_match.h"
#include "pattern_types.h"

namespace
{

/// What the engines found: for each private id the ends of its pieces, and public ids.
struct stream_hits_t {
    std::vector<std::vector<uint32_t>> ends; ///< by private index, in bytes of data
    std::vector<uint32_t> items;
};

bool counts(const pattern_hit_t &hit, blob_span_t data)
{
    return hit.mindata == PATTERN_MINDATA_NONE || data.size() >= hit.mindata;
}

/// Notes the hits of one engine. The suffix tree counts from the end: what it finds ends there.
bool note_hits(const std::vector<pattern_hit_t> &hits, blob_span_t data, bool suffixes,
               stream_hits_t &found, std::string &error)
{
    for (const pattern_hit_t &hit : hits) {
        const uint32_t index = hit.item_id & MATCHER_PRIVATE_INDEX;
        if (!counts(hit, data))
            continue;
        if (hit.item_id < MATCHER_PRIVATE_ID)
            found.items.push_back(hit.item_id);
        else if (index < found.ends.size())
            found.ends[index].push_back(suffixes ? static_cast<uint32_t>(data.size()) : hit.at);
        else
            return blob_fail(error, "no entry for private id " + std::to_string(hit.item_id));
    }
    return true;
}

/// Runs all engines of a stream matcher.
bool run_engines(const pattern_reader_t &pattern, blob_span_t data, stream_hits_t &found,
                 std::string &error)
{
    std::vector<pattern_hit_t> hits;
    std::vector<pattern_hit_t> suffixes;
    return aho_corasick_reader_match(pattern.aho_corasick, data, hits, error) &&
           aho_corasick_reader_match(pattern.ahoff_corasick, data, hits, error) &&
           radix_tree_reader_match(pattern.prefix_tree, data, false, hits, error) &&
           radix_tree_reader_match(pattern.suffix_tree, data, true, suffixes, error) &&
           (pattern.dot_prefix.rows.nr_row == 0 ||
            dot_prefix_reader_match(pattern.dot_prefix, data, hits, error)) &&
           note_hits(hits, data, false, found, error) &&
           note_hits(suffixes, data, true, found, error);
}

/// The pieces of one permutation: per position, from 1, the ends that were found.
using pieces_t = std::vector<std::vector<uint32_t>>;

/// Tells whether every piece was found, each ending behind the one before it.
bool in_order(const pieces_t &pieces)
{
    uint32_t before = 0;
    for (const std::vector<uint32_t> &ends : pieces) {
        uint32_t next = UINT32_MAX;
        for (const uint32_t end : ends)
            if (end > before)
                next = std::min(next, end);
        if (next == UINT32_MAX)
            return false;
        before = next;
    }
    return true;
}

/// Tells whether the complete value of an entry matches the data.
bool value_matches(const loadable_matcher_t &matcher, const loadable_entry_t &entry,
                   blob_span_t data, bool &matches, std::string &error)
{
    expression_t expression;
    const bool icase = (matcher.pattern.algo & PATTERN_ALGO_ICASE) != 0;
    if (!expression_open(entry.value, icase, expression, error))
        return false;
    matches = expression_match(expression, data);
    return true;
}

/// Resolves the private ids that were found, and tries the values without a literal.
bool resolve(const loadable_matcher_t &matcher, blob_span_t data, stream_hits_t &found,
             std::string &error)
{
    std::map<std::pair<uint32_t, uint32_t>, pieces_t> permutations; // by item and number
    for (size_t i = 0; i < matcher.second_level.size(); ++i) {
        const loadable_entry_t &entry = matcher.second_level[i];
        bool matches = !found.ends[i].empty();
        if (entry.nb_pieces != 0) {
            pieces_t &pieces = permutations[{entry.pub_id, entry.permutation}];
            pieces.resize(std::max<size_t>(pieces.size(), entry.nb_pieces));
            if (entry.position != 0 && entry.position <= pieces.size())
                pieces[entry.position - 1] = found.ends[i];
            continue;
        }
        if (entry.has_value && (matches || entry.kind == MATCHER_MAP_CATCH_ALL) &&
            !value_matches(matcher, entry, data, matches, error))
            return false;
        if (matches)
            found.items.push_back(entry.pub_id);
    }
    for (const auto &[key, pieces] : permutations)
        if (in_order(pieces))
            found.items.push_back(key.first);
    return true;
}

bool find_stream_items(const loadable_matcher_t &matcher, const std::string &bytes,
                       std::vector<uint32_t> &items, std::string &error)
{
    const blob_span_t data(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    stream_hits_t found;
    found.ends.resize(matcher.second_level.size());
    if (!run_engines(matcher.pattern, data, found, error) || !resolve(matcher, data, found, error))
        return false;
    items.insert(items.end(), found.items.begin(), found.items.end());
    return true;
}

/// Sets the bits of the items and collects the rules that have all of theirs.
void gather_rules(const loadable_pdb_t &pdb, runtime_result_t &result)
{
    std::vector<uint32_t> bits(pdb.rules.size() + 1);
    for (const uint32_t item : result.items) {
        if (item >= pdb.slots.size())
            continue;
        const loadable_slot_t &slot = pdb.slots[item];
        if (slot.rule_id == 0 || slot.rule_id >= bits.size())
            continue;
        uint32_t &set = bits[slot.rule_id];
        const bool was_full = set == slot.bitset_full;
        set |= 1U << (slot.bitset_pos & 31);
        if (set == slot.bitset_full && !was_full)
            result.matches.push_back(
                {slot.rule_id, slot.priority, slot.flags, &pdb.rules[slot.rule_id - 1]});
    }
    std::sort(result.matches.begin(), result.matches.end(),
              [](const runtime_match_t &a, const runtime_match_t &b) {
                  return a.priority != b.priority ? a.priority < b.priority : a.rule_id < b.rule_id;
              });
}

} // namespace

bool runtime_find_items(const loadable_pdb_t &pdb, const flow_value_t &value,
                        std::vector<uint32_t> &items, std::string &error)
{
    const loadable_matcher_t *matcher =
        loadable_find_matcher(pdb, value.protocol, value.attribute, value.way);
    if (matcher == nullptr)
        return true;
    if (matcher->type == MATCHER_TYPE_STREAM)
        return find_stream_items(*matcher, value.bytes, items, error);
    const std::vector<uint32_t> found = number_reader_find(matcher->number, value.number);
    items.insert(items.end(), found.begin(), found.end());
    return true;
}

bool runtime_classify(const loadable_pdb_t &pdb, std::span<const flow_value_t> flow,
                      runtime_result_t &result, std::string &error)
{
    result = {};
    for (const flow_value_t &value : flow)
        if (!runtime_find_items(pdb, value, result.items, error))
            return false;
    std::sort(result.items.begin(), result.items.end());
    result.items.erase(std::unique(result.items.begin(), result.items.end()), result.items.end());
    gather_rules(pdb, result);
    return true;
}

std::string_view runtime_protocol(const loadable_rule_t &rule)
{
    return rule.path.empty() ? std::string_view() : rule.path.back();
}
