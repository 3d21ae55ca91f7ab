#include "runtime_model.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "expression_match.h"
#include "file_format.h"

namespace
{

/// What the engines found: for each private id the ends of its pieces, and public ids.
struct stream_hits_t {
    std::vector<std::vector<uint32_t>> ends; ///< by private index, in bytes of data
    std::vector<uint32_t> items;
};

/// The data of a value in one matcher.
struct stream_data_t {
    blob_span_t bytes;
    bool more = false;
    uint32_t min_data = 0; ///< of the matcher
};

/// Tells whether what has no minimum of its own counts yet.
bool has_begun(const stream_data_t &data)
{
    return !data.more || data.bytes.size() >= data.min_data;
}

bool counts(const pattern_hit_t &hit, const stream_data_t &data)
{
    return hit.mindata == file_format::PATTERN_MINDATA_NONE ? has_begun(data)
                                                            : data.bytes.size() >= hit.mindata;
}

/// Notes the hits of one engine. The suffix tree counts from the end: what it finds ends there.
bool note_hits(const std::vector<pattern_hit_t> &hits, const stream_data_t &data, bool suffixes,
               stream_hits_t &found, std::string &error)
{
    for (const pattern_hit_t &hit : hits) {
        const uint32_t index = hit.item_id & file_format::MATCHER_PRIVATE_INDEX;
        if (!counts(hit, data))
            continue;
        if (hit.item_id < file_format::MATCHER_PRIVATE_ID)
            found.items.push_back(hit.item_id);
        else if (index < found.ends.size())
            found.ends[index].push_back(suffixes ? static_cast<uint32_t>(data.bytes.size())
                                                 : hit.at);
        else
            return blob_fail(error, "no entry for private id " + std::to_string(hit.item_id));
    }
    return true;
}

/// Runs all engines of a stream matcher.
bool run_engines(const pattern_reader_t &pattern, const stream_data_t &data, stream_hits_t &found,
                 std::string &error)
{
    std::vector<pattern_hit_t> hits;
    std::vector<pattern_hit_t> prefixes;
    std::vector<pattern_hit_t> suffixes;
    if (!aho_corasick_reader_match(pattern.aho_corasick, data.bytes, hits, error) ||
        !aho_corasick_reader_match(pattern.ahoff_corasick, data.bytes, hits, error) ||
        !radix_tree_reader_match(pattern.prefix_tree, data.bytes, false, prefixes, error) ||
        !radix_tree_reader_match(pattern.suffix_tree, data.bytes, true, suffixes, error) ||
        (pattern.dot_prefix.rows.nr_row != 0 &&
         !dot_prefix_reader_match(pattern.dot_prefix, data.bytes, hits, error)))
        return false;
    if (data.more) {
        suffixes.clear();
        std::erase_if(prefixes, [&](const pattern_hit_t &hit) {
            return radix_tree_reader_is_exact(pattern.prefix_tree, hit.item_id);
        });
    }
    return note_hits(hits, data, false, found, error) &&
           note_hits(prefixes, data, false, found, error) &&
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
                   const stream_data_t &data, bool &matches, std::string &error)
{
    expression_t expression;
    const bool icase = (matcher.pattern.algo & file_format::PATTERN_ALGO_ICASE) != 0;
    if (!expression_open(entry.value, icase, expression, error))
        return false;
    matches = (!data.more || expression_is_open_ended(expression)) &&
              expression_match(expression, data.bytes);
    return true;
}

/// Returns how many entries from `first` on are the pieces of one permutation; 0 where they are
/// not those from the first to the last.
uint32_t count_pieces(const std::vector<loadable_entry_t> &entries, size_t first)
{
    const loadable_entry_t &head = entries[first];
    for (uint32_t i = 0; i < head.nb_pieces; ++i) {
        if (first + i >= entries.size())
            return 0;
        const loadable_entry_t &entry = entries[first + i];
        if (entry.pub_id != head.pub_id || entry.permutation != head.permutation ||
            entry.nb_pieces != head.nb_pieces || entry.position != i + 1)
            return 0;
    }
    return head.nb_pieces;
}

/// Resolves the pieces from entry `first` on; returns how many entries that were.
size_t resolve_pieces(const loadable_matcher_t &matcher, size_t first, stream_hits_t &found)
{
    const uint32_t nr = count_pieces(matcher.second_level, first);
    if (nr == 0)
        return 1;
    const auto begin = found.ends.begin() + static_cast<ptrdiff_t>(first);
    if (in_order(pieces_t(begin, begin + nr)))
        found.items.push_back(matcher.second_level[first].pub_id);
    return nr;
}

/// Resolves the private ids that were found, and tries the values without a literal.
bool resolve(const loadable_matcher_t &matcher, const stream_data_t &data, stream_hits_t &found,
             std::string &error)
{
    for (size_t i = 0; i < matcher.second_level.size();) {
        const loadable_entry_t &entry = matcher.second_level[i];
        if (entry.nb_pieces != 0) {
            i += resolve_pieces(matcher, i, found);
            continue;
        }
        bool matches = !found.ends[i].empty();
        const bool always = entry.kind == file_format::MATCHER_MAP_CATCH_ALL && has_begun(data);
        if (entry.has_value && (matches || always) &&
            !value_matches(matcher, entry, data, matches, error))
            return false;
        if (matches)
            found.items.push_back(entry.pub_id);
        ++i;
    }
    return true;
}

bool find_stream_items(const loadable_matcher_t &matcher, const flow_value_t &value,
                       std::vector<uint32_t> &items, std::string &error)
{
    const stream_data_t data = {
        {reinterpret_cast<const uint8_t *>(value.bytes.data()), value.bytes.size()},
        value.more,
        matcher.min_data};
    stream_hits_t found;
    found.ends.resize(matcher.second_level.size());
    if (!run_engines(matcher.pattern, data, found, error) || !resolve(matcher, data, found, error))
        return false;
    items.insert(items.end(), found.items.begin(), found.items.end());
    return true;
}

bool find_items(const loadable_matcher_t &matcher, const flow_value_t &value,
                std::vector<uint32_t> &items, std::string &error)
{
    if (matcher.type == file_format::MATCHER_TYPE_STREAM)
        return find_stream_items(matcher, value, items, error);
    const std::vector<uint32_t> found = number_reader_find(matcher.number, value.number);
    items.insert(items.end(), found.begin(), found.end());
    return true;
}

/// Tells whether a rule admits what was found in a value of `protocol`.
bool admits(const loadable_pdb_t &pdb, const loadable_slot_t &slot, const std::string &protocol)
{
    constexpr std::string_view words[] = {"all",   "http",       "ssl",  "stun",     "ip",
                                          "dns",   "sip",        "rtsp", "facebook", "quic",
                                          "http2", "http_proxy", "spdy"};
    if ((slot.scope & 1) != 0)
        return true;
    for (size_t bit = 1; bit < std::size(words); ++bit)
        if (words[bit] == protocol && (slot.scope >> bit & 1) != 0)
            return true;
    const std::vector<std::string_view> &bottoms = pdb.rules[slot.rule_id - 1].real_bottoms;
    return std::find(bottoms.begin(), bottoms.end(), protocol) != bottoms.end();
}

/// Tells whether a rule whose real bottom is `protocol` has an item in a matcher.
bool has_rule_of(const loadable_pdb_t &pdb, const loadable_matcher_t &matcher,
                 const std::string &protocol)
{
    std::vector<uint32_t> ids;
    std::string error;
    if (!loadable_matcher_ids(matcher, ids, error))
        return false;
    for (const loadable_entry_t &entry : matcher.second_level)
        ids.push_back(entry.pub_id);
    return std::any_of(ids.begin(), ids.end(), [&](uint32_t id) {
        if (id >= pdb.slots.size() || pdb.slots[id].rule_id == 0)
            return false;
        const auto &bottoms = pdb.rules[pdb.slots[id].rule_id - 1].real_bottoms;
        return std::find(bottoms.begin(), bottoms.end(), protocol) != bottoms.end();
    });
}

/// Tells whether an alias leads a value to a matcher: by its name, or because the sub-rules that
/// the alias applied to moved to the matcher's protocol whole.
bool leads_to(const loadable_pdb_t &pdb, const flow_value_t &value,
              const loadable_matcher_t &matcher)
{
    bool moves = false;
    bool named = false; // some attribute of the value's protocol has the matcher by its name
    for (const loadable_alias_t &alias : pdb.alias_table) {
        if (alias.alias.protocol != value.protocol || alias.reference.protocol != matcher.protocol)
            continue;
        moves = moves || alias.reference.protocol != value.protocol;
        if (alias.reference.attribute != matcher.attribute)
            continue;
        for (const uint32_t way : {ATTR_WAY_CTS, ATTR_WAY_STC}) {
            const uint32_t to = alias.reference.way == ATTR_WAY_BOTH ? way : alias.reference.way;
            if ((alias.alias.way & way) == 0 || to != matcher.way)
                continue;
            named = true;
            if (alias.alias.attribute == value.attribute && way == value.way)
                return true;
        }
    }
    return moves && !named && matcher.attribute == value.attribute && matcher.way == value.way &&
           has_rule_of(pdb, matcher, value.protocol);
}

/// The protocols of a flow, as far as it says that it has any.
struct flow_protocols_t {
    bool said = false;
    std::set<std::string_view> names;
};

flow_protocols_t protocols_of(const loadable_pdb_t &pdb, std::span<const flow_value_t> flow)
{
    flow_protocols_t protocols;
    for (const flow_value_t &value : flow) {
        protocols.said = protocols.said || value.attribute.empty();
        if (value.attribute.empty() || runtime_has_attribute(pdb, value))
            protocols.names.insert(value.protocol);
    }
    return protocols;
}

/// Tells whether a rule has an item in a matcher of `protocol`.
bool tests_protocol(const loadable_pdb_t &pdb, uint32_t rule_id, std::string_view protocol)
{
    return std::any_of(pdb.matchers.begin(), pdb.matchers.end(), [&](const auto &matcher) {
        std::vector<uint32_t> ids;
        std::string error;
        if (matcher.protocol != protocol || !loadable_matcher_ids(matcher, ids, error))
            return false;
        for (const loadable_entry_t &entry : matcher.second_level)
            ids.push_back(entry.pub_id);
        return std::any_of(ids.begin(), ids.end(), [&](uint32_t id) {
            return id < pdb.slots.size() && pdb.slots[id].rule_id == rule_id;
        });
    });
}

/// Tells whether the flow has the protocols that a rule asks for without testing them.
bool has_bottoms(const loadable_pdb_t &pdb, uint32_t rule_id, const flow_protocols_t &protocols)
{
    const loadable_rule_t &rule = pdb.rules[rule_id - 1];
    if (!protocols.said || rule.bottoms.size() < 2 || rule.real_bottoms.size() < 2)
        return true;
    for (size_t i = 0; i < 2; ++i)
        if (protocols.names.count(rule.real_bottoms[i]) == 0 &&
            !tests_protocol(pdb, rule_id, rule.bottoms[i]))
            return false;
    return true;
}

/// Sets the bits of the items and collects the rules that have all of theirs.
void gather_rules(const loadable_pdb_t &pdb, const flow_protocols_t &protocols,
                  runtime_result_t &result)
{
    std::vector<uint32_t> bits(pdb.rules.size() + 1);
    for (const uint32_t item : result.items) {
        const loadable_slot_t &slot = pdb.slots[item];
        uint32_t &set = bits[slot.rule_id];
        const bool was_full = set == slot.bitset_full;
        set |= 1U << (slot.bitset_pos & 31);
        if (set == slot.bitset_full && !was_full && has_bottoms(pdb, slot.rule_id, protocols))
            result.matches.push_back(
                {slot.rule_id, slot.priority, slot.flags, &pdb.rules[slot.rule_id - 1]});
    }
    std::sort(result.matches.begin(), result.matches.end(),
              [](const runtime_match_t &a, const runtime_match_t &b) {
                  return a.priority != b.priority ? a.priority < b.priority : a.rule_id < b.rule_id;
              });
}

bool is_led_to(const loadable_pdb_t &pdb, const flow_value_t &value,
               const loadable_matcher_t &matcher)
{
    return (matcher.protocol == value.protocol && matcher.attribute == value.attribute &&
            matcher.way == value.way) ||
           leads_to(pdb, value, matcher);
}

} // namespace

bool runtime_has_attribute(const loadable_pdb_t &pdb, const flow_value_t &value)
{
    return std::any_of(pdb.matchers.begin(), pdb.matchers.end(),
                       [&](const auto &matcher) { return is_led_to(pdb, value, matcher); });
}

bool runtime_find_items(const loadable_pdb_t &pdb, const flow_value_t &value,
                        std::vector<uint32_t> &items, std::string &error)
{
    std::vector<uint32_t> found;
    for (const loadable_matcher_t &matcher : pdb.matchers)
        if (is_led_to(pdb, value, matcher) && !find_items(matcher, value, found, error))
            return false;
    for (const uint32_t item : found)
        if (item < pdb.slots.size() && pdb.slots[item].rule_id != 0 &&
            pdb.slots[item].rule_id <= pdb.rules.size() &&
            admits(pdb, pdb.slots[item], value.protocol))
            items.push_back(item);
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
    gather_rules(pdb, protocols_of(pdb, flow), result);
    return true;
}

std::string_view runtime_protocol(const loadable_rule_t &rule)
{
    return rule.path.empty() ? std::string_view() : rule.path.back();
}
