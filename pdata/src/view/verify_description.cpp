#include "verify_description.h"

#include <algorithm>

#include "format_types.h"
#include "view_description.h"

namespace
{

bool check_reference(const format_field_t &field, const view_area_t &value, size_t at,
                     const verify_strings_t &strings, view_error_t &error)
{
    const uint32_t offset = csa_get_be32(value.data + at);
    return !strings.there || view_pool_starts_at(strings.starts, offset) ||
           view_fail(error, VIEW_REFERENCE, value.offset + at, "%s: no string at %u", field.name,
                     offset);
}

/// Checks the strings of a run of fields.
bool check_run(const format_field_t &field, const view_area_t &value, size_t at, size_t count,
               const verify_targets_t &targets, view_error_t &error)
{
    if (field.kind != FORMAT_FIELD_STRING)
        return true;
    const verify_strings_t &strings =
        field.target == FORMAT_STRING ? *targets.main : *targets.group;
    for (size_t i = 0; i < count; ++i)
        if (!check_reference(field, value, at + i * field.bytes, strings, error))
            return false;
    return true;
}

/// What is left behind the fields of a record: less than a word, or the padding of a text.
bool check_padding(const view_area_t &value, size_t at, view_error_t &error)
{
    const std::span<const uint8_t> rest = view_bytes(value).subspan(at);
    return std::all_of(rest.begin(), rest.end(), [](uint8_t byte) { return byte == 0; }) ||
           view_fail(error, VIEW_LENGTH, value.offset + at, "%zu bytes behind the fields",
                     rest.size());
}

/// The records of a level that has one of each type at most, by type.
struct level_set_t {
    static constexpr uint32_t TYPE_DIM = 16; ///< types of such levels are below this
    view_record_t of[TYPE_DIM];
    bool has(uint32_t type) const { return of[type].value.data != nullptr; }
};

bool keep_record(format_level_t level, const view_record_t &record, level_set_t &set,
                 view_error_t &error)
{
    if (record.type >= level_set_t::TYPE_DIM || format_find(level, record.type) == nullptr)
        return view_fail(error, VIEW_UNKNOWN, record.offset, "record of type %u", record.type);
    if (set.has(record.type))
        return view_fail(error, VIEW_UNKNOWN, record.offset, "second record of type %u",
                         record.type);
    set.of[record.type] = record;
    return true;
}

bool read_level(format_level_t level, const view_area_t &area, level_set_t &set,
                view_error_t &error)
{
    view_cursor_t cursor = view_walk(area);
    for (view_record_t record; view_next(cursor, record);)
        if (!keep_record(level, record, set, error))
            return false;
    return view_walk_sound(cursor, error);
}

/// Checks the records of a level that hold fields.
bool check_level_fields(format_level_t level, const level_set_t &set,
                        const verify_targets_t &targets, view_error_t &error)
{
    for (const format_record_t &kind : format_records_of(level))
        if (kind.content == FORMAT_CONTENT_FIELDS && set.has(kind.type) &&
            !verify_fields(kind.kind, set.of[kind.type].value, targets, error))
            return view_within(error, "%s", kind.what);
    return true;
}

using check_record_t = bool (*)(const view_record_t &record, const verify_targets_t &targets,
                                view_error_t &error);

/// A list of records, the list of their positions, and what each record is.
struct list_form_t {
    uint32_t offsets;
    uint32_t records;
    format_level_t level;
    const char *what;
    check_record_t check;
    bool (*read)(const view_record_t &record, view_error_t &error);
};

bool check_position(const view_area_t &offsets, const view_area_t &records, uint32_t index,
                    const view_record_t &record, view_error_t &error)
{
    const size_t place = (record.offset - records.offset) / 4;
    if (index >= view_words(offsets))
        return view_fail(error, VIEW_COUNT, record.offset, "no position");
    return view_word(offsets, index) == place ||
           view_fail(error, VIEW_REFERENCE, offsets.offset + size_t{index} * 4,
                     "position %u instead of %zu", view_word(offsets, index), place);
}

bool check_list(const level_set_t &set, const list_form_t &form, const verify_targets_t &targets,
                view_error_t &error)
{
    const view_area_t &offsets = set.of[form.offsets].value;
    const view_area_t &records = set.of[form.records].value;
    view_cursor_t cursor = view_walk(records);
    uint32_t index = 0;
    for (view_record_t record; view_next(cursor, record); ++index) {
        if (format_find(form.level, record.type) == nullptr)
            return view_fail(error, VIEW_UNKNOWN, record.offset, "%s %u: record of type %u",
                             form.what, index, record.type);
        if (!check_position(offsets, records, index, record, error) ||
            !form.check(record, targets, error) || !form.read(record, error))
            return view_within(error, "%s %u", form.what, index);
    }
    if (!view_walk_sound(cursor, error))
        return view_within(error, "%s %u", form.what, index);
    return index == view_words(offsets) ||
           view_fail(error, VIEW_REFERENCE, offsets.offset + size_t{index} * 4,
                     "position of %s %u: there are %u", form.what, index, index);
}

/// A record whose strings and positions are sound may still be none that a view reads.
template <typename view_t, view_fault_t (*READ)(const view_record_t &, view_t &, size_t *)>
bool check_read(const view_record_t &record, view_error_t &error)
{
    view_t view;
    size_t at = record.offset;
    const view_fault_t fault = READ(record, view, &at);
    return fault == VIEW_SOUND || view_fail(error, fault, at, "%s", view_fault_name(fault));
}

bool check_attribute(const view_record_t &record, const verify_targets_t &targets,
                     view_error_t &error)
{
    return verify_fields(format_find(FORMAT_LEVEL_PROTO_ATTRS, record.type)->kind, record.value,
                         targets, error);
}

constexpr list_form_t attributes = {TLV_TYPE_PROTO_SUB_RULE_ATTRS_OFFSET,
                                    TLV_TYPE_PROTO_SUB_RULE_ATTRS,
                                    FORMAT_LEVEL_PROTO_ATTRS,
                                    "attribute",
                                    check_attribute,
                                    check_read<view_attribute_t, view_attribute_read>};

bool check_sub_rule(const view_record_t &record, const verify_targets_t &targets,
                    view_error_t &error)
{
    level_set_t set;
    return read_level(FORMAT_LEVEL_PROTO_SUB_RULE, record.value, set, error) &&
           check_level_fields(FORMAT_LEVEL_PROTO_SUB_RULE, set, targets, error) &&
           check_list(set, attributes, targets, error);
}

constexpr list_form_t sub_rules = {TLV_TYPE_PROTO_SUB_RULES_OFFSET,
                                   TLV_TYPE_PROTO_SUB_RULES,
                                   FORMAT_LEVEL_PROTO_SUB_RULES,
                                   "sub-rule",
                                   check_sub_rule,
                                   check_read<view_sub_rule_t, view_sub_rule_read>};

bool check_rule(const view_record_t &record, const verify_targets_t &targets, view_error_t &error)
{
    level_set_t set;
    return read_level(FORMAT_LEVEL_PROTO_RULE, record.value, set, error) &&
           check_level_fields(FORMAT_LEVEL_PROTO_RULE, set, targets, error) &&
           check_list(set, sub_rules, targets, error);
}

constexpr list_form_t rules = {TLV_TYPE_PROTO_RULES_OFFSET,
                               TLV_TYPE_PROTO_RULES,
                               FORMAT_LEVEL_PROTO_RULES,
                               "rule",
                               check_rule,
                               check_read<view_rule_t, view_rule_read>};

bool check_protocol(const view_record_t &record, const verify_targets_t &targets,
                    view_error_t &error)
{
    view_protocol_t protocol;
    level_set_t set;
    if (record.type != TLV_TYPE_PROTO)
        return view_fail(error, VIEW_UNKNOWN, record.offset, "record of type %u", record.type);
    if (!read_level(FORMAT_LEVEL_PROTO, record.value, set, error))
        return false;
    if (!set.has(TLV_TYPE_PROTO_META))
        return view_fail(error, VIEW_ABSENT, record.offset, "no meta");
    return check_level_fields(FORMAT_LEVEL_PROTO, set, targets, error) &&
           view_protocol_open(record.value, protocol, error) &&
           check_list(set, rules, targets, error);
}

/// Checks the protocols of a group.
void check_protocols(const view_area_t &area, const verify_targets_t &targets,
                     const pdb_fault_sink_t &sink)
{
    view_cursor_t cursor = view_walk(area);
    uint32_t index = 0;
    for (view_record_t record; view_next(cursor, record); ++index) {
        view_error_t error;
        if (!check_protocol(record, targets, error)) {
            view_within(error, "descriptions: protocol %u", index);
            sink.put(sink.context, error);
        }
    }
    view_error_t error;
    if (!view_walk_sound(cursor, error)) {
        view_within(error, "descriptions: protocol %u", index);
        sink.put(sink.context, error);
    }
}

/// Checks a group but for its protocols: gives their record, and the strings.
bool open_group(const view_record_t &record, view_record_t &protocols, verify_strings_t &strings,
                view_error_t &error)
{
    level_set_t set;
    if (record.type != TLV_TYPE_PROTOGROUP)
        return view_fail(error, VIEW_UNKNOWN, record.offset, "record of type %u", record.type);
    if (!read_level(FORMAT_LEVEL_PROTOGROUP, record.value, set, error))
        return false;
    if (!set.has(TLV_TYPE_PROTOGROUP_PROTOS) || !set.has(TLV_TYPE_PROTOGROUP_STRING))
        return view_fail(error, VIEW_ABSENT, record.offset, "no protocols, or no strings");
    protocols = set.of[TLV_TYPE_PROTOGROUP_PROTOS];
    strings.there = true;
    return view_pool_check({set.of[TLV_TYPE_PROTOGROUP_STRING].value}, strings.starts, error) ||
           view_within(error, "strings");
}

void check_group(const view_record_t &record, const verify_strings_t &main,
                 const pdb_fault_sink_t &sink)
{
    view_error_t error;
    view_record_t protocols;
    verify_strings_t strings;
    if (open_group(record, protocols, strings, error)) {
        check_protocols(protocols.value, {&main, &strings}, sink);
        return;
    }
    view_within(error, "descriptions");
    sink.put(sink.context, error);
}

} // namespace

bool verify_fields(format_kind_t kind, const view_area_t &value, const verify_targets_t &targets,
                   view_error_t &error)
{
    const view_fields_end_t end =
        view_fields(kind, value, [&](const format_field_t &field, size_t at, size_t count) {
            return check_run(field, value, at, count, targets, error);
        });
    switch (end.fault) {
    case VIEW_SOUND:
        return check_padding(value, end.at, error);
    case VIEW_VALUE:
        return false; // the run said why
    case VIEW_COUNT:
        return view_fail(error, VIEW_COUNT, value.offset + end.at, "%u fields in %zu bytes",
                         view_word(value, end.at / 4), value.size);
    default:
        return view_fail(error, VIEW_LENGTH, value.offset, "%zu bytes end within a field",
                         value.size);
    }
}

void verify_descriptions(const view_area_t &area, const verify_strings_t &main,
                         const pdb_fault_sink_t &sink)
{
    view_cursor_t cursor = view_walk(area);
    for (view_record_t record; view_next(cursor, record);)
        check_group(record, main, sink);
    view_error_t error;
    if (!view_walk_sound(cursor, error)) {
        view_within(error, "descriptions");
        sink.put(sink.context, error);
    }
}
