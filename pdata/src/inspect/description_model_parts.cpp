#include "description_model.h"
#include "view_parts.h"

namespace
{

bool read_side(const view_pool_t &strings, const view_alias_side_t &view, model_alias_side_t &side,
               view_error_t &error)
{
    side.way = view.way;
    return view_pool_require(strings, view.protocol, "alias protocol", side.protocol, error) &&
           view_pool_require(strings, view.attribute, "alias attribute", side.attribute, error);
}

bool read_aliases(const pdb_view_t &pdb, description_model_t &model, view_error_t &error)
{
    const view_area_t &area = pdb_view_root(pdb, TLV_TYPE_ROOT_MATCHER_ALIAS);
    const view_pool_t strings = pdb_view_main_strings(pdb);
    for (uint32_t i = 0; i < view_alias_count(area); ++i) {
        const view_alias_t view = view_alias_at(area, i);
        model_alias_t &alias = model.aliases.emplace_back();
        if (!read_side(strings, view.alias, alias.alias, error) ||
            !read_side(strings, view.reference, alias.reference, error))
            return view_within(error, "alias %u", i);
    }
    return true;
}

/// Tells whether the names of a tag table are main strings in one of the two byte orders.
bool names_are_there(const pdb_view_t &pdb, const view_area_t &tags, bool least_first)
{
    std::string_view name;
    for (uint32_t i = 0; i < view_tag_count(tags); ++i)
        if (!view_pool_get(pdb_view_main_strings(pdb), view_tag_at(tags, i, least_first).name,
                           name))
            return false;
    return true;
}

/// Tells whether a tag table has its least significant byte first: the load state says so, unless
/// the names are only there otherwise.
bool is_least_first(const pdb_view_t &pdb, const view_area_t &tags)
{
    const bool said = pdb.load_state == TLV_TYPE_LOAD_LOADED_LE;
    const bool holds = names_are_there(pdb, tags, said) || !names_are_there(pdb, tags, !said);
    return holds ? said : !said;
}

bool read_tag_table(const pdb_view_t &pdb, description_model_t &model, view_error_t &error)
{
    const view_area_t &area = pdb_view_root(pdb, TLV_TYPE_ROOT_TAGS);
    const bool least_first = is_least_first(pdb, area);
    for (uint32_t i = 0; i < view_tag_count(area); ++i) {
        const view_tag_t view = view_tag_at(area, i, least_first);
        std::string_view name;
        if (!view_pool_require(pdb_view_main_strings(pdb), view.name, "name", name, error))
            return view_within(error, "tag %u", i);
        model.tag_table.emplace_back(name, view.number);
    }
    return true;
}

} // namespace

bool description_model_parts(const pdb_view_t &pdb, description_model_t &model, view_error_t &error)
{
    model.main_strings = pdb_view_has(pdb, TLV_TYPE_ROOT_STRING);
    model.nameless_aliases = !model.main_strings && pdb_view_has(pdb, TLV_TYPE_ROOT_MATCHER_ALIAS);
    model.nameless_tags = !model.main_strings && pdb_view_has(pdb, TLV_TYPE_ROOT_TAGS);
    return !model.main_strings ||
           (read_aliases(pdb, model, error) && read_tag_table(pdb, model, error));
}
