#include "view_values.h"

#include <new>

#include "view_stored.h"

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
    return view_pool_require(walk.strings, sub_rule.protocol, "bottom protocol", walk.next.bottom,
                             walk.error) &&
           view_each_attribute(sub_rule, walk.error, [&](const view_attribute_t &attribute) {
               return walk_attribute(walk, attribute);
           });
}

bool walk_protocol(value_walk_t &walk, const view_protocol_t &protocol)
{
    if (!view_pool_require(walk.strings, protocol.name, "name", walk.next.protocol, walk.error))
        return false;
    return view_each_rule(protocol, walk.error, [&](uint32_t index, const view_rule_t &rule) {
        walk.next.rule = index;
        walk.next.preempt = rule.preempt != 0;
        return view_each_sub_rule(rule, walk.error,
                                  [&](uint32_t number, const view_sub_rule_t &sub_rule) {
                                      walk.next.sub_rule = number;
                                      return walk_sub_rule(walk, sub_rule);
                                  });
    });
}

} // namespace

bool view_values_walk(const pdb_view_t &pdb, const view_value_sink_t &sink, view_error_t &error)
{
    value_walk_t walk = {{}, sink, error, {}};
    return view_each_group(pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS), error,
                           [&](const view_record_t &, const view_group_t &group) {
                               walk.strings = group.pool;
                               return view_each_protocol(
                                   group, error,
                                   [&](const view_record_t &, const view_protocol_t &protocol) {
                                       return walk_protocol(walk, protocol);
                                   });
                           });
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
