#include "view_description.h"

#include <iterator>

#include "format_fields.h"
#include "format_values.h"

namespace
{

/// The fields of a meta, in the order of PROTO_META.
constexpr uint32_t view_protocol_t::*meta_fields[] = {
    &view_protocol_t::id,
    &view_protocol_t::name,
    &view_protocol_t::default_port,
    &view_protocol_t::max_trans,
    &view_protocol_t::cacheable,
    &view_protocol_t::http_reclassify,
    &view_protocol_t::version_major,
    &view_protocol_t::version_minor,
    &view_protocol_t::version_revision,
    &view_protocol_t::implicit_bottom_layer,
};

static_assert(std::size(meta_fields) == format_bytes_of(FORMAT_PROTO_META) / 4);
static_assert(format_word_of(FIELD_PROTO_META_implicit_bottom_layer) == 9);

/// Words of a meta: up to a whole group of later fields.
constexpr size_t meta_lengths[] = {
    format_word_of(FIELD_PROTO_META_http_reclassify),
    format_word_of(FIELD_PROTO_META_version_major),
    format_word_of(FIELD_PROTO_META_implicit_bottom_layer),
    std::size(meta_fields),
};

view_fault_t take_meta(const view_record_t &record, view_protocol_t &protocol)
{
    const size_t words = view_words(record.value);
    bool known = false;
    for (const size_t length : meta_lengths)
        known = known || words == length;
    if (!known)
        return VIEW_LENGTH;
    for (size_t i = 0; i < words; ++i)
        protocol.*meta_fields[i] = view_word(record.value, i);
    return VIEW_SOUND;
}

view_fault_t take_list(const view_record_t &record, size_t words_each, view_area_t &list)
{
    if (view_words(record.value) % words_each != 0)
        return VIEW_LENGTH;
    list = record.value;
    return VIEW_SOUND;
}

view_fault_t take_rules(const view_record_t &record, view_protocol_t &protocol)
{
    if (view_words(record.value) < view_list_count(protocol.rules))
        return VIEW_LENGTH;
    protocol.rules.records = record.value;
    return VIEW_SOUND;
}

/// Where the optional words of a rule meta stand; 0 for those that a form lacks.
struct rule_meta_form_t {
    uint8_t reserved;
    uint8_t scope;
    uint8_t vid;
    uint8_t fastpass;
    uint8_t preempt;
    uint8_t path;        ///< first word of the path
    bool counted;        ///< path and tags come with their counts; else the path is the rest
    uint32_t absent_vid; ///< what a form without a version identifier reads as
};

constexpr bool same(const char *a, const char *b)
{
    while (*a != 0 && *a == *b) {
        ++a;
        ++b;
    }
    return *a == *b;
}

/// The word of a field of that name, 0 for a record without it.
constexpr uint8_t word_of(format_kind_t kind, const char *name)
{
    for (const format_field_t &field : format_fields_of(kind))
        if (same(field.name, name))
            return static_cast<uint8_t>(format_word_of(field.id));
    return 0;
}

constexpr rule_meta_form_t form(format_kind_t kind, uint32_t absent_vid)
{
    return {word_of(kind, "reserved"),
            word_of(kind, "scope"),
            word_of(kind, "vid"),
            word_of(kind, "fastpass"),
            word_of(kind, "preempt"),
            word_of(kind, "path"),
            word_of(kind, "path_count") != 0,
            absent_vid};
}

/// The forms, oldest first.
constexpr rule_meta_form_t rule_meta_forms[] = {
    form(FORMAT_PROTO_RULE_META, 0),
    form(FORMAT_PROTO_RULE_META_V2, 0),
    form(FORMAT_PROTO_RULE_META_V3, 0),
    form(FORMAT_PROTO_RULE_META_V4, 0),
    form(FORMAT_PROTO_RULE_META_V5, RULE_VID_NONE),
    form(FORMAT_PROTO_RULE_META_V6, 0),
};

/// The number of the form, from 1, that a type of record in a rule has; 0 for none.
constexpr uint8_t form_of_type[] = {0, 1, 0, 0, 2, 3, 4, 5, 6};

static_assert(form_of_type[TLV_TYPE_PROTO_RULE_META] == 1 &&
              form_of_type[TLV_TYPE_PROTO_RULE_META_V2] == 2 &&
              form_of_type[TLV_TYPE_PROTO_RULE_META_V3] == 3 &&
              form_of_type[TLV_TYPE_PROTO_RULE_META_V4] == 4 &&
              form_of_type[TLV_TYPE_PROTO_RULE_META_V5] == 5 &&
              form_of_type[TLV_TYPE_PROTO_RULE_META_V6] == 6);

/// The word at `at`, or `absent` where a form has none.
uint32_t word_or(const view_area_t &value, uint8_t at, uint32_t absent)
{
    return at == 0 ? absent : view_word(value, at);
}

/// Takes `count` words from word `at` on; false when there are not as many.
bool words_at(const view_area_t &value, size_t at, size_t count, view_area_t &list)
{
    if (count > view_words(value) - at)
        return false;
    list = view_part(value, at * 4, count * 4);
    return true;
}

/// Takes the path and the tags behind the fixed words of a meta.
bool take_path_and_tags(const view_area_t &value, const rule_meta_form_t &form, view_rule_t &rule)
{
    if (!form.counted)
        return words_at(value, form.path, view_words(value) - form.path, rule.path);
    const size_t nr_path = view_word(value, form.path - size_t{1});
    if (!words_at(value, form.path, nr_path, rule.path))
        return false;
    const size_t tag_count = form.path + nr_path;
    return tag_count < view_words(value) &&
           words_at(value, tag_count + 1, view_word(value, tag_count), rule.tags);
}

view_fault_t take_rule_meta(const view_area_t &value, const rule_meta_form_t &form,
                            view_rule_t &rule)
{
    if (view_words(value) < form.path)
        return VIEW_LENGTH;
    rule.meta_form = static_cast<uint8_t>(&form - rule_meta_forms + 1);
    rule.priority = view_word(value, 0);
    rule.reserved = word_or(value, form.reserved, 0);
    rule.scope = word_or(value, form.scope, 0);
    rule.vid = word_or(value, form.vid, form.absent_vid);
    rule.fastpass = word_or(value, form.fastpass, 0);
    rule.preempt = word_or(value, form.preempt, 0);
    return take_path_and_tags(value, form, rule) ? VIEW_SOUND : VIEW_COUNT;
}

view_fault_t take_rule_record(const view_record_t &record, view_rule_t &rule)
{
    switch (record.type) {
    case TLV_TYPE_PROTO_SUB_RULES_OFFSET:
        rule.sub_rules.offsets = record.value;
        return VIEW_SOUND;
    case TLV_TYPE_PROTO_SUB_RULES:
        rule.sub_rules.records = record.value;
        return VIEW_SOUND;
    default:
        break;
    }
    const uint32_t form = record.type < std::size(form_of_type) ? form_of_type[record.type] : 0;
    return form == 0 ? VIEW_UNKNOWN : take_rule_meta(record.value, rule_meta_forms[form - 1], rule);
}

view_fault_t take_sub_rule_meta(const view_record_t &record, view_sub_rule_t &sub_rule)
{
    const bool oldest = record.type == TLV_TYPE_PROTO_SUB_RULE_META;
    const size_t words = format_bytes_of(FORMAT_PROTO_SUB_RULE_META_V2) / 4 - (oldest ? 1 : 0);
    if (view_words(record.value) != words)
        return VIEW_LENGTH;
    sub_rule.protocol = view_word(record.value, 0);
    sub_rule.bottom_protocol = view_word(record.value, oldest ? 0 : 1);
    sub_rule.stc_mindata = view_word(record.value, words - 2);
    sub_rule.cts_mindata = view_word(record.value, words - 1);
    return VIEW_SOUND;
}

view_fault_t take_sub_rule_record(const view_record_t &record, view_sub_rule_t &sub_rule)
{
    switch (record.type) {
    case TLV_TYPE_PROTO_SUB_RULE_META:
    case TLV_TYPE_PROTO_SUB_RULE_META_V2:
        return take_sub_rule_meta(record, sub_rule);
    case TLV_TYPE_PROTO_SUB_RULE_ATTRS:
        sub_rule.attributes.records = record.value;
        return VIEW_SOUND;
    case TLV_TYPE_PROTO_SUB_RULE_ATTRS_OFFSET:
        sub_rule.attributes.offsets = record.value;
        return VIEW_SOUND;
    default:
        return VIEW_UNKNOWN;
    }
}

/// What the end of a walk over whole words is as a fault.
view_fault_t fault_of(view_end_t end)
{
    switch (end) {
    case VIEW_WALK_CUT:
        return VIEW_CUT;
    case VIEW_WALK_OVERLONG:
        return VIEW_OVERLONG;
    case VIEW_WALK_OVERLAP:
        return VIEW_OVERLAP;
    default:
        return VIEW_SOUND;
    }
}

/// Hands every record packed in `value` to `take` until one is refused.
template <typename View>
view_fault_t take_records(const view_area_t &value,
                          view_fault_t (*take)(const view_record_t &, View &), View &view,
                          size_t *at)
{
    view_cursor_t cursor = view_walk(value);
    for (view_record_t record; view_next(cursor, record);) {
        *at = record.offset;
        if (const view_fault_t fault = take(record, view); fault != VIEW_SOUND)
            return fault;
    }
    *at = value.offset + cursor.at;
    return fault_of(cursor.end);
}

/// Gives entry `index` of a list through `read`, or fails with the entry's name in the text.
template <typename View>
bool entry_at(const view_list_t &list, uint32_t index, const char *what,
              view_fault_t (*read)(const view_record_t &, View &, size_t *), View &view,
              view_error_t &error)
{
    view_record_t record;
    const view_end_t end = view_list_at(list, index, record);
    if (end != VIEW_WALK_ON) {
        const view_fault_t fault = end == VIEW_WALK_DONE ? VIEW_REFERENCE : fault_of(end);
        return view_fail(error, fault, list.offsets.offset + size_t{index} * 4,
                         "%s %u: no whole record behind the one before it at word %u", what, index,
                         view_word(list.offsets, index));
    }
    size_t at = record.offset;
    const view_fault_t fault = read(record, view, &at);
    return fault == VIEW_SOUND ||
           view_fail(error, fault, at, "%s %u: %s", what, index, view_fault_name(fault));
}

} // namespace

view_fault_t view_protocol_take(const view_record_t &record, view_protocol_t &protocol)
{
    switch (record.type) {
    case TLV_TYPE_PROTO_META:
        return take_meta(record, protocol);
    case TLV_TYPE_PROTO_TAGS:
        return take_list(record, format_bytes_of(FORMAT_PROTO_TAGS) / 4, protocol.tags);
    case TLV_TYPE_PROTO_DESC:
        return take_list(record, format_bytes_of(FORMAT_PROTO_DESC) / 4, protocol.descriptions);
    case TLV_TYPE_PROTO_SUPPORTED_VERSION:
        return take_list(record, 1, protocol.supported_versions);
    case TLV_TYPE_PROTO_ALTNAME:
        return take_list(record, 1, protocol.altnames);
    case TLV_TYPE_PROTO_COMPAT:
        return take_list(record, 1, protocol.compat);
    case TLV_TYPE_PROTO_RULES_OFFSET:
        return take_list(record, 1, protocol.rules.offsets);
    case TLV_TYPE_PROTO_RULES:
        return take_rules(record, protocol);
    default:
        return VIEW_UNKNOWN;
    }
}

bool view_protocol_open(const view_area_t &value, view_protocol_t &protocol, view_error_t &error)
{
    protocol = {};
    view_cursor_t cursor = view_walk(value);
    for (view_record_t record; view_next(cursor, record);)
        if (const view_fault_t fault = view_protocol_take(record, protocol); fault != VIEW_SOUND)
            return view_fail(error, fault, record.offset, "record of type %u, %u words: %s",
                             record.type, record.length, view_fault_name(fault));
    return view_walk_sound(cursor, error);
}

view_fault_t view_rule_read(const view_record_t &record, view_rule_t &rule, size_t *at)
{
    rule = {};
    rule.order_significant = record.type == TLV_TYPE_PROTO_RULE_ORDER;
    return take_records(record.value, take_rule_record, rule, at);
}

view_fault_t view_sub_rule_read(const view_record_t &record, view_sub_rule_t &sub_rule, size_t *at)
{
    sub_rule = {};
    return take_records(record.value, take_sub_rule_record, sub_rule, at);
}

view_fault_t view_attribute_read(const view_record_t &record, view_attribute_t &attribute,
                                 size_t *at)
{
    const view_area_t &value = record.value;
    const size_t words = view_words(value);
    const bool offsets = record.type == TLV_TYPE_PROTO_ATTR_STREAM_OFFSET;
    *at = record.offset;
    attribute = {};
    attribute.type = record.type;
    if (words < 2)
        return VIEW_LENGTH;
    if (offsets && words % 2 != 0)
        return VIEW_COUNT;
    const size_t nr_values = offsets ? (words - 2) / 2 : words - 2;
    attribute.way_proto = view_word(value, 0);
    attribute.name = view_word(value, 1);
    attribute.values = view_part(value, 8, nr_values * 4);
    if (offsets)
        attribute.offsets = view_part(value, 8 + nr_values * 4, nr_values * 4);
    return VIEW_SOUND;
}

bool view_rule_at(const view_protocol_t &protocol, uint32_t index, view_rule_t &rule,
                  view_error_t &error)
{
    return entry_at(protocol.rules, index, "rule", view_rule_read, rule, error);
}

bool view_sub_rule_at(const view_rule_t &rule, uint32_t index, view_sub_rule_t &sub_rule,
                      view_error_t &error)
{
    return entry_at(rule.sub_rules, index, "sub-rule", view_sub_rule_read, sub_rule, error);
}

bool view_attribute_at(const view_sub_rule_t &sub_rule, uint32_t index, view_attribute_t &attribute,
                       view_error_t &error)
{
    return entry_at(sub_rule.attributes, index, "attribute", view_attribute_read, attribute, error);
}

uint32_t view_attribute_way(const view_attribute_t &attribute)
{
    switch (attribute.way_proto & 0xF) {
    case TLV_TYPE_PROTO_ATTR_WAY_STC:
        return ATTR_WAY_STC;
    case TLV_TYPE_PROTO_ATTR_WAY_CTS:
        return ATTR_WAY_CTS;
    case TLV_TYPE_PROTO_ATTR_WAY_BOTH:
        return ATTR_WAY_BOTH;
    default:
        return ATTR_WAY_UNKNOWN;
    }
}
