#include "view_totals.h"

#include "format_types.h"
#include "format_values.h"
#include "view_stored.h"

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
    return view_each_attribute(sub_rule, error, [&](const view_attribute_t &attribute) {
        return count_attribute(pool, protocol, attribute, totals, error);
    });
}

bool count_protocol(const view_pool_t &pool, const view_protocol_t &protocol, view_totals_t &totals,
                    view_error_t &error)
{
    ++totals.protocols;
    return view_each_rule(protocol, error, [&](uint32_t, const view_rule_t &rule) {
        ++totals.rules;
        return view_each_sub_rule(rule, error, [&](uint32_t, const view_sub_rule_t &sub_rule) {
            return count_sub_rule(pool, sub_rule, totals, error);
        });
    });
}

} // namespace

bool view_totals_count(const view_area_t &root, view_totals_t &totals, view_error_t &error)
{
    return view_each_group(root, error, [&](const view_record_t &, const view_group_t &group) {
        totals.strings += view_pool_count(group.pool);
        return view_each_protocol(group, error,
                                  [&](const view_record_t &, const view_protocol_t &protocol) {
                                      return count_protocol(group.pool, protocol, totals, error);
                                  });
    });
}
