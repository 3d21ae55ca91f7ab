#include "view_values.h"

#include <new>

#include "view_description.h"

namespace
{

/// A walk over the values, and where it stands.
struct value_walk_t {
    view_pool_t strings; ///< of the group
    const view_value_sink_t &sink;
    view_error_t &error;
    view_stored_value_t next; ///< what is known of the value to come
};

bool walk_attribute(value_walk_t &walk, const view_attribute_t &attribute)
{
    walk.next.way = view_attribute_way(attribute);
    if (!view_pool_require(walk.strings, attribute.name, "attribute name", walk.next.attribute,
                           walk.error))
        return false;
    for (size_t i = 0; i < view_words(attribute.values); ++i) {
        if (!view_pool_require(walk.strings, view_word(attribute.values, i), "value",
                               walk.next.text, walk.error))
            return false;
        walk.next.offset = i < view_words(attribute.offsets) ? view_word(attribute.offsets, i) : 0;
        walk.sink.put(walk.sink.context, walk.next);
    }
    return true;
}

bool walk_sub_rule(value_walk_t &walk, const view_sub_rule_t &sub_rule)
{
    if (!view_pool_require(walk.strings, sub_rule.protocol, "bottom protocol", walk.next.bottom,
                           walk.error))
        return false;
    for (uint32_t i = 0; i < view_list_count(sub_rule.attributes); ++i) {
        view_attribute_t attribute;
        if (!view_attribute_at(sub_rule, i, attribute, walk.error) ||
            !walk_attribute(walk, attribute))
            return view_within(walk.error, "attribute %u", i);
    }
    return true;
}

bool walk_rule(value_walk_t &walk, const view_rule_t &rule)
{
    walk.next.preempt = rule.preempt != 0;
    for (uint32_t i = 0; i < view_list_count(rule.sub_rules); ++i) {
        view_sub_rule_t sub_rule;
        walk.next.sub_rule = i;
        if (!view_sub_rule_at(rule, i, sub_rule, walk.error) || !walk_sub_rule(walk, sub_rule))
            return view_within(walk.error, "sub-rule %u", i);
    }
    return true;
}

bool walk_protocol(value_walk_t &walk, const view_record_t &record)
{
    view_protocol_t protocol;
    if (!view_protocol_open(record.value, protocol, walk.error) ||
        !view_pool_require(walk.strings, protocol.name, "name", walk.next.protocol, walk.error))
        return false;
    for (uint32_t i = 0; i < view_list_count(protocol.rules); ++i) {
        view_rule_t rule;
        walk.next.rule = i;
        if (!view_rule_at(protocol, i, rule, walk.error) || !walk_rule(walk, rule))
            return view_within(walk.error, "rule %u", i);
    }
    return true;
}

bool walk_group(value_walk_t &walk, const view_area_t &group)
{
    view_record_t strings;
    view_record_t protocols;
    if (!view_require(group, TLV_TYPE_PROTOGROUP_STRING, "strings", strings, walk.error) ||
        !view_require(group, TLV_TYPE_PROTOGROUP_PROTOS, "protocols", protocols, walk.error))
        return false;
    walk.strings = {strings.value};
    view_cursor_t cursor = view_walk(protocols.value);
    for (view_record_t record; view_next(cursor, record);)
        if (record.type == TLV_TYPE_PROTO && !walk_protocol(walk, record))
            return view_within(walk.error, "protocol at offset %zu", record.offset);
    return view_walk_sound(cursor, walk.error);
}

} // namespace

bool view_values_walk(const pdb_view_t &pdb, const view_value_sink_t &sink, view_error_t &error)
{
    value_walk_t walk = {{}, sink, error, {}};
    view_cursor_t cursor = view_walk(pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS));
    for (view_record_t record; view_next(cursor, record);)
        if (record.type == TLV_TYPE_PROTOGROUP && !walk_group(walk, record.value))
            return false;
    return view_walk_sound(cursor, error);
}

bool view_values_read(const pdb_view_t &pdb, std::vector<view_stored_value_t> &values,
                      view_error_t &error)
try {
    values.clear();
    const auto put = [](void *context, const view_stored_value_t &value) {
        static_cast<std::vector<view_stored_value_t> *>(context)->push_back(value);
    };
    return view_values_walk(pdb, {put, &values}, error);
} catch (const std::bad_alloc &) {
    return view_fail(error, VIEW_MEMORY, 0, "out of memory");
}
