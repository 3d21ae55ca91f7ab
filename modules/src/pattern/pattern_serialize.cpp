#include "pattern_build.h"
#include "pattern_tlv.h"

namespace
{

/// One engine of a build: its bit, its record, and how it is emitted.
struct engine_record {
    uint32_t algo;
    pattern_tlv_t type;
    void (*emit)(const pattern_build &build, tlv_sink_t &sink);
};

constexpr engine_record ENGINE_RECORDS[] = {
    {PATTERN_ALGO_AC, PATTERN_TLV_AHO_CORASICK,
     [](const pattern_build &build, tlv_sink_t &sink) {
         aho_corasick_emit(build.aho_corasick, sink, 0);
     }},
    {PATTERN_ALGO_AO, PATTERN_TLV_AHOFF_CORASICK,
     [](const pattern_build &build, tlv_sink_t &sink) {
         aho_corasick_emit(build.ahoff_corasick, sink, 1);
     }},
    {PATTERN_ALGO_PT, PATTERN_TLV_PREFIX_TREE,
     [](const pattern_build &build, tlv_sink_t &sink) {
         radix_tree_emit(build.prefix_tree, sink);
     }},
    {PATTERN_ALGO_ST, PATTERN_TLV_SUFFIX_TREE,
     [](const pattern_build &build, tlv_sink_t &sink) {
         radix_tree_emit(build.suffix_tree, sink);
     }},
    {PATTERN_ALGO_DP, PATTERN_TLV_DOT_PREFIX,
     [](const pattern_build &build, tlv_sink_t &sink) { dot_prefix_emit(build.dot_prefix, sink); }},
};

} // namespace

void pattern_emit(const pattern_build &build, tlv_sink_t &sink)
{
    const bool icase = (build.alpha_config & ALPHA_CONFIG_ICASE_ENABLE) != 0;
    const size_t meta = tlv_sink_open_blob(sink, PATTERN_TLV_META);
    tlv_sink_put(sink, build.algo | (icase ? uint32_t{PATTERN_ALGO_ICASE} : 0U), 4);
    tlv_sink_close_blob(sink, meta);
    for (const engine_record &engine : ENGINE_RECORDS) {
        if ((build.algo & engine.algo) == 0)
            continue;
        const size_t header = tlv_sink_open_blob(sink, engine.type);
        engine.emit(build, sink);
        tlv_sink_close_blob(sink, header);
    }
}

size_t pattern_get_size(const pattern_build &build)
{
    return tlv_sink_count([&](tlv_sink_t &sink) { pattern_emit(build, sink); });
}

uint8_t *pattern_serialize(const pattern_build &build, std::span<uint8_t> buf)
{
    return tlv_sink_write(buf, [&](tlv_sink_t &sink) { pattern_emit(build, sink); });
}
