#include <algorithm>
#include <tuple>

#include "match_database.h"

namespace
{

/// One side of an alias.
struct alias_side_t {
    std::string_view protocol;
    std::string_view name;
    uint32_t way = 0;
};

struct alias_t {
    alias_side_t alias;
    alias_side_t reference;
};

constexpr size_t ALIAS_SIDE_BYTES = 9;

bool read_side(const view_pool_t &strings, const uint8_t *at, alias_side_t &side)
{
    side.way = at[8];
    return view_pool_get(strings, csa_get_be32(at), side.protocol) &&
           view_pool_get(strings, csa_get_be32(at + 4), side.name) && side.way >= ATTR_WAY_CTS &&
           side.way <= ATTR_WAY_BOTH;
}

/// Reads the aliases of a pdb. Zeros pad their record: a side that is none ends them.
std::vector<alias_t> read_aliases(const pdb_view_t &view)
{
    std::vector<alias_t> aliases;
    const view_area_t &area = pdb_view_root(view, TLV_TYPE_ROOT_MATCHER_ALIAS);
    const view_pool_t strings = pdb_view_main_strings(view);
    for (size_t at = 0; area.size - at >= 2 * ALIAS_SIDE_BYTES; at += 2 * ALIAS_SIDE_BYTES) {
        alias_t alias;
        if (!read_side(strings, area.data + at, alias.alias) ||
            !read_side(strings, area.data + at + ALIAS_SIDE_BYTES, alias.reference))
            break;
        aliases.push_back(alias);
    }
    return aliases;
}

/// An attribute and one matcher that its values are run through.
struct lead_t {
    std::string_view protocol;
    std::string_view name;
    uint32_t way;
    uint32_t matcher;

    auto key() const { return std::tie(protocol, name, way); }
    bool operator<(const lead_t &other) const
    {
        return std::tie(protocol, name, way, matcher) <
               std::tie(other.protocol, other.name, other.way, other.matcher);
    }
    bool operator==(const lead_t &other) const
    {
        return key() == other.key() && matcher == other.matcher;
    }
};

/// Adds the attributes that an alias names and whose values lead to a matcher.
void add_named(const alias_t &alias, const view_matcher_t &matcher, uint32_t index,
               std::vector<lead_t> &leads)
{
    if (alias.reference.protocol != matcher.protocol || alias.reference.name != matcher.attribute)
        return;
    for (const uint32_t way : {ATTR_WAY_CTS, ATTR_WAY_STC}) {
        const uint32_t to = alias.reference.way == ATTR_WAY_BOTH ? way : alias.reference.way;
        if ((alias.alias.way & way) != 0 && to == matcher.way)
            leads.push_back({alias.alias.protocol, alias.alias.name, way, index});
    }
}

/// Adds the attributes that moved along: a sub-rule one of whose attributes is an alias goes to the
/// protocol of the reference whole. Who wrote it is told by the real bottoms of the rules.
/// A protocol of which an alias names an attribute that leads to the matcher, from `named` on, has
/// it for that.
void add_moved(const pdata_db &db, uint32_t index, std::span<const std::string_view> movable,
               size_t named, std::vector<lead_t> &leads)
{
    const view_matcher_t &matcher = db.matchers[index].view;
    const auto is_named = [&, end = leads.size()](std::string_view protocol) {
        for (size_t i = named; i < end; ++i)
            if (leads[i].protocol == protocol)
                return true;
        return false;
    };
    std::vector<bool> seen(db.protocols.size() + 1);
    for (const uint32_t item : match_items_of(db.matchers[index])) {
        const uint32_t rule = view_rules_slot(db.view.rules, item).rule_id;
        for (uint32_t i = 0; i < PDATA_BOTTOM_MAX && rule != 0; ++i) {
            const uint32_t number = db.rules[rule - 1].real_bottom[i] & ~MATCH_RULE_MARK;
            if (number != 0)
                seen[number] = true;
        }
    }
    for (const std::string_view protocol : movable)
        if (const pdata_protocol number = match_find_protocol(db, protocol);
            number != 0 && seen[number] && !is_named(protocol))
            leads.push_back({protocol, matcher.attribute, matcher.way, index});
}

/// The protocols whose attributes may have moved to a matcher's protocol.
std::vector<std::string_view> movable_to(const std::vector<alias_t> &aliases,
                                         std::string_view protocol)
{
    std::vector<std::string_view> from;
    for (const alias_t &alias : aliases)
        if (alias.reference.protocol == protocol && alias.alias.protocol != protocol)
            from.push_back(alias.alias.protocol);
    std::sort(from.begin(), from.end());
    from.erase(std::unique(from.begin(), from.end()), from.end());
    return from;
}

std::vector<lead_t> find_leads(const pdata_db &db)
{
    const std::vector<alias_t> aliases = read_aliases(db.view);
    std::vector<lead_t> leads;
    for (uint32_t index = 0; index < db.matchers.size(); ++index) {
        const view_matcher_t &view = db.matchers[index].view;
        leads.push_back({view.protocol, view.attribute, view.way, index});
        const size_t named = leads.size();
        for (const alias_t &alias : aliases)
            add_named(alias, view, index, leads);
        const std::vector<std::string_view> movable = movable_to(aliases, view.protocol);
        if (!movable.empty())
            add_moved(db, index, movable, named, leads);
    }
    std::sort(leads.begin(), leads.end());
    leads.erase(std::unique(leads.begin(), leads.end()), leads.end());
    return leads;
}

} // namespace

void match_index_attributes(pdata_db &db)
{
    for (const lead_t &lead : find_leads(db)) {
        const auto at = static_cast<uint32_t>(db.leads.size());
        if (db.attributes.empty() || db.attributes.back().protocol != lead.protocol ||
            db.attributes.back().name != lead.name || db.attributes.back().way != lead.way)
            db.attributes.push_back(
                {lead.protocol, lead.name, lead.way, match_scope_of(lead.protocol),
                 match_find_protocol(db, lead.protocol), db.matchers[lead.matcher].kind, at, 0});
        db.leads.push_back(&db.matchers[lead.matcher]);
        ++db.attributes.back().nr;
    }
    for (match_attribute_t &attribute : db.attributes)
        if (attribute.nr == 1 && db.leads[attribute.first]->is_suffix_tree)
            attribute.suffix_tree = db.leads[attribute.first];
}
