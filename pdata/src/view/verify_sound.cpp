#include "verify_sound.h"

#include <new>
#include <string>

#include "view_sound.h"
#include "view_stored.h"

namespace
{

/// A verification of the second grade under way.
struct sound_verify_t {
    const pdb_view_t &pdb;
    const pdb_fault_sink_t &sink;
    sound_given_t given;
    view_error_t error = {};

    /// Hands on what was found of a part unless it is sound. Texts name a matcher by its index.
    void judge(bool sound, const char *part)
    {
        if (sound)
            return;
        error.grade = error.fault == VIEW_MEMORY ? VIEW_UNSAFE : VIEW_UNSOUND;
        view_within(error, "%s", part);
        sink.put(sink.context, error);
        error = {};
    }
};

void verify_stream(sound_verify_t &verify, const view_matcher_t &matcher, const std::string &part)
{
    const view_pattern_t &pattern = matcher.pattern;
    sound_given_t &given = verify.given;
    given.entries.assign(view_matcher_nr_private(matcher), false);
    const auto judge = [&](bool sound, const char *what) {
        verify.judge(sound, (part + what).c_str());
    };
    judge(sound_automaton(pattern.aho_corasick, given, verify.error), ": patterns: aho_corasick");
    judge(sound_automaton(pattern.ahoff_corasick, given, verify.error),
          ": patterns: ahoff_corasick");
    judge(sound_tree(pattern.prefix_tree, given, verify.error), ": patterns: prefix_tree");
    judge(sound_tree(pattern.suffix_tree, given, verify.error), ": patterns: suffix_tree");
    judge(sound_dot_prefix(pattern.dot_prefix, given, verify.error), ": patterns: dot_prefix");
    judge(sound_entries(matcher, given, verify.error), "");
}

void verify_parts(sound_verify_t &verify)
{
    verify.given.items.assign(verify.pdb.rules.nr_slot, false);
    view_cursor_t cursor = view_walk(verify.pdb.matchers.list);
    uint32_t index = 0;
    for (view_record_t record; view_next(cursor, record); ++index) {
        view_matcher_t matcher;
        const std::string part = "matchers: matcher " + std::to_string(index);
        if (!view_matcher_open(record, verify.pdb.matchers.names, matcher, verify.error))
            return;
        if (matcher.type == MATCHER_TYPE_STREAM)
            verify_stream(verify, matcher, part);
        else
            verify.judge(sound_number(matcher.number, verify.given, verify.error),
                         (part + ": data: numbers").c_str());
    }
    verify.judge(sound_rules(verify.pdb.rules, verify.given, verify.error), "rules");
    verify.judge(sound_rule_count(verify.pdb, verify.error), "rules");
}

void verify_stored(sound_verify_t &verify)
{
    (void)view_each_group(pdb_view_root(verify.pdb, TLV_TYPE_ROOT_PROTODESCS), verify.error,
                          [&](const view_record_t &, const view_group_t &group) {
                              verify.judge(sound_protocols(group, verify.error), "descriptions");
                              verify.judge(sound_group_strings(group, verify.error),
                                           "descriptions: strings");
                              return true;
                          }); // what is judged reads to its end
    verify.judge(sound_main_strings(verify.pdb, verify.error), "main strings");
}

} // namespace

void verify_sound(const pdb_view_t &pdb, const pdb_fault_sink_t &sink)
{
    sound_verify_t verify = {pdb, sink, {}};
    try {
        verify_stored(verify);
        if (pdb.compiled)
            verify_parts(verify);
    } catch (const std::bad_alloc &) {
        (void)view_fail(verify.error, VIEW_MEMORY, 0, "no memory for what the matchers give");
        sink.put(sink.context, verify.error);
    }
}
