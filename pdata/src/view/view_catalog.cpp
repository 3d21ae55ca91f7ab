#include "view_catalog.h"

#include "format_types.h"
#include "view_parts.h"

namespace
{

bool count_values(view_catalog_rule_t &rule, view_error_t &error)
{
    for (uint32_t i = 0; i < view_list_count(rule.fields.sub_rules); ++i) {
        view_sub_rule_t sub_rule;
        if (!view_sub_rule_at(rule.fields, i, sub_rule, error))
            return false;
        for (uint32_t j = 0; j < view_list_count(sub_rule.attributes); ++j) {
            view_attribute_t attribute;
            if (!view_attribute_at(sub_rule, j, attribute, error))
                return false;
            rule.values += static_cast<uint32_t>(view_words(attribute.values));
        }
    }
    return true;
}

bool read_path(const view_pool_t &pool, view_catalog_rule_t &rule, view_error_t &error)
{
    for (size_t i = 0; i < view_words(rule.fields.path); ++i) {
        std::string_view name;
        if (!view_pool_require(pool, view_word(rule.fields.path, i), "path", name, error))
            return false;
        rule.path.push_back(name);
    }
    return true;
}

bool walk_protocol(const view_pool_t &pool, const view_area_t &value,
                   const view_catalog_sink_t &sink, view_error_t &error)
{
    view_catalog_protocol_t protocol;
    if (!view_protocol_open(value, protocol.fields, error) ||
        !view_pool_require(pool, protocol.fields.name, "name", protocol.name, error))
        return false;
    sink.put_protocol(sink.context, protocol);
    for (uint32_t i = 0; i < view_list_count(protocol.fields.rules); ++i) {
        view_catalog_rule_t rule;
        rule.protocol = protocol.name;
        rule.number = i + 1;
        if (!view_rule_at(protocol.fields, i, rule.fields, error) ||
            !read_path(pool, rule, error) || !count_values(rule, error))
            return false;
        sink.put_rule(sink.context, rule);
    }
    return true;
}

bool walk_group(const view_area_t &value, const view_catalog_sink_t &sink, view_error_t &error)
{
    view_group_t group;
    if (!view_group_open(value, group, error))
        return false;
    view_cursor_t protocols = view_walk(group.protocols);
    for (view_record_t record; view_next(protocols, record);)
        if (record.type == TLV_TYPE_PROTO && !walk_protocol(group.pool, record.value, sink, error))
            return view_within(error, "protocol at byte %zu", record.offset);
    return view_walk_sound(protocols, error);
}

} // namespace

bool view_catalog_walk(const view_area_t &root, const view_catalog_sink_t &sink,
                       view_error_t &error)
{
    view_cursor_t groups = view_walk(root);
    for (view_record_t record; view_next(groups, record);)
        if (!walk_group(record.value, sink, error))
            return false;
    return view_walk_sound(groups, error);
}
