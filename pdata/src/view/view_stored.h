/// Walks over the stored descriptions: groups, their protocols, their rules, sub-rules, attributes.
///
/// Each hands the parts of one level to `take`, in the order in which they are stored, until one
/// returns false. They return true when the level ends where it should; false with `error`, which
/// says at which part, for a part that cannot be read, or that `take` filled `error` for.
#pragma once

#include <concepts>
#include <functional>

#include "view_description.h"
#include "view_parts.h"

/// Takes a part; false ends the walk.
template <typename Take, typename... Part>
concept view_takes = std::predicate<Take &, Part...>;

/// Walks the groups of the root record of the descriptions.
template <view_takes<const view_record_t &, const view_group_t &> Take>
[[nodiscard]] bool view_each_group(const view_area_t &root, view_error_t &error, Take &&take)
{
    view_cursor_t cursor = view_walk(root);
    for (view_record_t record; view_next(cursor, record);) {
        view_group_t group;
        if (record.type == TLV_TYPE_PROTOGROUP &&
            (!view_group_open(record.value, group, error) || !take(record, group)))
            return false;
    }
    return view_walk_sound(cursor, error);
}

/// Walks the protocols of a group.
template <view_takes<const view_record_t &, const view_protocol_t &> Take>
[[nodiscard]] bool view_each_protocol(const view_group_t &group, view_error_t &error, Take &&take)
{
    view_cursor_t cursor = view_walk(group.protocols);
    for (view_record_t record; view_next(cursor, record);) {
        view_protocol_t protocol;
        if (record.type == TLV_TYPE_PROTO &&
            (!view_protocol_open(record.value, protocol, error) || !take(record, protocol)))
            return view_within(error, "protocol at byte %zu", record.offset);
    }
    return view_walk_sound(cursor, error);
}

/// Walks the rules of a protocol; `take` gets the index of each as well.
template <view_takes<uint32_t, const view_rule_t &> Take>
[[nodiscard]] bool view_each_rule(const view_protocol_t &protocol, view_error_t &error, Take &&take)
{
    for (uint32_t i = 0; i < view_list_count(protocol.rules); ++i) {
        view_rule_t rule;
        if (!view_rule_at(protocol, i, rule, error))
            return false;
        if (!take(i, rule))
            return view_within(error, "rule %u", i);
    }
    return true;
}

/// Walks the sub-rules of a rule; `take` gets the index of each as well.
template <view_takes<uint32_t, const view_sub_rule_t &> Take>
[[nodiscard]] bool view_each_sub_rule(const view_rule_t &rule, view_error_t &error, Take &&take)
{
    for (uint32_t i = 0; i < view_list_count(rule.sub_rules); ++i) {
        view_sub_rule_t sub_rule;
        if (!view_sub_rule_at(rule, i, sub_rule, error))
            return false;
        if (!take(i, sub_rule))
            return view_within(error, "sub-rule %u", i);
    }
    return true;
}

/// Walks the attributes of a sub-rule.
template <view_takes<const view_attribute_t &> Take>
[[nodiscard]] bool view_each_attribute(const view_sub_rule_t &sub_rule, view_error_t &error,
                                       Take &&take)
{
    for (uint32_t i = 0; i < view_list_count(sub_rule.attributes); ++i) {
        view_attribute_t attribute;
        if (!view_attribute_at(sub_rule, i, attribute, error))
            return false;
        if (!take(attribute))
            return view_within(error, "attribute %u", i);
    }
    return true;
}
