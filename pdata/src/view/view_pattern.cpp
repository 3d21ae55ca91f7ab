#include "view_pattern.h"

#include "format_types.h"
#include "view_take.h"

namespace
{

/// One engine of a pattern build.
struct engine_row_t {
    pattern_algo algo;
    pattern_tlv_t type;
    const char *what;
    bool (*open)(const view_area_t &area, view_pattern_t &view, view_error_t &error);
    bool (*check)(const view_pattern_t &view, uint32_t nr_private, view_error_t &error);
};

/// In the order of the blob.
constexpr engine_row_t engines[] = {
    {PATTERN_ALGO_AC, PATTERN_TLV_AHO_CORASICK, "aho_corasick",
     [](const view_area_t &area, view_pattern_t &view, view_error_t &error) {
         return view_aho_corasick_open(area, false, view.aho_corasick, error);
     },
     [](const view_pattern_t &view, uint32_t nr_private, view_error_t &error) {
         return view_aho_corasick_check(view.aho_corasick, nr_private, error);
     }},
    {PATTERN_ALGO_AO, PATTERN_TLV_AHOFF_CORASICK, "ahoff_corasick",
     [](const view_area_t &area, view_pattern_t &view, view_error_t &error) {
         return view_aho_corasick_open(area, true, view.ahoff_corasick, error);
     },
     [](const view_pattern_t &view, uint32_t nr_private, view_error_t &error) {
         return view_aho_corasick_check(view.ahoff_corasick, nr_private, error);
     }},
    {PATTERN_ALGO_PT, PATTERN_TLV_PREFIX_TREE, "prefix_tree",
     [](const view_area_t &area, view_pattern_t &view, view_error_t &error) {
         return view_radix_open(area, view.prefix_tree, error);
     },
     [](const view_pattern_t &view, uint32_t nr_private, view_error_t &error) {
         return view_radix_check(view.prefix_tree, nr_private, error);
     }},
    {PATTERN_ALGO_ST, PATTERN_TLV_SUFFIX_TREE, "suffix_tree",
     [](const view_area_t &area, view_pattern_t &view, view_error_t &error) {
         return view_radix_open(area, view.suffix_tree, error);
     },
     [](const view_pattern_t &view, uint32_t nr_private, view_error_t &error) {
         return view_radix_check(view.suffix_tree, nr_private, error);
     }},
    {PATTERN_ALGO_DP, PATTERN_TLV_DOT_PREFIX, "dot_prefix",
     [](const view_area_t &area, view_pattern_t &view, view_error_t &error) {
         return view_dot_prefix_open(area, view.dot_prefix, error);
     },
     [](const view_pattern_t &view, uint32_t nr_private, view_error_t &error) {
         return view_dot_prefix_check(view.dot_prefix, nr_private, error);
     }},
};

constexpr uint32_t KNOWN_ALGO = PATTERN_ALGO_AC | PATTERN_ALGO_PT | PATTERN_ALGO_ST |
                                PATTERN_ALGO_AO | PATTERN_ALGO_DP | PATTERN_ALGO_ICASE;

bool open_engine(view_cursor_t &cursor, const engine_row_t &engine, view_pattern_t &view,
                 view_error_t &error)
{
    view_area_t area;
    if ((view.algo & engine.algo) == 0)
        return true;
    if (!view_take(cursor, engine.type, engine.what, area, error))
        return false;
    return engine.open(area, view, error) || view_within(error, "%s", engine.what);
}

} // namespace

bool view_pattern_open(const view_area_t &area, view_pattern_t &view, view_error_t &error)
{
    view = {};
    view_cursor_t cursor = view_walk(area, VIEW_BLOBS);
    view_area_t meta;
    if (!view_take(cursor, PATTERN_TLV_META, "meta", meta, error, 4))
        return view_within(error, "patterns");
    view.algo = view_word(meta, 0);
    if ((view.algo & ~KNOWN_ALGO) != 0)
        return view_fail(error, VIEW_VALUE, meta.offset, "patterns: unknown engines 0x%x",
                         view.algo & ~KNOWN_ALGO);
    for (const engine_row_t &engine : engines)
        if (!open_engine(cursor, engine, view, error))
            return view_within(error, "patterns");
    return view_take_end(cursor, error) || view_within(error, "patterns");
}

bool view_pattern_check(const view_pattern_t &view, uint32_t nr_private, view_error_t &error)
{
    for (const engine_row_t &engine : engines)
        if ((view.algo & engine.algo) != 0 && !engine.check(view, nr_private, error))
            return view_within(error, "patterns: %s", engine.what);
    return true;
}
