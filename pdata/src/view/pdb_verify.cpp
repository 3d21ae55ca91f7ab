#include "pdb_verify.h"

#include "csa_endian.h"
#include "verify_description.h"
#include "verify_sound.h"
#include "view_overfull.h"
#include "view_take.h"

namespace
{

/// A verification under way.
struct verify_t {
    const pdb_view_t &view;
    const pdb_fault_sink_t &sink;
    pdb_verdict_t verdict;
    verify_strings_t main;
};

void report(verify_t &verify, const view_error_t &fault)
{
    ++(fault.grade == VIEW_UNSAFE ? verify.verdict.nr_unsafe : verify.verdict.nr_unsound);
    verify.sink.put(verify.sink.context, fault);
}

/// The same for those who hand faults to a sink.
void take_report(void *context, const view_error_t &fault)
{
    report(*static_cast<verify_t *>(context), fault);
}

/// Reports the fault of a part that was found at fault.
void judge(verify_t &verify, bool sound, const char *part, view_error_t &error)
{
    if (sound)
        return;
    view_within(error, "%s", part);
    report(verify, error);
}

void check_main_strings(verify_t &verify)
{
    view_error_t error;
    verify.main.there = pdb_view_has(verify.view, TLV_TYPE_ROOT_STRING);
    if (!verify.main.there)
        return;
    const bool sound =
        view_pool_check(pdb_view_main_strings(verify.view), verify.main.starts, error);
    verify.main.there = sound; // what refers to a pool at fault has no fault of its own
    judge(verify, sound, "main strings", error);
}

void check_aliases(verify_t &verify)
{
    view_error_t error;
    const verify_targets_t targets = {&verify.main, nullptr};
    judge(verify,
          verify_fields(FORMAT_MATCHER_ALIAS,
                        pdb_view_root(verify.view, TLV_TYPE_ROOT_MATCHER_ALIAS), targets, error),
          "matcher aliases", error);
}

/// Tells whether every name of a tag table is one when its words are read in the order of a
/// little-endian host. Which order a table has is not written down.
bool tags_in_host_order(const verify_t &verify, const view_area_t &tags)
{
    for (size_t word = 0; word + 1 < view_words(tags); word += 2)
        if (!view_pool_starts_at(verify.main.starts, csa_swap32(view_word(tags, word))))
            return false;
    return tags.size % 8 == 0;
}

void check_tags(verify_t &verify)
{
    view_error_t error;
    const verify_targets_t targets = {&verify.main, nullptr};
    const view_area_t &tags = pdb_view_root(verify.view, TLV_TYPE_ROOT_TAGS);
    judge(verify,
          verify_fields(FORMAT_TAGS, tags, targets, error) || tags_in_host_order(verify, tags),
          "tag table", error);
}

void check_configuration(verify_t &verify)
{
    view_error_t error;
    view_cursor_t cursor =
        view_walk(pdb_view_root(verify.view, TLV_TYPE_ROOT_CFG), VIEW_BYTE_COUNT);
    view_area_t document;
    if (!pdb_view_has(verify.view, TLV_TYPE_ROOT_CFG))
        return;
    judge(verify,
          view_take(cursor, TLV_TYPE_CFG_SEMANTIC, "document", document, error) &&
              view_take_end(cursor, error),
          "configuration", error);
}

void check_descriptions(verify_t &verify)
{
    verify_descriptions(pdb_view_root(verify.view, TLV_TYPE_ROOT_PROTODESCS), verify.main,
                        {take_report, &verify});
}

/// Checks that the names of an open matcher are entries of the pool; its meta comes first.
bool check_names(const view_record_t &record, const view_pool_starts_t &starts, view_error_t &error)
{
    for (size_t word = 1; word < 3; ++word) // behind the header of the meta
        if (!view_pool_starts_at(starts, view_word(record.value, word)))
            return view_fail(error, VIEW_REFERENCE, record.value.offset + word * 4,
                             "meta: no name at %u", view_word(record.value, word));
    return true;
}

bool check_matcher(const view_record_t &record, const view_matchers_t &matchers,
                   const view_pool_starts_t &starts, view_error_t &error)
{
    view_matcher_t matcher;
    return view_matcher_open(record, matchers.names, matcher, error) &&
           check_names(record, starts, error) && view_matcher_check(matcher, error);
}

void check_list(verify_t &verify, const view_pool_starts_t &starts)
{
    const view_matchers_t &matchers = verify.view.matchers;
    view_cursor_t cursor = view_walk(matchers.list);
    uint32_t index = 0;
    for (view_record_t record; view_next(cursor, record); ++index) {
        view_error_t error;
        if (check_matcher(record, matchers, starts, error))
            continue;
        view_within(error, "matchers: matcher %u", index);
        report(verify, error);
    }
    view_error_t error;
    judge(verify, view_walk_sound(cursor, error), "matchers", error);
}

void check_matchers(verify_t &verify)
{
    view_error_t error;
    view_pool_starts_t starts;
    if (view_pool_check(verify.view.matchers.names, starts, error)) {
        check_list(verify, starts);
        return;
    }
    view_within(error, "names");
    judge(verify, false, "matchers", error);
}

void check_rules(verify_t &verify)
{
    view_error_t error;
    judge(verify, view_rules_check(verify.view.rules, error), "rules", error);
}

/// A table that is too large for its numbers is what may have made the file unsafe.
void report_overfull(void *context, const view_overfull_t &overfull)
{
    view_error_t error;
    const auto &[matcher, table, area, nr, limit] = overfull;
    (void)view_fail(error, VIEW_LOST, area.offset,
                    "matchers: %.*s:%.*s %s: %llu %s, of which %llu can be told apart",
                    static_cast<int>(matcher.protocol.size()), matcher.protocol.data(),
                    static_cast<int>(matcher.attribute.size()), matcher.attribute.data(),
                    attr_way2str(matcher.way), static_cast<unsigned long long>(nr), table,
                    static_cast<unsigned long long>(limit));
    error.grade = VIEW_UNSOUND;
    take_report(context, error);
}

pdb_verdict_t verify_view(const pdb_view_t &view, const pdb_fault_sink_t &sink, bool with_sound)
{
    verify_t verify = {view, sink, {}, {}};
    check_main_strings(verify);
    check_configuration(verify);
    check_aliases(verify);
    check_tags(verify);
    check_descriptions(verify);
    if (view.compiled) {
        check_matchers(verify);
        check_rules(verify);
    }
    if (with_sound && verify.verdict.nr_unsafe == 0)
        verify_sound(view, {take_report, &verify});
    else if (with_sound)
        view_overfull(view, {report_overfull, &verify});
    return verify.verdict;
}

} // namespace

pdb_verdict_t pdb_verify(std::span<const uint8_t> file, const pdb_fault_sink_t &sink)
{
    pdb_view_t view;
    view_error_t error;
    if (pdb_view_open(file, view, error))
        return verify_view(view, sink, true);
    sink.put(sink.context, error);
    return {1, 0};
}

bool pdb_verify_open(std::span<const uint8_t> file, pdb_view_t &view, view_error_t &error)
{
    if (!pdb_view_open(file, view, error))
        return false;
    const pdb_fault_sink_t keep_first = {[](void *context, const view_error_t &fault) {
                                             view_error_t &kept =
                                                 *static_cast<view_error_t *>(context);
                                             if (kept.fault == VIEW_SOUND)
                                                 kept = fault;
                                         },
                                         &error};
    error = {};
    return verify_view(view, keep_first, false).nr_unsafe == 0;
}
