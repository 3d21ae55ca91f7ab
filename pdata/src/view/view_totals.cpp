#include "view_totals.h"

#include "format_types.h"
#include "format_values.h"
#include "view_description.h"

namespace
{

bool text_at(const view_pool_t &pool, uint32_t offset, std::string_view &text, view_error_t &error)
{
    return view_pool_cut(pool, offset, text) ||
           view_fail(error, VIEW_REFERENCE, pool.area.offset, "no string at %u", offset);
}

/// The directions in memory whose matchers an attribute with a stored direction belongs to.
bool is_of_way(uint32_t stored, csa_attr_way_t way)
{
    return stored == TLV_TYPE_PROTO_ATTR_WAY_BOTH ||
           stored ==
               (way == ATTR_WAY_CTS ? TLV_TYPE_PROTO_ATTR_WAY_CTS : TLV_TYPE_PROTO_ATTR_WAY_STC);
}

/// Counts the values of an attribute for the matchers of its directions.
bool count_attribute(const view_pool_t &pool, std::string_view protocol,
                     const view_attribute_t &attribute, view_totals_t &totals, view_error_t &error)
{
    std::string_view name;
    if (!text_at(pool, attribute.name, name, error))
        return false;
    const uint32_t stored = attribute.way_proto & 0xF;
    if (stored == 0 || stored > TLV_TYPE_PROTO_ATTR_WAY_BOTH)
        return view_fail(error, VIEW_VALUE, attribute.values.offset - 8, "direction %u", stored);
    const auto values = static_cast<uint32_t>(view_words(attribute.values));
    totals.values += values;
    for (const csa_attr_way_t way : {ATTR_WAY_CTS, ATTR_WAY_STC})
        if (is_of_way(stored, way))
            totals.values_of[{protocol, name, way}] += values;
    return true;
}

bool count_sub_rule(const view_pool_t &pool, const view_sub_rule_t &sub_rule, view_totals_t &totals,
                    view_error_t &error)
{
    std::string_view protocol;
    if (!text_at(pool, sub_rule.protocol, protocol, error))
        return false;
    for (uint32_t i = 0; i < view_list_count(sub_rule.attributes); ++i) {
        view_attribute_t attribute;
        if (!view_attribute_at(sub_rule, i, attribute, error) ||
            !count_attribute(pool, protocol, attribute, totals, error))
            return false;
    }
    return true;
}

bool count_rule(const view_pool_t &pool, const view_rule_t &rule, view_totals_t &totals,
                view_error_t &error)
{
    ++totals.rules;
    for (uint32_t i = 0; i < view_list_count(rule.sub_rules); ++i) {
        view_sub_rule_t sub_rule;
        if (!view_sub_rule_at(rule, i, sub_rule, error) ||
            !count_sub_rule(pool, sub_rule, totals, error))
            return false;
    }
    return true;
}

bool count_protocol(const view_pool_t &pool, const view_area_t &value, view_totals_t &totals,
                    view_error_t &error)
{
    view_protocol_t protocol;
    if (!view_protocol_open(value, protocol, error))
        return false;
    ++totals.protocols;
    for (uint32_t i = 0; i < view_list_count(protocol.rules); ++i) {
        view_rule_t rule;
        if (!view_rule_at(protocol, i, rule, error) || !count_rule(pool, rule, totals, error))
            return false;
    }
    return true;
}

bool count_group(const view_area_t &value, view_totals_t &totals, view_error_t &error)
{
    view_group_t group;
    if (!view_group_open(value, group, error))
        return false;
    totals.strings += view_pool_count(group.pool);
    view_cursor_t protocols = view_walk(group.protocols);
    for (view_record_t record; view_next(protocols, record);)
        if (record.type == TLV_TYPE_PROTO &&
            !count_protocol(group.pool, record.value, totals, error))
            return view_within(error, "protocol at byte %zu", record.offset);
    return view_walk_sound(protocols, error);
}

} // namespace

bool view_totals_count(const view_area_t &root, view_totals_t &totals, view_error_t &error)
{
    view_cursor_t groups = view_walk(root);
    for (view_record_t record; view_next(groups, record);)
        if (!count_group(record.value, totals, error))
            return false;
    return view_walk_sound(groups, error);
}
