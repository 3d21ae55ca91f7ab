#include "pdb_view.h"

#include "format_tables.h"
#include "view_take.h"

namespace
{

/// A compiled pdb without descriptions ends with two zero words behind its marker.
bool is_zero_word(const pdb_view_t &view, const view_record_t &record)
{
    return record.type == 0 && record.length == 0 &&
           pdb_view_has(view, TLV_TYPE_ROOT_DEFAULT_LOADED);
}

bool keep_root(pdb_view_t &view, const view_record_t &record, view_error_t &error)
{
    if (is_zero_word(view, record))
        return true;
    if (format_find(FORMAT_LEVEL_PDB, record.type) == nullptr)
        return view_fail(error, VIEW_UNKNOWN, record.offset, "root record of type %u", record.type);
    if (!pdb_view_has(view, record.type))
        view.roots[record.type] = record;
    return true;
}

bool find_roots(pdb_view_t &view, view_error_t &error)
{
    view_cursor_t cursor = view_walk(view.file);
    for (view_record_t record; view_next(cursor, record);)
        if (!keep_root(view, record, error))
            return false;
    return view_walk_sound(cursor, error);
}

bool open_load_state(pdb_view_t &view, view_error_t &error)
{
    const view_area_t &area = pdb_view_root(view, TLV_TYPE_ROOT_LOAD);
    if (!pdb_view_has(view, TLV_TYPE_ROOT_LOAD))
        return true;
    if (area.size != 4)
        return view_fail(error, VIEW_LENGTH, area.offset, "load state: %zu bytes instead of 4",
                         area.size);
    view.load_state = view_word(area, 0);
    return view.load_state == TLV_TYPE_LOAD_UNLOADABLE ||
           view.load_state == TLV_TYPE_LOAD_LOADABLE ||
           view.load_state == TLV_TYPE_LOAD_LOADED_LE ||
           view.load_state == TLV_TYPE_LOAD_LOADED_BE ||
           view_fail(error, VIEW_VALUE, area.offset, "load state: 0x%08x", view.load_state);
}

bool open_version(pdb_view_t &view, view_error_t &error)
{
    constexpr size_t fixed = 12; // bytes in front of the text
    const view_area_t &area = pdb_view_root(view, TLV_TYPE_ROOT_VERSION);
    if (area.size < fixed)
        return view_fail(error, VIEW_LENGTH, area.offset, "version: %zu bytes", area.size);
    const uint32_t length = view_word(area, 2);
    if (length > area.size - fixed)
        return view_fail(error, VIEW_COUNT, area.offset + 8,
                         "version: text of %u bytes, %zu are left", length, area.size - fixed);
    view.version = {view_word(area, 0),
                    view_word(area, 1),
                    {reinterpret_cast<const char *>(area.data + fixed), length}};
    return true;
}

/// Looks for the sections that come together.
bool find_sections(pdb_view_t &view, view_error_t &error)
{
    constexpr uint32_t sections[] = {TLV_TYPE_ROOT_VERSION, TLV_TYPE_ROOT_MATCHERS,
                                     TLV_TYPE_ROOT_RULES};
    uint32_t found = 0;
    for (const uint32_t type : sections)
        found += pdb_view_has(view, type) ? 1 : 0;
    view.compiled = found == 3;
    view.empty = pdb_view_has(view, TLV_TYPE_ROOT_DEFAULT_LOADED);
    if (found == 0 || (view.compiled && !view.empty))
        return true;
    return view_fail(error, VIEW_ABSENT, 0, "%u of version, matchers and rules%s", found,
                     view.empty ? ", and the marker of an empty pdb" : "");
}

bool open_sections(pdb_view_t &view, view_error_t &error)
{
    if (!view.compiled)
        return true;
    if (!open_version(view, error))
        return false;
    if (!view_matchers_open(pdb_view_root(view, TLV_TYPE_ROOT_MATCHERS), view.matchers, error))
        return view_within(error, "matchers");
    return view_rules_open(pdb_view_root(view, TLV_TYPE_ROOT_RULES), view.rules, error) ||
           view_within(error, "rules");
}

} // namespace

bool pdb_view_open(std::span<const uint8_t> file, pdb_view_t &view, view_error_t &error)
{
    view = {};
    view.file = view_file(file);
    if (!find_roots(view, error) || !open_load_state(view, error) || !find_sections(view, error))
        return false;
    if (!pdb_view_has(view, TLV_TYPE_ROOT_PROTODESCS) && !view.empty)
        return view_fail(error, VIEW_ABSENT, file.size(), "no protocol descriptions");
    return open_sections(view, error);
}
