#include "view_catalog.h"

#include "format_types.h"
#include "view_stored.h"

namespace
{

bool count_values(view_catalog_rule_t &rule, view_error_t &error)
{
    return view_each_sub_rule(rule.fields, error, [&](uint32_t, const view_sub_rule_t &sub_rule) {
        return view_each_attribute(sub_rule, error, [&](const view_attribute_t &attribute) {
            rule.values += static_cast<uint32_t>(view_words(attribute.values));
            return true;
        });
    });
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

bool walk_protocol(const view_pool_t &pool, const view_protocol_t &fields,
                   const view_catalog_sink_t &sink, view_error_t &error)
{
    view_catalog_protocol_t protocol;
    protocol.fields = fields;
    if (!view_pool_require(pool, fields.name, "name", protocol.name, error))
        return false;
    sink.put_protocol(sink.context, protocol);
    return view_each_rule(fields, error, [&](uint32_t index, const view_rule_t &rule_fields) {
        view_catalog_rule_t rule;
        rule.protocol = protocol.name;
        rule.number = index + 1;
        rule.fields = rule_fields;
        if (!read_path(pool, rule, error) || !count_values(rule, error))
            return false;
        sink.put_rule(sink.context, rule);
        return true;
    });
}

} // namespace

bool view_catalog_walk(const view_area_t &root, const view_catalog_sink_t &sink,
                       view_error_t &error)
{
    return view_each_group(root, error, [&](const view_record_t &, const view_group_t &group) {
        return view_each_protocol(group, error,
                                  [&](const view_record_t &, const view_protocol_t &protocol) {
                                      return walk_protocol(group.pool, protocol, sink, error);
                                  });
    });
}
