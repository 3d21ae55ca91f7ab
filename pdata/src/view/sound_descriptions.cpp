#include "view_sound.h"

#include <algorithm>

#include "format_tables.h"
#include "view_description.h"
#include "view_fields.h"
#include "view_parts.h"
#include "view_stored.h"

namespace
{

/// Which entries of a pool something refers to, by half their offsets.
struct sound_used_t {
    format_kind_t pool; ///< kind of its record
    std::vector<bool> used;

    sound_used_t(format_kind_t kind, const view_pool_t &of) : pool(kind), used(of.area.size / 2 + 1)
    {
    }
};

void use(sound_used_t &strings, uint32_t offset)
{
    if (offset / 2 < strings.used.size())
        strings.used[offset / 2] = true;
}

void use_fields(format_kind_t kind, const view_area_t &value, sound_used_t &strings)
{
    (void)view_fields(kind, value, [&](const format_field_t &field, size_t at, size_t count) {
        if (field.kind != FORMAT_FIELD_STRING || field.target != strings.pool)
            return true;
        for (size_t i = 0; i < count; ++i)
            use(strings, csa_get_be32(value.data + at + i * field.bytes));
        return true;
    });
}

/// Marks what the records of a level refer to, and those within them: a few levels, which the
/// format gives.
void use_level(format_level_t level, const view_area_t &area, sound_used_t &strings)
{
    view_cursor_t cursor = view_walk(area);
    for (view_record_t record; view_next(cursor, record);) {
        const format_record_t *kind = format_find(level, record.type);
        if (kind != nullptr && kind->content == FORMAT_CONTENT_RECORDS)
            use_level(kind->inner, record.value, strings);
        else if (kind != nullptr && kind->content == FORMAT_CONTENT_FIELDS)
            use_fields(kind->kind, record.value, strings);
    }
}

bool all_used(const view_pool_t &pool, const sound_used_t &strings, view_error_t &error)
{
    uint32_t unused = 0;
    uint32_t first = 0;
    view_pool_cursor_t cursor = view_pool_walk(pool);
    for (view_pool_entry_t entry; view_pool_next(cursor, entry);)
        if (!strings.used[entry.offset / 2] && unused++ == 0)
            first = entry.offset;
    return unused == 0 ||
           view_fail(error, VIEW_LOST, pool.area.offset + first,
                     "string at %u: nothing refers to it, nor to %u others", first, unused - 1);
}

/// A protocol of a group.
struct sound_protocol_t {
    uint32_t number = 0; ///< from 0
    uint32_t id = 0;
    size_t offset = 0; ///< of its record
};

/// Fails for the first protocol that has the id of an earlier one. An id of 0 is none.
bool ids_differ(std::vector<sound_protocol_t> &protocols, view_error_t &error)
{
    std::ranges::stable_sort(protocols, {}, &sound_protocol_t::id);
    const sound_protocol_t *first = nullptr;
    for (size_t i = 1; i < protocols.size(); ++i)
        if (protocols[i].id != 0 && protocols[i].id == protocols[i - 1].id &&
            (first == nullptr || protocols[i].number < first->number))
            first = &protocols[i];
    return first == nullptr || view_fail(error, VIEW_VALUE, first->offset,
                                         "protocol %u: its id %u is that of protocol %u",
                                         first->number, first->id, first[-1].number);
}

} // namespace

bool sound_group_strings(const view_group_t &group, view_error_t &error)
{
    sound_used_t strings(FORMAT_PROTOGROUP_STRING, group.pool);
    use_level(FORMAT_LEVEL_PROTOS, group.protocols, strings);
    return all_used(group.pool, strings, error);
}

bool sound_protocols(const view_group_t &group, view_error_t &error)
{
    std::vector<sound_protocol_t> protocols;
    const bool read = view_each_protocol(
        group, error, [&](const view_record_t &record, const view_protocol_t &protocol) {
            protocols.push_back(
                {static_cast<uint32_t>(protocols.size()), protocol.id, record.offset});
            return true;
        });
    return read && ids_differ(protocols, error);
}

bool sound_main_strings(const pdb_view_t &pdb, view_error_t &error)
{
    const view_pool_t pool = pdb_view_main_strings(pdb);
    sound_used_t strings(FORMAT_STRING, pool);
    use_level(FORMAT_LEVEL_PROTODESCS, pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS), strings);
    use_fields(FORMAT_MATCHER_ALIAS, pdb_view_root(pdb, TLV_TYPE_ROOT_MATCHER_ALIAS), strings);
    const view_area_t &tags = pdb_view_root(pdb, TLV_TYPE_ROOT_TAGS);
    for (uint32_t i = 0; i < view_tag_count(tags); ++i)
        use(strings, view_tag_at(tags, i, pdb.load_state == TLV_TYPE_LOAD_LOADED_LE).name);
    return all_used(pool, strings, error);
}
