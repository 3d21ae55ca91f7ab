#include "naive_build.h"

#include <algorithm>
#include <sstream>

#include "pdb_attr_properties.h"

namespace
{

/// A value filed in a list.
struct filed_value {
    size_t protocol;
    size_t rule;
    size_t sub_rule;
    std::string text;
    size_t twin; ///< what the two filings of one value share; 0 for a value of one direction
};

struct filed_list {
    naive_matcher matcher;
    std::vector<filed_value> values; ///< newest first
};

/// The items of a rule, in the order of registration.
struct rule_items {
    size_t protocol;
    size_t rule;
    std::vector<uint32_t> items;
    std::vector<size_t> sub_rules;
    bool referer = false;
    uint32_t length = 0;
};

struct builder {
    const std::vector<protocol_model> &protocols;
    std::vector<filed_list> lists;               ///< newest first
    std::vector<std::vector<rule_items>> chains; ///< 1024, each newest first
    std::map<size_t, uint32_t> twin_items;
    uint32_t next_item = 1;
    size_t next_twin = 1;
};

void file_one(builder &build, const naive_matcher &name, const filed_value &value)
{
    const auto found =
        std::find_if(build.lists.begin(), build.lists.end(), [&](const filed_list &list) {
            return list.matcher.protocol == name.protocol &&
                   list.matcher.attribute == name.attribute && list.matcher.way == name.way;
        });
    const bool is_new = found == build.lists.end();
    auto list = is_new ? build.lists.insert(build.lists.begin(), {name, {}}) : found;
    list->matcher.min_data = std::max(list->matcher.min_data, name.min_data);
    list->values.insert(list->values.begin(), value);
}

void file_attr(builder &build, const sub_rule_model &sub_rule, const attr_model &attr,
               filed_value value)
{
    uint32_t min_data = attr.way == ATTR_WAY_CTS ? sub_rule.cts_mindata : sub_rule.stc_mindata;
    if (min_data == 65536)
        min_data = 0;
    for (const auto &[text, offset] : attr.values) {
        value.text = text;
        value.twin = attr.way == ATTR_WAY_BOTH ? build.next_twin++ : 0;
        for (const uint32_t way : {1U, 2U})
            if (attr.way == way || attr.way == ATTR_WAY_BOTH)
                file_one(build, {sub_rule.protocol, attr.name, way, min_data, {}}, value);
    }
}

void file_all(builder &build)
{
    for (size_t p = 0; p < build.protocols.size(); ++p)
        for (size_t r = 0; r < build.protocols[p].rules.size(); ++r)
            for (size_t s = 0; s < build.protocols[p].rules[r].sub_rules.size(); ++s) {
                const sub_rule_model &sub_rule = build.protocols[p].rules[r].sub_rules[s];
                for (const attr_model &attr : sub_rule.attrs)
                    file_attr(build, sub_rule, attr, {p, r, s, "", 0});
            }
}

/// Pieces between commas that are not empty.
size_t count_pieces(const std::string &text)
{
    std::istringstream stream(text);
    std::string piece;
    size_t count = 0;
    while (std::getline(stream, piece, ','))
        count += piece.empty() ? 0 : 1;
    return count;
}

void add_item(builder &build, const filed_list &list, const filed_value &value, bool stream)
{
    const auto hash = static_cast<uint32_t>(value.protocol * 4 + value.rule);
    std::vector<rule_items> &chain = build.chains[hash % 1024];
    auto rule = std::find_if(chain.begin(), chain.end(), [&](const rule_items &one) {
        return one.protocol == value.protocol && one.rule == value.rule;
    });
    if (rule == chain.end())
        rule = chain.insert(chain.begin(), {value.protocol, value.rule, {}, {}, false, 0});
    rule->items.push_back(build.next_item);
    rule->sub_rules.push_back(value.sub_rule);
    rule->referer = rule->referer || list.matcher.attribute.rfind("referer", 0) == 0;
    rule->length += stream ? static_cast<uint32_t>(value.text.size()) : 0;
}

/// Registers a value: which items its matcher gets, and its rule.
void register_value(builder &build, filed_list &list, const filed_value &value)
{
    const bool stream =
        pdb_matcher_get_type(csa_str(list.matcher.protocol), csa_str(list.matcher.attribute)) ==
        MATCHER_TYPE_STREAM;
    const size_t pieces = count_pieces(value.text);
    const auto twin = build.twin_items.find(value.twin);
    if (pieces == 0)
        return;
    if (twin != build.twin_items.end()) {
        list.matcher.items.insert(twin->second);
        return;
    }
    for (size_t i = 0; i < (stream ? pieces : 1); ++i) {
        if (value.twin != 0)
            build.twin_items.try_emplace(value.twin, build.next_item);
        add_item(build, list, value, stream);
        list.matcher.items.insert(build.next_item++);
    }
}

loadable_slot_t slot_of(const rule_items &items, const rule_model &rule, uint32_t rule_id)
{
    loadable_slot_t slot;
    const auto count = static_cast<uint32_t>(items.items.size());
    const uint32_t order = rule.order & 0xFFFFFF;
    slot.rule_id = rule_id;
    slot.flags = (rule.params <= 7 ? rule.params : 0) + (rule.fastpass != 0 ? 8 : 0);
    slot.priority =
        (rule.order >> 24 << 24) + (order != 0 ? order : 16777215 - (count * 4000 + items.length));
    slot.scope = rule.scope;
    slot.bitset_full = (1U << count) - 1;
    slot.referer = count > 1 && items.referer;
    return slot;
}

void build_rules(const builder &build, naive_build_t &out)
{
    out.slots.resize(build.next_item);
    for (const std::vector<rule_items> &chain : build.chains) {
        for (const rule_items &items : chain) {
            const protocol_model &protocol = build.protocols[items.protocol];
            out.rules.push_back(protocol.rules[items.rule]);
            out.names.push_back(protocol.name);
            loadable_slot_t slot =
                slot_of(items, out.rules.back(), static_cast<uint32_t>(out.rules.size()));
            for (const size_t sub_rule : {size_t{0}, size_t{1}})
                for (size_t i = 0; i < items.items.size(); ++i)
                    if (items.sub_rules[i] == sub_rule) {
                        out.slots[items.items[i]] = slot;
                        ++slot.bitset_pos;
                    }
        }
    }
    if (build.next_item == 1)
        out.slots.clear();
}

/// Builds the text of a difference.
struct difference_t {
    std::ostringstream text;

    template <typename Value>
    void compare(const std::string &what, const Value &found, const Value &expected)
    {
        if (found != expected)
            text << what << ": " << show(found) << " instead of " << show(expected) << "\n";
    }
    static std::string show(uint64_t number) { return std::to_string(number); }
    static std::string show(const std::string &one) { return one; }
    static std::string show(const std::vector<std::string> &list)
    {
        std::string all;
        for (const std::string &one : list)
            all.append(one).append(" ");
        return all;
    }
    static std::string show(const std::vector<uint32_t> &numbers)
    {
        std::string all;
        for (const uint32_t number : numbers)
            all.append(std::to_string(number)).append(" ");
        return all;
    }
    static std::string show(const std::set<uint32_t> &numbers)
    {
        return show(std::vector<uint32_t>(numbers.begin(), numbers.end()));
    }
};

std::vector<std::string> strings_of(const std::vector<std::string_view> &views)
{
    return {views.begin(), views.end()};
}

void compare_slot(difference_t &difference, const std::string &what, const loadable_slot_t &found,
                  const loadable_slot_t &expected)
{
    difference.compare(what + " rule", found.rule_id, expected.rule_id);
    difference.compare(what + " flags", found.flags, expected.flags);
    difference.compare(what + " priority", found.priority, expected.priority);
    difference.compare(what + " scope", found.scope, expected.scope);
    difference.compare(what + " bits", found.bitset_full, expected.bitset_full);
    difference.compare(what + " bit", found.bitset_pos, expected.bitset_pos);
    difference.compare(what + " referer", uint32_t{found.referer}, uint32_t{expected.referer});
}

void compare_rule(difference_t &difference, const std::string &what, const loadable_rule_t &found,
                  const rule_model &expected, const std::string &name,
                  const std::map<std::string, uint32_t> &tags)
{
    std::vector<std::string> bottoms;
    std::vector<std::string> real_bottoms;
    for (size_t i = std::min<size_t>(expected.sub_rules.size(), 2); i-- > 0;) {
        bottoms.push_back(expected.sub_rules[i].protocol);
        real_bottoms.push_back(expected.sub_rules[i].bottom_protocol);
    }
    std::vector<uint32_t> numbers;
    for (const std::string &tag : expected.tags)
        numbers.push_back(tags.at(tag));
    difference.compare(what + " path", strings_of(found.path),
                       expected.path.empty() ? std::vector<std::string>{name} : expected.path);
    difference.compare(what + " bottoms", strings_of(found.bottoms), bottoms);
    difference.compare(what + " real bottoms", strings_of(found.real_bottoms), real_bottoms);
    difference.compare(what + " vid", found.vid.value_or(0xFFFFFFFF), expected.vid);
    difference.compare(what + " tags", found.tags, numbers);
}

void compare_matcher(difference_t &difference, const loadable_matcher_t &found,
                     const naive_matcher &expected)
{
    const std::string what = expected.protocol + ":" + expected.attribute;
    difference.compare(what + " protocol", std::string(found.protocol), expected.protocol);
    difference.compare(what + " attribute", std::string(found.attribute), expected.attribute);
    difference.compare(what + " way", found.way, expected.way);
    difference.compare(what + " min_data", found.min_data, expected.min_data);
    std::vector<uint32_t> ids;
    std::string error;
    std::set<uint32_t> items;
    if (!loadable_matcher_ids(found, ids, error))
        difference.text << what << ": " << error << "\n";
    for (const uint32_t id : ids)
        items.insert(
            id < MATCHER_PRIVATE_ID ? id : found.second_level.at(id - MATCHER_PRIVATE_ID).pub_id);
    for (const loadable_entry_t &entry : found.second_level)
        items.insert(entry.pub_id);
    difference.compare(what + " items", items, expected.items);
}

} // namespace

naive_build_t naive_build(const std::vector<protocol_model> &protocols)
{
    builder build{protocols, {}, std::vector<std::vector<rule_items>>(1024), {}, 1, 1};
    naive_build_t out;
    file_all(build);
    for (filed_list &list : build.lists) {
        for (const filed_value &value : list.values)
            register_value(build, list, value);
        out.matchers.push_back(list.matcher);
    }
    build_rules(build, out);
    return out;
}

std::string naive_compare(const loadable_pdb_t &pdb, const std::vector<protocol_model> &protocols,
                          const std::map<std::string, uint32_t> &tags)
{
    const naive_build_t expected = naive_build(protocols);
    difference_t difference;
    difference.compare("matchers", pdb.matchers.size(), expected.matchers.size());
    difference.compare("slots", pdb.slots.size(), expected.slots.size());
    difference.compare("rules", pdb.rules.size(), expected.rules.size());
    if (!difference.text.str().empty())
        return difference.text.str();
    for (size_t i = 0; i < pdb.matchers.size(); ++i)
        compare_matcher(difference, pdb.matchers[i], expected.matchers[i]);
    for (size_t i = 0; i < pdb.slots.size(); ++i)
        compare_slot(difference, "item " + std::to_string(i), pdb.slots[i], expected.slots[i]);
    for (size_t i = 0; i < pdb.rules.size(); ++i)
        compare_rule(difference, "rule " + std::to_string(i + 1), pdb.rules[i], expected.rules[i],
                     expected.names[i], tags);
    return difference.text.str();
}
