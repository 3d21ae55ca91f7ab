#include <algorithm>
#include <map>
#include <tuple>

#include "match_database.h"
#include "view_description.h"

// Which rules are preempts stands in the descriptions alone, and rule ids say nothing of where a
// rule stands there: they follow the chains of the compiler's rule table. The way there is gone
// once more: values are filed by protocol, attribute and direction, the matchers take their values
// newest first, and the first value of a rule puts the rule in front of its chain.

namespace
{

constexpr uint32_t NR_CHAIN = 1024;

/// A rule of the descriptions.
struct described_t {
    uint32_t protocol = 0; ///< index
    uint32_t rule = 0;     ///< index in the protocol
    bool preempt = false;
    bool seen = false; ///< a value of it has been registered
};

/// The descriptions on the way through the compiler.
struct filing_t {
    using key_t = std::tuple<std::string_view, std::string_view, uint32_t>;

    const pdata_db &db;
    view_pool_t strings = {};
    std::map<key_t, uint32_t> matcher_of = {};      ///< by key: index of the matcher
    std::vector<described_t> rules = {};            ///< in the order of the descriptions
    std::vector<std::vector<uint32_t>> values = {}; ///< by matcher: rules of its values
    bool any_preempt = false;
};

bool find_group(const pdata_db &db, view_area_t &protocols, view_pool_t &strings)
{
    view_record_t group;
    view_record_t record;
    if (!view_find(pdb_view_root(db.view, TLV_TYPE_ROOT_PROTODESCS), TLV_TYPE_PROTOGROUP, group) ||
        !view_find(group.value, TLV_TYPE_PROTOGROUP_STRING, record))
        return false;
    strings = {record.value};
    if (!view_find(group.value, TLV_TYPE_PROTOGROUP_PROTOS, record))
        return false;
    protocols = record.value;
    return true;
}

/// Files one value for a direction.
void file_value(filing_t &filing, const filing_t::key_t &key)
{
    const auto found = filing.matcher_of.find(key);
    if (found != filing.matcher_of.end())
        filing.values[found->second].push_back(static_cast<uint32_t>(filing.rules.size() - 1));
}

/// A value of commas alone is none.
bool is_value(const view_pool_t &strings, uint32_t offset)
{
    std::string_view text;
    return view_pool_get(strings, offset, text) && text.find_first_not_of(',') != text.npos;
}

void file_attribute(filing_t &filing, std::string_view protocol, const view_attribute_t &attribute)
{
    std::string_view name;
    (void)view_pool_get(filing.strings, attribute.name, name);
    for (size_t i = 0; i < view_words(attribute.values); ++i) {
        if (!is_value(filing.strings, view_word(attribute.values, i)))
            continue;
        if ((attribute.way_proto & TLV_TYPE_PROTO_ATTR_WAY_CTS) != 0)
            file_value(filing, {protocol, name, ATTR_WAY_CTS});
        if ((attribute.way_proto & TLV_TYPE_PROTO_ATTR_WAY_STC) != 0)
            file_value(filing, {protocol, name, ATTR_WAY_STC});
    }
}

bool file_rule(filing_t &filing, const view_rule_t &rule, view_error_t &error)
{
    for (uint32_t s = 0; s < view_list_count(rule.sub_rules); ++s) {
        view_sub_rule_t sub_rule;
        if (!view_sub_rule_at(rule, s, sub_rule, error))
            return false;
        std::string_view protocol;
        (void)view_pool_get(filing.strings, sub_rule.protocol, protocol);
        for (uint32_t a = 0; a < view_list_count(sub_rule.attributes); ++a) {
            view_attribute_t attribute;
            if (!view_attribute_at(sub_rule, a, attribute, error))
                return false;
            file_attribute(filing, protocol, attribute);
        }
    }
    return true;
}

bool file_protocol(filing_t &filing, uint32_t index, const view_area_t &value)
{
    view_error_t error;
    view_protocol_t protocol;
    if (!view_protocol_open(value, protocol, error))
        return false;
    for (uint32_t r = 0; r < view_list_count(protocol.rules); ++r) {
        view_rule_t rule;
        if (!view_rule_at(protocol, r, rule, error))
            return false;
        filing.rules.push_back({index, r, rule.preempt != 0});
        filing.any_preempt = filing.any_preempt || rule.preempt != 0;
        if (!file_rule(filing, rule, error))
            return false;
    }
    return true;
}

bool file_all(filing_t &filing)
{
    view_area_t protocols;
    if (!find_group(filing.db, protocols, filing.strings))
        return false;
    filing.values.resize(filing.db.matchers.size());
    for (uint32_t i = 0; i < filing.db.matchers.size(); ++i) {
        const view_matcher_t &view = filing.db.matchers[i].view;
        filing.matcher_of.emplace(filing_t::key_t(view.protocol, view.attribute, view.way), i);
    }
    uint32_t index = 0;
    view_record_t record;
    for (view_cursor_t cursor = view_walk(protocols); view_next(cursor, record);)
        if (record.type == TLV_TYPE_PROTO && !file_protocol(filing, index++, record.value))
            return false;
    return true;
}

/// Returns the rules of the descriptions in the order of their ids.
std::vector<uint32_t> rules_by_id(filing_t &filing)
{
    std::vector<std::vector<uint32_t>> chains(NR_CHAIN);
    for (const std::vector<uint32_t> &values : filing.values)
        for (size_t i = values.size(); i-- != 0;) {
            described_t &rule = filing.rules[values[i]];
            if (!rule.seen)
                chains[(rule.protocol * 4 + rule.rule) & (NR_CHAIN - 1)].push_back(values[i]);
            rule.seen = true;
        }
    std::vector<uint32_t> rules;
    for (const std::vector<uint32_t> &chain : chains)
        rules.insert(rules.end(), chain.rbegin(), chain.rend());
    return rules;
}

} // namespace

void match_mark_preempts(pdata_db &db)
{
    filing_t filing{db};
    if (!file_all(filing) || !filing.any_preempt)
        return;
    const std::vector<uint32_t> rules = rules_by_id(filing);
    if (rules.size() != db.rules.size())
        return; // not what this compiler made of these descriptions
    for (size_t i = 0; i < rules.size(); ++i)
        if (filing.rules[rules[i]].preempt)
            db.rules[i].first_item |= MATCH_RULE_MARK;
}
