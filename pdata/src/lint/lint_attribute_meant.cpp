#include "lint_attribute_meant.h"

#include <algorithm>
#include <vector>

#include "csa_char.h"
#include "lint_words.h"
#include "pdb_attr_properties.h"

namespace
{

/// What other places call a thing, and what it is called here.
struct other_name_t {
    std::string_view name;
    std::string_view meant;
};

constexpr other_name_t other_protocols[] = {
    {"tls", "ssl"},  {"https", "ssl"},  {"ipv4", "ip"},      {"ip4", "ip"},
    {"ipv6", "ip6"}, {"http2", "http"}, {"icmpv6", "icmp6"}, {"quicv1", "quic"},
};

constexpr other_name_t other_attributes[] = {
    {"host", "server"},
    {"hostname", "server"},
    {"host_name", "server"},
    {"domain", "server"},
    {"authority", "server"},
    {"host", "server_name"},
    {"sni", "server_name"},
    {"sni", "common_name"},
    {"server_name", "common_name"},
    {"host", "common_name"},
    {"domain", "query"},
    {"name", "query"},
    {"qname", "query"},
    {"url", "uri"},
    {"path", "uri"},
    {"dport", "port"},
    {"dst_port", "port"},
    {"destination_port", "port"},
    {"ip", "address"},
    {"dst_ip", "address"},
    {"payload", "stream"},
    {"data", "stream"},
    {"content_type", "mime_type"},
    {"ua", "user_agent"},
    {"proto", "protoid"},
    {"protocol_id", "protoid"},
};

std::string small(std::string_view text)
{
    std::string letters(text);
    std::ranges::transform(letters, letters.begin(), char_small);
    return letters;
}

/// An attribute with its keys, those of a direction first where it has one alone.
struct named_t {
    std::string_view name;
    std::vector<std::string> keys;
};

/// The attributes of all protocols, without the row that ends their table.
std::span<const pdb_attr_properties_t> all_attributes()
{
    const auto table = pdb_attr_properties_table();
    return table.first(table.size() - 1);
}

/// Returns the attributes of a protocol.
std::vector<named_t> attributes_of(std::string_view protocol)
{
    std::vector<named_t> names;
    for (const pdb_attr_properties_t &row : all_attributes()) {
        if (row.proper_proto != protocol)
            continue;
        const std::string name(row.proper_attr);
        named_t &named = names.emplace_back(named_t{row.proper_attr, {}});
        if (row.proper_allowed_way == ATTR_WAY_BOTH)
            named.keys.push_back(name);
        for (const csa_attr_way_t way : {ATTR_WAY_CTS, ATTR_WAY_STC})
            if ((row.proper_allowed_way & way) != 0)
                named.keys.push_back(attr_way2prefix(way) + name);
    }
    return names;
}

/// Returns a key without its direction.
std::string_view without_way(std::string_view key)
{
    (void)attr_way_split(key);
    return key;
}

/// Returns the protocols that have an attribute.
std::vector<std::string_view> owners_of(std::string_view attribute)
{
    std::vector<std::string_view> owners;
    for (const pdb_attr_properties_t &row : all_attributes())
        if (row.proper_attr == attribute)
            owners.emplace_back(row.proper_proto);
    return owners;
}

/// Returns what to do about a protocol without attributes: the one that another word stands for,
/// or those that have the attribute.
std::string protocol_hint(std::string_view protocol, std::string_view attribute)
{
    const std::string word = small(protocol);
    const auto other = std::ranges::find(other_protocols, word, &other_name_t::name);
    const std::vector<std::string_view> owners = owners_of(attribute);
    const std::string_view meant =
        other != std::end(other_protocols) ? other->meant : lint_nearest(word, owners);
    if (!meant.empty())
        return lint_joined({"write the protocol ", lint_quoted(meant)});
    if (owners.empty())
        return "no attribute of " + lint_quoted(protocol) + " can be tested";
    std::string list;
    for (const std::string_view owner : owners)
        list += (list.empty() ? "test it of " : " or ") + std::string(owner);
    return list;
}

/// Returns the key that is meant; empty where none is near.
std::string_view meant_key(const std::vector<named_t> &names, std::string_view key)
{
    std::vector<std::string_view> keys;
    for (const named_t &named : names)
        keys.insert(keys.end(), named.keys.begin(), named.keys.end());
    const std::string word = small(key);
    if (const std::string_view nearest = lint_nearest(word, keys); !nearest.empty())
        return nearest;
    for (const other_name_t &other : other_attributes) {
        const auto meant = std::ranges::find(names, other.meant, &named_t::name);
        if (other.name == without_way(word) && meant != names.end())
            return meant->keys.front();
    }
    return "";
}

} // namespace

std::string lint_meant_attribute(std::string_view protocol, std::string_view key)
{
    const std::vector<named_t> names = attributes_of(protocol);
    if (names.empty())
        return protocol_hint(protocol, without_way(key));
    if (const std::string_view meant = meant_key(names, key); !meant.empty())
        return "write " + lint_quoted(meant);
    std::string list;
    for (const named_t &named : names)
        list += (list.empty() ? "write one of " : ", ") + std::string(named.name);
    return list;
}

bool lint_is_attribute(std::string_view key)
{
    const std::string_view name = without_way(key);
    return std::ranges::any_of(all_attributes(), [&](const pdb_attr_properties_t &row) {
        return row.proper_attr == name;
    });
}
