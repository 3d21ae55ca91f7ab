#include "visitor_psa.h"

#include <string_view>

namespace
{

/// Which state a key opens below which state.
constexpr state_key_t keys[] = {
    {PSA_STATE_ROOT, "prefix", PSA_STATE_PREFIX_KEY},
    {PSA_STATE_ROOT, "suffix", PSA_STATE_SUFFIX_KEY},
    {PSA_STATE_ROOT, "regular", PSA_STATE_REGULAR_KEY},
};

constexpr keyed_array_t arrays[] = {
    {PSA_STATE_PREFIX_KEY, PSA_STATE_PREFIX},
    {PSA_STATE_SUFFIX_KEY, PSA_STATE_SUFFIX},
    {PSA_STATE_REGULAR_KEY, PSA_STATE_REGULAR},
};

/// A key below those of the file stays in the state that it stands in.
uint32_t unknown(uint32_t parent)
{
    return parent == PSA_STATE_ROOT ? PSA_STATE_IGNORED : parent;
}

using string_row = keyed_row_t<psa_container_t, json_string_t>;

template <psa_pattern_table_t psa_container_t::*Table>
int set_name(psa_container_t *container, json_string_t *string)
{
    psa_pattern_name_set(&(container->*Table), csa_str(json_string_view(*string)));
    return 0;
}

template <psa_pattern_table_t psa_container_t::*Table>
int add_value(psa_container_t *container, json_string_t *string)
{
    return psa_pattern_value_add(&(container->*Table), csa_str(json_string_view(*string)));
}

constexpr string_row names[] = {
    {PSA_STATE_PREFIX, set_name<&psa_container_t::prefixes>},
    {PSA_STATE_SUFFIX, set_name<&psa_container_t::suffixes>},
    {PSA_STATE_REGULAR, set_name<&psa_container_t::regular>},
};

constexpr string_row values[] = {
    {PSA_STATE_PREFIX, add_value<&psa_container_t::prefixes>},
    {PSA_STATE_SUFFIX, add_value<&psa_container_t::suffixes>},
    {PSA_STATE_REGULAR, add_value<&psa_container_t::regular>},
};

constexpr keyed_table_t<psa_container_t> table = {
    .root = PSA_STATE_ROOT,
    .unknown = unknown,
    .keys = keys,
    .names = names,
    .strings = values,
    .arrays = arrays,
    .other_array = PSA_STATE_IGNORED,
};

} // namespace

void visitor_psa_init(visitor_psa_t *visitor, psa_container_t *container)
{
    *container = {};
    visitor_keyed_init<psa_container_t, table>(visitor, container);
}
