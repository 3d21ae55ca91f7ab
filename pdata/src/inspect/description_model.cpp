#include "description_model.h"

#include <new>

#include "view_description.h"
#include "view_parts.h"

namespace
{

/// What a reading of descriptions works with.
struct model_reading_t {
    view_pool_t strings; ///< of the group
    view_pool_t main;
    bool main_strings;
    view_error_t &error;
};

bool text_of(model_reading_t &reading, uint32_t offset, const char *what, std::string_view &text)
{
    return view_pool_require(reading.strings, offset, what, text, reading.error);
}

bool read_texts(model_reading_t &reading, const view_area_t &area, const char *what,
                std::vector<std::string_view> &texts)
{
    texts.resize(view_words(area));
    for (size_t i = 0; i < texts.size(); ++i)
        if (!text_of(reading, view_word(area, i), what, texts[i]))
            return false;
    return true;
}

bool read_pairs(model_reading_t &reading, const view_area_t &area, const char *what,
                std::vector<text_pair_t> &pairs)
{
    pairs.resize(view_words(area) / 2);
    for (size_t i = 0; i < pairs.size(); ++i)
        if (!text_of(reading, view_word(area, i * 2), what, pairs[i].first) ||
            !text_of(reading, view_word(area, i * 2 + 1), what, pairs[i].second))
            return false;
    return true;
}

bool read_attribute(model_reading_t &reading, const view_attribute_t &view,
                    model_attribute_t &attribute)
{
    attribute.type = view.type;
    attribute.way = view_attribute_way(view);
    if (!text_of(reading, view.name, "attribute name", attribute.name))
        return false;
    attribute.values.resize(view_words(view.values));
    for (size_t i = 0; i < attribute.values.size(); ++i) {
        if (!text_of(reading, view_word(view.values, i), "value", attribute.values[i].text))
            return false;
        if (i < view_words(view.offsets))
            attribute.values[i].offset = view_word(view.offsets, i);
    }
    return true;
}

bool read_sub_rule(model_reading_t &reading, const view_sub_rule_t &view,
                   model_sub_rule_t &sub_rule)
{
    sub_rule.cts_mindata = view.cts_mindata;
    sub_rule.stc_mindata = view.stc_mindata;
    if (!text_of(reading, view.protocol, "bottom protocol", sub_rule.protocol) ||
        !text_of(reading, view.bottom_protocol, "real bottom protocol", sub_rule.bottom))
        return false;
    for (uint32_t i = 0; i < view_list_count(view.attributes); ++i) {
        view_attribute_t attribute;
        if (!view_attribute_at(view, i, attribute, reading.error) ||
            !read_attribute(reading, attribute, sub_rule.attributes.emplace_back()))
            return view_within(reading.error, "attribute %u", i);
    }
    return true;
}

bool read_rule_tags(model_reading_t &reading, const view_area_t &area, model_rule_t &rule)
{
    if (!reading.main_strings) {
        rule.nameless_tags = static_cast<uint32_t>(view_words(area));
        return true;
    }
    rule.tags.resize(view_words(area));
    for (size_t i = 0; i < rule.tags.size(); ++i)
        if (!view_pool_require(reading.main, view_word(area, i), "rule tag", rule.tags[i],
                               reading.error))
            return false;
    return true;
}

bool read_rule(model_reading_t &reading, const view_rule_t &view, model_rule_t &rule)
{
    rule.order_significant = view.order_significant;
    rule.fastpass = view.fastpass != 0;
    rule.preempt = view.preempt != 0;
    rule.priority = view.priority;
    rule.scope = view.scope;
    rule.vid = view.vid;
    rule.reserved = view.reserved;
    rule.meta_form = view.meta_form;
    if (!read_texts(reading, view.path, "path", rule.path) ||
        !read_rule_tags(reading, view.tags, rule))
        return false;
    for (uint32_t i = 0; i < view_list_count(view.sub_rules); ++i) {
        view_sub_rule_t sub_rule;
        if (!view_sub_rule_at(view, i, sub_rule, reading.error) ||
            !read_sub_rule(reading, sub_rule, rule.sub_rules.emplace_back()))
            return view_within(reading.error, "sub-rule %u", i);
    }
    return true;
}

void read_numbers(const view_protocol_t &view, model_protocol_t &protocol)
{
    protocol.id = view.id;
    protocol.max_trans = view.max_trans;
    protocol.cacheable = view.cacheable;
    protocol.http_reclassify = view.http_reclassify;
    protocol.version[0] = view.version_major;
    protocol.version[1] = view.version_minor;
    protocol.version[2] = view.version_revision;
    protocol.implicit_bottom_layer = view.implicit_bottom_layer;
}

bool read_protocol(model_reading_t &reading, const view_record_t &record,
                   model_protocol_t &protocol)
{
    view_protocol_t view;
    if (!view_protocol_open(record.value, view, reading.error))
        return false;
    read_numbers(view, protocol);
    if (!text_of(reading, view.name, "name", protocol.name) ||
        !text_of(reading, view.default_port, "default port", protocol.default_port) ||
        !read_pairs(reading, view.tags, "tag", protocol.tags) ||
        !read_pairs(reading, view.descriptions, "description", protocol.descriptions) ||
        !read_texts(reading, view.compat, "compatible version", protocol.compat) ||
        !read_texts(reading, view.supported_versions, "supported version",
                    protocol.supported_versions) ||
        !read_texts(reading, view.altnames, "other name", protocol.altnames))
        return false;
    for (uint32_t i = 0; i < view_list_count(view.rules); ++i) {
        view_rule_t rule;
        if (!view_rule_at(view, i, rule, reading.error) ||
            !read_rule(reading, rule, protocol.rules.emplace_back()))
            return view_within(reading.error, "rule %u", i);
    }
    return true;
}

bool read_group(model_reading_t &reading, const view_record_t &record, description_model_t &model)
{
    view_group_t group;
    if (!view_group_open(record.value, group, reading.error))
        return false;
    ++model.groups;
    reading.strings = group.pool;
    view_cursor_t cursor = view_walk(group.protocols);
    for (view_record_t entry; view_next(cursor, entry);)
        if (entry.type == TLV_TYPE_PROTO &&
            !read_protocol(reading, entry, model.protocols.emplace_back()))
            return view_within(reading.error, "protocol at offset %zu", entry.offset);
    return view_walk_sound(cursor, reading.error);
}

} // namespace

bool description_model_read(const pdb_view_t &pdb, description_model_t &model, view_error_t &error)
try {
    model = {};
    if (!description_model_parts(pdb, model, error))
        return false;
    model_reading_t reading = {{}, pdb_view_main_strings(pdb), model.main_strings, error};
    view_cursor_t cursor = view_walk(pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS));
    for (view_record_t record; view_next(cursor, record);)
        if (record.type == TLV_TYPE_PROTOGROUP && !read_group(reading, record, model))
            return false;
    return view_walk_sound(cursor, error);
} catch (const std::bad_alloc &) {
    return view_fail(error, VIEW_MEMORY, 0, "out of memory");
}
