#include "view_model.h"

namespace
{

/// What a reading carries along.
struct reading_t {
    const view_pool_t &strings;
    const view_pool_t &tags;
    view_error_t &error;
};

bool text_at(const view_pool_t &pool, uint32_t offset, std::string &text, view_error_t &error)
{
    std::string_view view;
    if (!view_pool_get(pool, offset, view))
        return view_fail(error, VIEW_REFERENCE, pool.area.offset, "no text at %u", offset);
    text = view;
    return true;
}

bool texts_of(const view_area_t &list, const view_pool_t &pool, std::vector<std::string> &texts,
              view_error_t &error)
{
    for (size_t i = 0; i < view_words(list); ++i)
        if (!text_at(pool, view_word(list, i), texts.emplace_back(), error))
            return false;
    return true;
}

bool pairs_of(const view_area_t &list, reading_t &reading,
              std::vector<std::pair<std::string, std::string>> &pairs)
{
    for (size_t i = 0; i < view_words(list); i += 2) {
        auto &[first, second] = pairs.emplace_back();
        if (!text_at(reading.strings, view_word(list, i), first, reading.error) ||
            !text_at(reading.strings, view_word(list, i + 1), second, reading.error))
            return false;
    }
    return true;
}

matcher_type_t type_of(uint32_t type)
{
    switch (type) {
    case 1:
    case 6:
        return MATCHER_TYPE_STREAM;
    case 2:
        return MATCHER_TYPE_NUMBER_16;
    case 3:
        return MATCHER_TYPE_IP_4;
    case 4:
        return MATCHER_TYPE_IP_6;
    case 5:
        return MATCHER_TYPE_NUMBER_8;
    default:
        return MATCHER_TYPE_UNKNOWN;
    }
}

csa_attr_way_t way_of(uint32_t way_proto)
{
    constexpr csa_attr_way_t ways[] = {ATTR_WAY_UNKNOWN, ATTR_WAY_STC, ATTR_WAY_CTS, ATTR_WAY_BOTH};
    return (way_proto & 0xF) < 4 ? ways[way_proto & 0xF] : ATTR_WAY_UNKNOWN;
}

bool read_attribute(const view_attribute_t &view, reading_t &reading, attr_model &model)
{
    model.type = type_of(view.type);
    model.way = way_of(view.way_proto);
    model.proto = (view.way_proto & 0xF0) == 16   ? ATTR_PROTO_TCP
                  : (view.way_proto & 0xF0) == 32 ? ATTR_PROTO_UDP
                                                  : ATTR_PROTO_UNKNOWN;
    for (size_t i = 0; i < view_words(view.values); ++i) {
        auto &[value, offset] = model.values.emplace_back();
        offset = view_words(view.offsets) == 0 ? 0 : view_word(view.offsets, i);
        if (!text_at(reading.strings, view_word(view.values, i), value, reading.error))
            return false;
    }
    return text_at(reading.strings, view.name, model.name, reading.error);
}

bool read_sub_rule(const view_sub_rule_t &view, reading_t &reading, sub_rule_model &model)
{
    model.stc_mindata = view.stc_mindata;
    model.cts_mindata = view.cts_mindata;
    for (uint32_t i = 0; i < view_list_count(view.attributes); ++i) {
        view_attribute_t attribute;
        if (!view_attribute_at(view, i, attribute, reading.error) ||
            !read_attribute(attribute, reading, model.attrs.emplace_back()))
            return false;
    }
    return text_at(reading.strings, view.protocol, model.protocol, reading.error) &&
           text_at(reading.strings, view.bottom_protocol, model.bottom_protocol, reading.error);
}

bool read_rule(const view_rule_t &view, reading_t &reading, rule_model &model)
{
    model.meta_version = view.meta_form;
    model.ruleorder = view.order_significant ? 1 : 0;
    model.order = view.priority;
    model.params = view.reserved;
    model.scope = view.scope;
    model.vid = view.vid;
    model.fastpass = view.fastpass;
    model.preempt = view.preempt;
    for (uint32_t i = 0; i < view_list_count(view.sub_rules); ++i) {
        view_sub_rule_t sub_rule;
        if (!view_sub_rule_at(view, i, sub_rule, reading.error) ||
            !read_sub_rule(sub_rule, reading, model.sub_rules.emplace_back()))
            return false;
    }
    return texts_of(view.path, reading.strings, model.path, reading.error) &&
           texts_of(view.tags, reading.tags, model.tags, reading.error);
}

void read_meta(const view_protocol_t &view, protocol_model &model)
{
    model.id = view.id;
    model.ns = view.id >> 24 & 3;
    model.max_trans = view.max_trans;
    model.cacheable = view.cacheable;
    model.http_reclassify = view.http_reclassify;
    model.version = {view.version_major, view.version_minor, view.version_revision};
    model.implicit_bottom_layer = view.implicit_bottom_layer;
}

bool read_lists(const view_protocol_t &view, reading_t &reading, protocol_model &model)
{
    return text_at(reading.strings, view.name, model.name, reading.error) &&
           text_at(reading.strings, view.default_port, model.default_port, reading.error) &&
           pairs_of(view.tags, reading, model.tags) &&
           pairs_of(view.descriptions, reading, model.descs) &&
           texts_of(view.compat, reading.strings, model.compat, reading.error) &&
           texts_of(view.supported_versions, reading.strings, model.supported_versions,
                    reading.error) &&
           texts_of(view.altnames, reading.strings, model.altnames, reading.error);
}

} // namespace

bool view_model_read(const view_area_t &value, const view_pool_t &strings, const view_pool_t &tags,
                     protocol_model &model, view_error_t &error)
{
    reading_t reading = {strings, tags, error};
    view_protocol_t view;
    model = {};
    if (!view_protocol_open(value, view, error) || !read_lists(view, reading, model))
        return false;
    read_meta(view, model);
    for (uint32_t i = 0; i < view_list_count(view.rules); ++i) {
        view_rule_t rule;
        if (!view_rule_at(view, i, rule, error) ||
            !read_rule(rule, reading, model.rules.emplace_back()))
            return false;
    }
    return true;
}

bool view_model_read_all(const view_area_t &root, const view_pool_t &tags,
                         std::vector<protocol_model> &models, view_error_t &error)
{
    view_cursor_t groups = view_walk(root);
    for (view_record_t record; view_next(groups, record);) {
        view_group_t group;
        if (!view_group_open(record.value, group, error))
            return false;
        view_cursor_t protocols = view_walk(group.protocols);
        for (view_record_t protocol; view_next(protocols, protocol);)
            if (!view_model_read(protocol.value, group.pool, tags, models.emplace_back(), error))
                return false;
        if (!view_walk_sound(protocols, error))
            return false;
    }
    return view_walk_sound(groups, error);
}
