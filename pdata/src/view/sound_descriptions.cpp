#include "view_sound.h"

#include <algorithm>

#include "view_description.h"
#include "view_parts.h"
#include "view_references.h"
#include "view_stored.h"

namespace
{

/// Which entries of a pool something refers to, by half their offsets.
using sound_used_t = std::vector<bool>;

sound_used_t none_used(const view_pool_t &pool)
{
    return sound_used_t(pool.area.size / 2 + 1);
}

void use(sound_used_t &used, uint32_t offset)
{
    if (offset / 2 < used.size())
        used[offset / 2] = true;
}

bool all_used(const view_pool_t &pool, const sound_used_t &used, view_error_t &error)
{
    uint32_t unused = 0;
    uint32_t first = 0;
    view_pool_cursor_t cursor = view_pool_walk(pool);
    for (view_pool_entry_t entry; view_pool_next(cursor, entry);)
        if (!used[entry.offset / 2] && unused++ == 0)
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
    sound_used_t used = none_used(group.pool);
    view_level_references(FORMAT_LEVEL_PROTOS, group.protocols, FORMAT_PROTOGROUP_STRING,
                          [&](uint32_t offset) { use(used, offset); });
    return all_used(group.pool, used, error);
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
    sound_used_t used = none_used(pool);
    const auto take = [&](uint32_t offset) { use(used, offset); };
    view_level_references(FORMAT_LEVEL_PROTODESCS, pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS),
                          FORMAT_STRING, take);
    view_record_references(FORMAT_MATCHER_ALIAS, pdb_view_root(pdb, TLV_TYPE_ROOT_MATCHER_ALIAS),
                           FORMAT_STRING, take);
    const view_area_t &tags = pdb_view_root(pdb, TLV_TYPE_ROOT_TAGS);
    for (uint32_t i = 0; i < view_tag_count(tags); ++i)
        use(used, view_tag_at(tags, i, pdb.load_state == TLV_TYPE_LOAD_LOADED_LE).name);
    return all_used(pool, used, error);
}
