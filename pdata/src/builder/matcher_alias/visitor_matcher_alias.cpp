#include "visitor_matcher_alias.h"

namespace
{

// clang-format off
/// Which state a key opens below which state.
constexpr state_key_t keys[] = {
    {MATCHER_ALIAS_STATE_ROOT, "aliases", MATCHER_ALIAS_STATE_ALIASES},
    {MATCHER_ALIAS_STATE_ALIASES, "alias", MATCHER_ALIAS_STATE_ALIASES_ALIAS},
    {MATCHER_ALIAS_STATE_ALIASES, "reference", MATCHER_ALIAS_STATE_ALIASES_REFERENCE},
    {MATCHER_ALIAS_STATE_ALIASES_ALIAS, "protocol", MATCHER_ALIAS_STATE_ALIASES_ALIAS_PROTOCOL},
    {MATCHER_ALIAS_STATE_ALIASES_ALIAS, "attr", MATCHER_ALIAS_STATE_ALIASES_ALIAS_ATTR},
    {MATCHER_ALIAS_STATE_ALIASES_ALIAS, "way", MATCHER_ALIAS_STATE_ALIASES_ALIAS_WAY},
    {MATCHER_ALIAS_STATE_ALIASES_REFERENCE, "protocol", MATCHER_ALIAS_STATE_ALIASES_REFERENCE_PROTOCOL},
    {MATCHER_ALIAS_STATE_ALIASES_REFERENCE, "attr", MATCHER_ALIAS_STATE_ALIASES_REFERENCE_ATTR},
    {MATCHER_ALIAS_STATE_ALIASES_REFERENCE, "way", MATCHER_ALIAS_STATE_ALIASES_REFERENCE_WAY},
};
// clang-format on

using entry_t = matcher_alias_entry_t;
using side_t = matcher_alias_side_t;

/// A row that stores a string in one field of one side of the entry being filled.
template <side_t entry_t::*Side, json_string_t *side_t::*Field>
int set(matcher_alias_container_t *container, json_string_t *string)
{
    matcher_alias_entry(container).*Side.*Field = string;
    return 0;
}

constexpr keyed_row_t<matcher_alias_container_t, json_string_t> strings[] = {
    {MATCHER_ALIAS_STATE_ALIASES_ALIAS_PROTOCOL, set<&entry_t::alias, &side_t::protocol>},
    {MATCHER_ALIAS_STATE_ALIASES_ALIAS_ATTR, set<&entry_t::alias, &side_t::attr>},
    {MATCHER_ALIAS_STATE_ALIASES_ALIAS_WAY, set<&entry_t::alias, &side_t::way>},
    {MATCHER_ALIAS_STATE_ALIASES_REFERENCE_PROTOCOL, set<&entry_t::reference, &side_t::protocol>},
    {MATCHER_ALIAS_STATE_ALIASES_REFERENCE_ATTR, set<&entry_t::reference, &side_t::attr>},
    {MATCHER_ALIAS_STATE_ALIASES_REFERENCE_WAY, set<&entry_t::reference, &side_t::way>},
};

/// An object that ends inside the array of aliases is an entry.
constexpr keyed_end_t<matcher_alias_container_t> object_ends[] = {
    {MATCHER_ALIAS_STATE_ALIASES, matcher_alias_next}};

constexpr keyed_table_t<matcher_alias_container_t> table = {
    .root = MATCHER_ALIAS_STATE_ROOT,
    .unknown = [](uint32_t) -> uint32_t { return MATCHER_ALIAS_STATE_UNKNOWN; },
    .keys = keys,
    .strings = strings,
    .object_ends = object_ends,
};

} // namespace

void visitor_matcher_alias_init(visitor_matcher_alias_t *visitor,
                                matcher_alias_container_t *container)
{
    *container = {};
    visitor_keyed_init<matcher_alias_container_t, table>(visitor, container);
}
