#include "description_model.h"

#include <new>

#include "description_source.h"
#include "view_stored.h"

namespace
{

/// A reading under way.
struct model_reading_t {
    const model_strings_t &strings;
    view_error_t &error;
};

bool text_of(model_reading_t &reading, uint32_t offset, const char *what, std::string_view &text)
{
    return view_pool_require(reading.strings.group, offset, what, text, reading.error);
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
    return view_each_attribute(view, reading.error, [&](const view_attribute_t &attribute) {
        return read_attribute(reading, attribute, sub_rule.attributes.emplace_back());
    });
}

bool read_rule_tags(model_reading_t &reading, const view_area_t &area, model_rule_t &rule)
{
    if (!reading.strings.has_main) {
        rule.nameless_tags = static_cast<uint32_t>(view_words(area));
        return true;
    }
    rule.tags.resize(view_words(area));
    for (size_t i = 0; i < rule.tags.size(); ++i)
        if (!view_pool_require(reading.strings.main, view_word(area, i), "rule tag", rule.tags[i],
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
    return view_each_sub_rule(view, reading.error, [&](uint32_t, const view_sub_rule_t &sub_rule) {
        return read_sub_rule(reading, sub_rule, rule.sub_rules.emplace_back());
    });
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

bool read_protocol(model_reading_t &reading, const view_protocol_t &view,
                   model_protocol_t &protocol)
{
    read_numbers(view, protocol);
    return text_of(reading, view.name, "name", protocol.name) &&
           text_of(reading, view.default_port, "default port", protocol.default_port) &&
           read_pairs(reading, view.tags, "tag", protocol.tags) &&
           read_pairs(reading, view.descriptions, "description", protocol.descriptions) &&
           read_texts(reading, view.compat, "compatible version", protocol.compat) &&
           read_texts(reading, view.supported_versions, "supported version",
                      protocol.supported_versions) &&
           read_texts(reading, view.altnames, "other name", protocol.altnames);
}

bool read_source(const description_source_t &source, const source_protocol_t &place,
                 model_protocol_t &protocol, view_error_t &error)
{
    const view_protocol_t view = source_protocol(source, place);
    const model_strings_t strings = source_strings(source, place);
    if (!model_protocol_read(strings, view, protocol, error))
        return false;
    for (uint32_t i = 0; i < view_list_count(view.rules); ++i)
        if (!model_rule_read(strings, view, i, protocol.rules.emplace_back(), error))
            return false;
    return true;
}

} // namespace

bool model_protocol_read(const model_strings_t &strings, const view_protocol_t &view,
                         model_protocol_t &protocol, view_error_t &error)
{
    protocol = {};
    model_reading_t reading = {strings, error};
    return read_protocol(reading, view, protocol);
}

bool model_rule_read(const model_strings_t &strings, const view_protocol_t &view, uint32_t index,
                     model_rule_t &rule, view_error_t &error)
{
    rule = {};
    view_rule_t rule_view;
    model_reading_t reading = {strings, error};
    return (view_rule_at(view, index, rule_view, error) && read_rule(reading, rule_view, rule)) ||
           view_within(error, "rule %u", index);
}

bool description_model_read(const pdb_view_t &pdb, description_model_t &model, view_error_t &error)
try {
    model = {};
    description_source_t source;
    if (!description_model_parts(pdb, model, error) || !description_source_open(pdb, source, error))
        return false;
    model.groups = static_cast<uint32_t>(source.groups.size());
    for (const source_protocol_t &place : source.protocols)
        if (!read_source(source, place, model.protocols.emplace_back(), error))
            return view_within(error, "protocol at offset %u", place.offset);
    return true;
} catch (const std::bad_alloc &) {
    return view_fail(error, VIEW_MEMORY, 0, "out of memory");
}
