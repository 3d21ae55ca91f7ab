#include <algorithm>
#include <functional>
#include <string_view>

#include "plu_duplicate.h"

namespace
{

/// A place of a value: slot of the run, attribute of the slot, value of the attribute.
struct place_t {
    size_t slot;
    uint32_t attr;
    uint32_t value;
};

uint64_t mix(uint64_t hash, uint64_t more)
{
    hash = (hash ^ more) * 0x9E3779B97F4A7C15ULL;
    return hash ^ hash >> 32;
}

uint64_t mix_text(uint64_t hash, const csa_str_t &text)
{
    return mix(hash, std::hash<std::string_view>{}(csa_str_view(text)));
}

uint64_t mix_generic(uint64_t hash, const plu_generic_t &generic)
{
    hash = mix(hash, uint64_t{generic.scope} << 32 | generic.vid);
    hash = mix_text(hash, generic.bottom_protocol);
    hash = mix_text(hash, generic.protocol);
    hash = mix(hash, uint64_t{generic.order} << 1 | (generic.ruleorder ? 1 : 0));
    for (const csa_str_t &path : generic.path)
        hash = mix_text(hash, path);
    return mix(hash, uint64_t{generic.stc_mindata} << 32 | generic.cts_mindata);
}

uint64_t hash_of_value(uint32_t n_class, const place_t &place, const csa_str_t &value)
{
    const uint64_t where = uint64_t{place.slot} << 40 | uint64_t{place.attr} << 20 | place.value;
    return mix_text(mix(n_class, where), value);
}

/// The attributes of a slot that can take part in a comparison: those that are set, and the first
/// one of a slot that stands alone.
uint32_t nr_comparable(const ruledesc_build_t &slot, const plu_run_t &run)
{
    return std::max(slot.rule_nr_attr, run.len == 1 ? 1U : 0U);
}

/// Tells whether two slots differ in values at most.
bool alike(const ruledesc_build_t &a, const ruledesc_build_t &b, const plu_run_t &run)
{
    if (a.rule_nr_attr != b.rule_nr_attr ||
        !plu_generic_equal(plu_generic_of(a), plu_generic_of(b)))
        return false;
    const uint32_t nr_attr = nr_comparable(a, run);
    if (run.len == 1 && a.rule_attr[0].attr_nr_val != b.rule_attr[0].attr_nr_val)
        return false;
    for (uint32_t i = 0; i < nr_attr; ++i)
        if (pdata_strstrncmp(a.rule_attr[i].attr_name, b.rule_attr[i].attr_name) != 0)
            return false;
    return true;
}

bool alike_runs(const protodesc_build_t &pb, const plu_run_t &a, const plu_run_t &b)
{
    if (a.len != b.len)
        return false;
    for (uint32_t i = 0; i < a.len; ++i)
        if (!alike(pb.pb_rules[a.start + i], pb.pb_rules[b.start + i], a))
            return false;
    return true;
}

/// Returns the class that a run belongs to, which is made when the run is the first of it.
uint32_t class_of(const protodesc_build_t &pb, const plu_run_t &run, plu_rule_index_t *index)
{
    uint64_t hash = run.len;
    for (uint32_t i = 0; i < run.len; ++i)
        hash = mix_generic(hash, plu_generic_of(pb.pb_rules[run.start + i]));
    const auto [first, last] = index->by_generic.equal_range(hash);
    for (auto at = first; at != last; ++at)
        if (alike_runs(pb, index->classes[at->second].sample, run))
            return at->second;
    const auto n_class = static_cast<uint32_t>(index->classes.size());
    index->classes.push_back({run, {}});
    index->by_generic.emplace(hash, n_class);
    return n_class;
}

/// Lists a run in its class and under its values.
void list_run(const protodesc_build_t &pb, const plu_run_t &run, plu_rule_index_t *index)
{
    const auto n_run = static_cast<uint32_t>(index->runs.size());
    const uint32_t n_class = class_of(pb, run, index);
    index->runs.push_back(run);
    index->classes[n_class].runs.push_back(n_run);
    for (uint32_t i = 0; i < run.len; ++i) {
        const ruledesc_build_t &slot = pb.pb_rules[run.start + i];
        for (uint32_t j = 0; j < nr_comparable(slot, run); ++j) {
            const std::vector<csa_str_t> &values = slot.rule_attr[j].attr_val;
            for (uint32_t k = 0; k < values.size(); ++k)
                if (values[k].str_len != 0)
                    index->by_value[hash_of_value(n_class, {i, j, k}, values[k])].push_back(n_run);
        }
    }
}

/// A rule on its way through the runs of one class.
struct class_search_t {
    const protodesc_build_t &pb;
    const plu_rule_t &rule;
    const plu_rule_index_t &index;
    uint32_t n_class;
    const std::vector<uint32_t> *candidates; ///< the shortest list so far
};

/// Narrows the candidates down to the runs that hold a value. False when there are none.
bool narrow(class_search_t &search, const place_t &place, const csa_str_t &value)
{
    if (value.str_len == 0)
        return true; // equal to a free slot: not listed
    const auto holders = search.index.by_value.find(hash_of_value(search.n_class, place, value));
    if (holders == search.index.by_value.end())
        return false;
    if (holders->second.size() < search.candidates->size())
        search.candidates = &holders->second;
    return true;
}

/// Narrows the candidates down by the values of one attribute of sub-rule `n_sub`.
bool narrow_by_attr(class_search_t &search, size_t n_sub, uint32_t n_attr, bool split)
{
    const plu_sub_rule_t &sub_rule = search.rule.sub_rules[n_sub];
    const plu_attr_t &attr = search.rule.attrs[sub_rule.first_attr + n_attr];
    const plu_run_t &sample = search.index.classes[search.n_class].sample;
    const uint32_t slot_attr = split ? 0 : n_attr;
    const ruledesc_build_t &slot = search.pb.pb_rules[sample.start + n_sub];
    if (pdata_strstrncmp(attr.name, slot.rule_attr[slot_attr].attr_name) != 0)
        return true;
    if (split)
        return attr.nr_values != 0 &&
               narrow(search, {n_sub, 0, n_attr}, search.rule.values[attr.first_value]);
    if (attr.nr_values > search.pb.pb_bounds.pi_max_attr_val)
        return false;
    for (uint32_t i = 0; i < attr.nr_values; ++i)
        if (!narrow(search, {n_sub, n_attr, i}, search.rule.values[attr.first_value + i]))
            return false;
    return true;
}

/// Narrows the candidates down from the whole class. False when none of its runs is a duplicate.
bool narrow_class(class_search_t &search)
{
    const plu_class_t &in = search.index.classes[search.n_class];
    const plu_rule_t &rule = search.rule;
    search.candidates = &in.runs;
    if (in.sample.len != rule.sub_rules.size())
        return false;
    for (size_t i = 0; i < rule.sub_rules.size(); ++i) {
        bool split;
        if (!plu_subrules_compare_generic_attribute(search.pb.pb_rules[in.sample.start + i], rule,
                                                    i, &split))
            return false;
        for (uint32_t j = 0; j < rule.sub_rules[i].nr_attr; ++j)
            if (!narrow_by_attr(search, i, j, split))
                return false;
    }
    return true;
}

uint64_t hash_of_generics(const plu_rule_t &rule)
{
    uint64_t hash = rule.sub_rules.size();
    for (const plu_sub_rule_t &sub_rule : rule.sub_rules)
        hash = mix_generic(hash, sub_rule.generic);
    return hash;
}

} // namespace

void plu_rule_index_update(const protodesc_build_t &pb, uint32_t nr_slots, plu_rule_index_t *index)
{
    if (!index->runs.empty() && index->nr_slots < nr_slots) {
        // New slots may bear the id of the last run and so make it longer.
        plu_run_t &last = index->runs.back();
        if (plu_run_at(pb, last.start, nr_slots).len != last.len) {
            index->nr_slots = last.start;
            last.len = 0;
            ++index->nr_relisted;
        }
    }
    while (index->nr_slots < nr_slots) {
        const plu_run_t run = plu_run_at(pb, index->nr_slots, nr_slots);
        list_run(pb, run, index);
        index->nr_slots += run.len;
    }
}

bool plu_rule_alike(const plu_rule_t &a, const plu_rule_t &b)
{
    const auto same_sub_rule = [](const plu_sub_rule_t &x, const plu_sub_rule_t &y) {
        return x.nr_attr == y.nr_attr && plu_generic_equal(x.generic, y.generic);
    };
    return std::equal(a.sub_rules.begin(), a.sub_rules.end(), b.sub_rules.begin(),
                      b.sub_rules.end(), same_sub_rule);
}

bool plu_rule_equal(const plu_rule_t &a, const plu_rule_t &b)
{
    const auto same_attr = [](const plu_attr_t &x, const plu_attr_t &y) {
        return x.nr_values == y.nr_values && pdata_strstrncmp(x.name, y.name) == 0;
    };
    const auto same_value = [](const csa_str_t &x, const csa_str_t &y) {
        return (x.str_buf == nullptr) == (y.str_buf == nullptr) && pdata_strstrncmp(x, y) == 0;
    };
    return plu_rule_alike(a, b) &&
           std::equal(a.attrs.begin(), a.attrs.end(), b.attrs.begin(), b.attrs.end(), same_attr) &&
           std::equal(a.values.begin(), a.values.end(), b.values.begin(), b.values.end(),
                      same_value);
}

uint64_t plu_rule_shape_hash(const plu_rule_t &rule)
{
    uint64_t hash = hash_of_generics(rule);
    for (const plu_sub_rule_t &sub_rule : rule.sub_rules)
        hash = mix(hash, sub_rule.nr_attr);
    return hash;
}

uint64_t plu_rule_hash(const plu_rule_t &rule)
{
    uint64_t hash = plu_rule_shape_hash(rule);
    for (const plu_attr_t &attr : rule.attrs)
        hash = mix(mix_text(hash, attr.name), attr.nr_values);
    for (const csa_str_t &value : rule.values)
        hash = mix_text(hash, value);
    return hash;
}

const plu_run_t *plu_rule_index_find(const protodesc_build_t &pb, const plu_rule_t &rule,
                                     uint32_t nr_slots, plu_rule_index_t *index)
{
    plu_rule_index_update(pb, nr_slots, index);
    const auto [first, last] = index->by_generic.equal_range(hash_of_generics(rule));
    for (auto at = first; at != last; ++at) {
        class_search_t search = {pb, rule, *index, at->second, nullptr};
        if (!narrow_class(search))
            continue;
        for (const uint32_t n_run : *search.candidates) {
            const plu_run_t &run = index->runs[n_run];
            if (run.len != rule.sub_rules.size())
                continue;
            bool equal = false;
            // Every value can be read, so the comparison does not fail.
            (void)plu_find_duplicate_rule_verdict(pb, run.start, rule, &equal);
            if (equal)
                return &run;
        }
    }
    return nullptr;
}

void plu_rule_index_reset(plu_rule_index_t *index)
{
    index->nr_slots = 0;
    index->runs.clear();
    index->classes.clear();
    index->by_generic.clear();
    index->by_value.clear();
}
