#include "plu_updates.h"

#include <algorithm>
#include <queue>
#include <string>
#include <unordered_map>
#include <utility>

#include "plu_protobuild.h"

namespace
{

plu_strings_t strings_of(const action &entry)
{
    return {entry.a_pg_hstring, entry.a_root_hstring};
}

/// What is found by its hash while updates are read.
struct filing_t {
    std::unordered_multimap<uint64_t, uint32_t> contents;
    std::unordered_multimap<uint64_t, uint32_t> shapes;
};

/// Returns the shape of a rule. One that cannot be read whole has a shape of its own: whether its
/// values are met decides.
uint32_t shape_of(const plu_rule_t &rule, filing_t &filing, plu_updates_t &updates)
{
    const uint64_t hash = plu_rule_shape_hash(rule);
    const auto [first, last] = filing.shapes.equal_range(hash);
    const auto same = std::find_if(first, last, [&](const auto &at) {
        return plu_rule_alike(updates.contents[updates.shapes[at.second].contents.front()].rule,
                              rule);
    });
    if (same != last && !rule.has_unreadable)
        return same->second;
    const auto shape = static_cast<uint32_t>(updates.shapes.size());
    updates.shapes.emplace_back();
    if (!rule.has_unreadable)
        filing.shapes.emplace(hash, shape);
    return shape;
}

/// Files a rule of update `n_update` under its content.
void file_rule(plu_rule_t &&rule, uint32_t n_update, filing_t &filing, plu_updates_t &updates)
{
    const uint64_t hash = plu_rule_hash(rule);
    const auto [first, last] = filing.contents.equal_range(hash);
    const auto same = std::find_if(first, last, [&](const auto &at) {
        return plu_rule_equal(updates.contents[at.second].rule, rule);
    });
    if (same == last) {
        const auto n_content = static_cast<uint32_t>(updates.contents.size());
        const uint32_t shape = shape_of(rule, filing, updates);
        updates.shapes[shape].contents.push_back(n_content);
        filing.contents.emplace(hash, n_content);
        updates.contents.push_back({std::move(rule), {n_update}, shape});
        return;
    }
    std::vector<uint32_t> &at = updates.contents[same->second].updates;
    if (at.back() != n_update)
        at.push_back(n_update);
}

/// Files the rules of one update. Returns whether they decide what it does: a rule that cannot be
/// read fails the update, and one that no run of slots can hold is added every time.
bool file_update(const protodesc_build_t &pb, const action &entry, uint32_t n_update,
                 filing_t &filing, plu_updates_t &updates)
{
    const plu_strings_t strings = strings_of(entry);
    csa_str_t text;
    if (protodesc_get_name(entry.a_proto, strings.pg_hstring, &text) != PDATA_SUCCESS ||
        protodesc_get_default_port(entry.a_proto, strings.pg_hstring, &text) != PDATA_SUCCESS)
        return false;
    for (uint32_t k = 0; k < protodesc_get_ruledesc_nr(entry.a_proto); ++k) {
        ruledesc_t ruledesc;
        plu_rule_t rule;
        if (protodesc_get_ruledesc(entry.a_proto, k, &ruledesc) != PDATA_SUCCESS ||
            plu_rule_read(pb, ruledesc, strings, &rule) != PDATA_SUCCESS)
            return false;
        if (ruledesc_get_sub_ruledesc_nr(ruledesc) == 0)
            continue; // adds no slot
        if (!rule.fits)
            return false;
        file_rule(std::move(rule), n_update, filing, updates);
    }
    return true;
}

/// The same, but leaves no word of what cannot be read: the update says it when it is applied, if
/// it gets as far.
bool file_silently(const protodesc_build_t &pb, const action &entry, uint32_t n_update,
                   filing_t &filing, plu_updates_t &updates)
{
    const pdata_status_t code = pdata_status_code_get();
    const std::string message = pdata_status_msg_get();
    if (file_update(pb, entry, n_update, filing, updates))
        return true;
    pdata_status_code_set(code);
    pdata_status_msg_set(message.c_str());
    return false;
}

/// Shapes of more contents than this are filed, once a record holds one of them.
constexpr size_t FEW_CONTENTS = 16;

/// Tells whether a record holds a content already, so that an update leaves it out. `by` becomes
/// the run that equals it, or null where that is not to be told of others.
bool holds(const protodesc_build_t &pb, const plu_rule_t &rule, plu_rule_index_t *known,
           const plu_run_t **by)
{
    *by = nullptr;
    if (!rule.has_unreadable) {
        *by = plu_rule_index_find(pb, rule, pb.pb_nr_sub_rule, known);
        return *by != nullptr;
    }
    bool found = false;
    return plu_walk_duplicate_rules(pb, rule, pb.pb_nr_sub_rule, &found) == PDATA_SUCCESS && found;
}

/// An update that must be applied, and the content for which; none: for itself.
struct due_t {
    uint32_t update;
    uint32_t content;

    bool operator>(const due_t &other) const { return update > other.update; }
};

constexpr uint32_t NO_CONTENT = UINT32_MAX;

/// A record on its way through the updates.
struct passage_t {
    protodesc_build_t *pb;
    plu_updates_t &updates;
    plu_rule_index_t *known;
    uint32_t next; ///< updates in front of it are done
    uint32_t last;
    std::vector<uint32_t> reached;        ///< per shape, the contents that were looked up
    std::vector<const plu_held_t *> held; ///< per shape, contents that need not be looked up
    std::priority_queue<due_t, std::vector<due_t>, std::greater<>> due; ///< nearest first
};

void make_due(passage_t &passage, const std::vector<uint32_t> &in, uint32_t content)
{
    const auto at = std::lower_bound(in.begin(), in.end(), passage.next);
    if (at != in.end() && *at < passage.last)
        passage.due.push({*at, content});
}

/// Makes due the next update that brings a content, if the record lacks it. Returns whether it
/// does; if not, `by` becomes the run that equals it, or null.
bool look_up(passage_t &passage, uint32_t n_content, const plu_run_t **by)
{
    const plu_content_t &content = passage.updates.contents[n_content];
    *by = nullptr;
    if (passage.next == passage.last || content.updates.back() < passage.next ||
        holds(*passage.pb, content.rule, passage.known, by))
        return false;
    make_due(passage, content.updates, n_content);
    return true;
}

/// Finds the other contents of a shape that the run equals as well, where they are many.
void hold_alike(passage_t &passage, uint32_t n_shape, const plu_rule_t &rule, const plu_run_t &by)
{
    plu_shape_t &shape = passage.updates.shapes[n_shape];
    if (shape.contents.size() <= FEW_CONTENTS)
        return;
    if (shape.bearers.empty()) {
        std::vector<const plu_rule_t *> rules;
        for (const uint32_t n_content : shape.contents)
            rules.push_back(&passage.updates.contents[n_content].rule);
        plu_shape_file(shape, rules);
    }
    const plu_held_t *&held = passage.held[n_shape];
    held = plu_shape_hold(shape, *passage.pb, by.start, rule, held);
}

/// Looks the contents of a shape up, to the first that the record lacks and that is still to come
/// for the first time: those behind it come later.
void look_up_shape(passage_t &passage, uint32_t n_shape)
{
    const plu_updates_t &updates = passage.updates;
    const plu_shape_t &shape = updates.shapes[n_shape];
    uint32_t &at = passage.reached[n_shape];
    for (;;) {
        at = plu_shape_next(shape, passage.held[n_shape], at);
        if (at == shape.contents.size())
            break;
        const plu_content_t &content = updates.contents[shape.contents[at]];
        const plu_run_t *by;
        if (look_up(passage, shape.contents[at++], &by)) {
            if (content.updates.front() >= passage.next)
                break;
        } else if (by != nullptr) {
            hold_alike(passage, n_shape, content.rule, *by);
        }
    }
}

void look_up_all(passage_t &passage)
{
    passage.due = {};
    if (passage.next == passage.last)
        return;
    passage.due.push({passage.last - 1, NO_CONTENT}); // its meta stays
    make_due(passage, passage.updates.unsettled, NO_CONTENT);
    passage.reached.assign(passage.updates.shapes.size(), 0);
    passage.held.assign(passage.updates.shapes.size(), nullptr);
    for (plu_shape_t &shape : passage.updates.shapes)
        plu_shape_begin(shape);
    for (uint32_t i = 0; i < passage.updates.shapes.size(); ++i)
        look_up_shape(passage, i);
}

/// Applies the update `passage.next`.
pdata_status_t apply(passage_t &passage, const action &entry, uint32_t *nr_rules)
{
    const uint32_t nr_slots = passage.pb->pb_nr_sub_rule;
    const uint32_t nr_relisted = passage.known->nr_relisted;
    PDATA_TRY(plu_merge_proto_to_protobuild(passage.pb, entry.a_proto, strings_of(entry), nr_rules,
                                            passage.known));
    ++passage.next;
    plu_rule_index_update(*passage.pb, passage.pb->pb_nr_sub_rule, passage.known);
    if (passage.known->nr_relisted != nr_relisted)
        look_up_all(passage);
    // The record may be full now, which the next update is the first to find.
    if (passage.pb->pb_nr_sub_rule != nr_slots && passage.next < passage.last)
        passage.due.push({passage.next, NO_CONTENT});
    make_due(passage, passage.updates.unsettled, NO_CONTENT);
    return PDATA_SUCCESS;
}

} // namespace

plu_updates_t plu_read_updates(const protodesc_build_t &pb, std::span<const action *const> actions)
{
    plu_updates_t updates;
    filing_t filing;
    for (uint32_t i = 0; i < actions.size(); ++i) {
        if (updates.stretches.empty() || updates.stretches.back().type != actions[i]->a_type)
            updates.stretches.push_back({actions[i]->a_type, i, i});
        updates.stretches.back().last = i + 1;
        if (actions[i]->a_type == ACTION_UPDATE &&
            !file_silently(pb, *actions[i], i, filing, updates))
            updates.unsettled.push_back(i);
    }
    return updates;
}

pdata_status_t plu_apply_updates(protodesc_build_t *pb, plu_updates_t &updates,
                                 std::span<const action *const> actions,
                                 const plu_stretch_t &stretch, uint32_t *nr_rules,
                                 plu_rule_index_t *known)
{
    passage_t passage = {pb, updates, known, stretch.first, stretch.last, {}, {}, {}};
    look_up_all(passage);
    passage.due.push({stretch.first, NO_CONTENT}); // the record may be full from the start
    while (!passage.due.empty()) {
        const due_t due = passage.due.top();
        passage.due.pop();
        if (due.update >= passage.next) {
            passage.next = due.update;
            PDATA_TRY(apply(passage, *actions[due.update], nr_rules));
        }
        if (due.content != NO_CONTENT) {
            const plu_run_t *by;
            (void)look_up(passage, due.content, &by);
            look_up_shape(passage, updates.contents[due.content].shape);
        }
    }
    return PDATA_SUCCESS;
}
