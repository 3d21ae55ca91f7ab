#include "matcher_alias_keys.h"

#include <algorithm>

namespace
{

constexpr uint64_t FNV_OFFSET = 0xcbf29ce484222325;
constexpr uint64_t FNV_PRIME = 0x100000001b3;

uint64_t hash_byte(uint64_t hash, uint8_t byte)
{
    return (hash ^ byte) * FNV_PRIME;
}

/// The length comes first, so that no two names run together.
uint64_t hash_name(uint64_t hash, csa_str_t name)
{
    hash = hash_byte(hash_byte(hash, static_cast<uint8_t>(name.str_len >> 8)),
                     static_cast<uint8_t>(name.str_len));
    for (const char letter : csa_str_view(name))
        hash = hash_byte(hash, static_cast<uint8_t>(letter));
    return hash;
}

bool key_less(const matcher_alias_key_t &a, const matcher_alias_key_t &b)
{
    return a.key != b.key ? a.key < b.key : a.index < b.index;
}

/// Returns the index of the first entry of a key that `fits` accepts, or the number of entries.
template <typename Fits>
size_t find_key(std::span<const matcher_alias_key_t> keys, uint64_t key, Fits fits)
{
    auto it = std::lower_bound(keys.begin(), keys.end(), matcher_alias_key_t{key, 0}, key_less);
    for (; it != keys.end() && it->key == key; ++it)
        if (fits(it->index))
            return it->index;
    return keys.size();
}

uint64_t proto_key(csa_str_t proto_name)
{
    return matcher_alias_compute_key(proto_name, {}, ATTR_WAY_UNKNOWN);
}

/// Adds the protocols of a pair, unless they are there.
void add_protocols(matcher_alias_t *matcher_alias, const alias_pair_t &pair)
{
    const csa_str_t from = pair.alias.proto_name;
    const csa_str_t to = pair.reference.proto_name;
    const auto is_pair = [&](const matcher_alias_proto_t &proto) {
        return csa_str_equal(proto.alias, from) && csa_str_equal(proto.reference, to);
    };
    uint32_t &nr = matcher_alias->nr_proto_alias;
    const auto filled = std::span(matcher_alias->proto_aliases).first(nr);
    if (std::any_of(filled.begin(), filled.end(), is_pair))
        return;
    matcher_alias->proto_aliases[nr] = {from, to};
    matcher_alias->proto_alias_keys[nr] = {proto_key(from), nr};
    ++nr;
}

void add_pair(matcher_alias_t *matcher_alias, const alias_pair_t &pair)
{
    const alias_elt_t &alias = pair.alias;
    uint32_t &nr = matcher_alias->nr_alias;
    matcher_alias->aliases[nr] = pair;
    matcher_alias->alias_keys[nr] = {
        matcher_alias_compute_key(alias.proto_name, alias.attr_name, alias.way), nr};
    ++nr;
    add_protocols(matcher_alias, pair);
}

} // namespace

uint64_t matcher_alias_compute_key(csa_str_t proto_name, csa_str_t attr_name, csa_attr_way_t way)
{
    return hash_byte(hash_name(hash_name(FNV_OFFSET, proto_name), attr_name),
                     static_cast<uint8_t>(way));
}

void matcher_alias_sort_keys(matcher_alias_t *matcher_alias)
{
    const auto keys = std::span(matcher_alias->alias_keys).first(matcher_alias->nr_alias);
    std::sort(keys.begin(), keys.end(), key_less);
}

void matcher_alias_sort_proto_keys(matcher_alias_t *matcher_alias)
{
    const auto keys =
        std::span(matcher_alias->proto_alias_keys).first(matcher_alias->nr_proto_alias);
    std::sort(keys.begin(), keys.end(), key_less);
}

pdata_status_t matcher_alias_make_alias_keys(matcher_alias_t *matcher_alias,
                                             std::span<const alias_pair_t> pairs)
{
    if (pairs.size() > FENCE_MATCHER_ALIAS_NUMBER)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_MATCHER_ALIAS_STORED);
    *matcher_alias = {};
    for (const alias_pair_t &pair : pairs)
        add_pair(matcher_alias, pair);
    matcher_alias_sort_keys(matcher_alias);
    matcher_alias_sort_proto_keys(matcher_alias);
    return PDATA_SUCCESS;
}

bool matcher_alias_has_proto(const matcher_alias_t &matcher_alias, csa_str_t proto_name)
{
    const auto keys = std::span(matcher_alias.proto_alias_keys).first(matcher_alias.nr_proto_alias);
    const auto fits = [&](uint32_t index) {
        return csa_str_equal(matcher_alias.proto_aliases[index].alias, proto_name);
    };
    return find_key(keys, proto_key(proto_name), fits) != keys.size();
}

const alias_pair_t *matcher_alias_find(const matcher_alias_t &matcher_alias, csa_str_t proto_name,
                                       csa_str_t attr_name, csa_attr_way_t way)
{
    const auto keys = std::span(matcher_alias.alias_keys).first(matcher_alias.nr_alias);
    const auto fits = [&](uint32_t index) {
        const alias_elt_t &alias = matcher_alias.aliases[index].alias;
        return alias.way == way && csa_str_equal(alias.proto_name, proto_name) &&
               csa_str_equal(alias.attr_name, attr_name);
    };
    const size_t index =
        find_key(keys, matcher_alias_compute_key(proto_name, attr_name, way), fits);
    return index == keys.size() ? nullptr : &matcher_alias.aliases[index];
}
