#include "pdb_difference.h"

#include <algorithm>
#include <iterator>

#include "csa_types.h"
#include "description_source.h"
#include "difference_fields.h"
#include "pairing.h"
#include "pdb_attr_properties.h"
#include "rule_difference.h"

namespace
{

bool open_side(comparison_t &comparison, const description_source_t &source,
               const source_protocol_t &place, side_t &side)
{
    comparison.out.fault_in_after = side.is_after;
    side.strings = source_strings(source, place);
    side.view = source_protocol(source, place);
    if (!model_protocol_read(side.strings, side.view, side.fields, comparison.error))
        return view_within(comparison.error, "protocol at offset %u", place.offset);
    side.nr_rule = view_list_count(side.view.rules);
    return true;
}

/// Compares two protocols; one that is not there is null.
bool compare_protocols(comparison_t &comparison, const description_source_t &before,
                       const source_protocol_t *old, const description_source_t &after,
                       const source_protocol_t *now)
{
    protocol_pair_t pair = {comparison, {}, {}};
    pair.after.is_after = true;
    if ((old != nullptr && !open_side(comparison, before, *old, pair.before)) ||
        (now != nullptr && !open_side(comparison, after, *now, pair.after)))
        return false;
    const model_protocol_t &shown = now != nullptr ? pair.after.fields : pair.before.fields;
    pair.shown = {now == nullptr   ? DIFFERENCE_REMOVED
                  : old == nullptr ? DIFFERENCE_ADDED
                                   : DIFFERENCE_CHANGED,
                  shown.id,
                  shown.name,
                  {},
                  {}};
    if (pair.shown.kind == DIFFERENCE_CHANGED)
        pair.shown.fields = protocol_fields_differing(pair.before.fields, pair.after.fields);
    if (pair.shown.kind != DIFFERENCE_CHANGED || !pair.shown.fields.empty())
        put_protocol(pair);
    const source_protocol_t &place = now != nullptr ? *now : *old;
    return compare_rules(pair) ||
           view_within(comparison.error, "protocol at offset %u", place.offset);
}

/// Pairs protocols by a key of theirs.
template <typename Key>
void pair_protocols(pairing_t &pairing, const description_source_t &before,
                    const description_source_t &after, Key key)
{
    pair_by(
        pairing, [&](uint32_t index) { return key(before, before.protocols[index]); },
        [&](uint32_t index) { return key(after, after.protocols[index]); });
}

bool compare_all(comparison_t &comparison, const description_source_t &before,
                 const description_source_t &after)
{
    using source = description_source_t;
    using place = source_protocol_t;
    pairing_t pairing = pairing_of(before.protocols.size(), after.protocols.size());
    pair_protocols(pairing, before, after, [](const source &from, const place &one) {
        return std::pair(one.id, source_name(from, one));
    });
    pair_protocols(pairing, before, after, source_name);
    pair_protocols(pairing, before, after, [](const source &, const place &one) { return one.id; });
    bool sound = true;
    for (size_t i = 0; sound && i < pairing.before.size(); ++i)
        sound = compare_protocols(comparison, before, &before.protocols[pairing.before[i]], after,
                                  nullptr);
    for (size_t i = 0; sound && i < pairing.pairs.size(); ++i)
        sound = compare_protocols(comparison, before, &before.protocols[pairing.pairs[i].first],
                                  after, &after.protocols[pairing.pairs[i].second]);
    for (size_t i = 0; sound && i < pairing.after.size(); ++i)
        sound = compare_protocols(comparison, before, nullptr, after,
                                  &after.protocols[pairing.after[i]]);
    return sound;
}

std::string side_text(const model_alias_side_t &side)
{
    return std::string(side.protocol)
        .append(":")
        .append(side.attribute)
        .append(" ")
        .append(attr_way2str(side.way));
}

/// Lists the aliases of a pdb, sorted.
std::vector<std::string> aliases_of(const description_model_t &model)
{
    std::vector<std::string> aliases;
    for (const model_alias_t &alias : model.aliases)
        aliases.push_back(side_text(alias.alias) + " as " + side_text(alias.reference));
    std::sort(aliases.begin(), aliases.end());
    return aliases;
}

void difference_aliases(alias_difference_t &aliases, const description_model_t &before,
                        const description_model_t &after)
{
    const std::vector<std::string> old = aliases_of(before);
    const std::vector<std::string> now = aliases_of(after);
    std::set_difference(old.begin(), old.end(), now.begin(), now.end(),
                        std::back_inserter(aliases.removed));
    std::set_difference(now.begin(), now.end(), old.begin(), old.end(),
                        std::back_inserter(aliases.added));
}

} // namespace

bool pdb_difference_walk(const pdb_view_t &before, const pdb_view_t &after,
                         const difference_sink_t *sink, pdb_difference_t &out, view_error_t &error,
                         const difference_bounds_t &bounds)
{
    out = {};
    comparison_t comparison = {sink, out, error, bounds};
    description_source_t old;
    description_source_t now;
    description_model_t aliases_before;
    description_model_t aliases_after;
    if (!description_source_open(before, old, error) ||
        !description_model_parts(before, aliases_before, error))
        return false;
    out.fault_in_after = true;
    if (!description_source_open(after, now, error) ||
        !description_model_parts(after, aliases_after, error))
        return false;
    difference_aliases(out.aliases, aliases_before, aliases_after);
    if (sink != nullptr)
        sink->put_aliases(sink->context, out.aliases);
    return compare_all(comparison, old, now);
}

bool pdb_difference(const pdb_view_t &before, const pdb_view_t &after, pdb_difference_t &out,
                    view_error_t &error, const difference_bounds_t &bounds)
{
    std::vector<protocol_difference_t> protocols;
    const auto put_protocol = [](void *context, const protocol_difference_t &protocol) {
        static_cast<std::vector<protocol_difference_t> *>(context)->push_back(protocol);
    };
    const auto put_rule = [](void *context, const rule_difference_t &rule) {
        static_cast<std::vector<protocol_difference_t> *>(context)->back().rules.push_back(rule);
    };
    const difference_sink_t sink = {[](void *, const alias_difference_t &) {}, put_protocol,
                                    put_rule, &protocols};
    const bool sound = pdb_difference_walk(before, after, &sink, out, error, bounds);
    out.protocols = std::move(protocols);
    return sound;
}
