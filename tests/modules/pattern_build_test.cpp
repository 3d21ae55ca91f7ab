#include <set>

#include "bytes.h"
#include "failing_alloc.h"
#include "pattern_fixtures.h"
#include "pattern_reader.h"

namespace
{

constexpr uint32_t SINGLE_ENGINES[] = {PATTERN_ALGO_AC, PATTERN_ALGO_PT, PATTERN_ALGO_ST,
                                       PATTERN_ALGO_AO, PATTERN_ALGO_DP};
constexpr uint32_t COMBINATIONS[] = {PATTERN_ALGO_CLASSIC, PATTERN_ALGO_OFFSET_V1,
                                     PATTERN_ALGO_OFFSET_V2, PATTERN_ALGO_OFFSET_V3};

/// Where a pattern went.
enum destination {
    NOWHERE,
    AC,
    AO,
    PT,
    ST,
    DP,
};

destination find_pattern(const pattern_build &build)
{
    if (build.aho_corasick.ac_nr_pattern != 0)
        return AC;
    if (build.ahoff_corasick.ac_nr_pattern != 0)
        return AO;
    if (build.prefix_tree.rt_nr_pattern != 0)
        return PT;
    if (build.suffix_tree.rt_nr_pattern != 0)
        return ST;
    return build.dot_prefix.dp_l_node.size() > 1 ? DP : NOWHERE;
}

/// The code of registering one pattern in a fresh build, and where it went.
struct outcome {
    int code;
    destination where;

    bool operator==(const outcome &) const = default;
};

std::ostream &operator<<(std::ostream &out, const outcome &o)
{
    return out << "code " << o.code << " destination " << o.where;
}

outcome register_one(uint32_t algo, pattern_type_t type, type_offset offset = 0)
{
    pattern_build build;
    EXPECT_EQ(pattern_init(&build, algo, 0), 0);
    pattern_info info = make_info("ab", 5, type, offset);
    const int code = pattern_register(build, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT);
    return {code, find_pattern(build)};
}

constexpr outcome REJECTED{MODULE_ERR_OPERATION, NOWHERE};

TEST(pattern_build, enumerators_have_their_serialized_values)
{
    EXPECT_EQ(PATTERN_ALGO_AC, 2U);
    EXPECT_EQ(PATTERN_ALGO_PT, 4U);
    EXPECT_EQ(PATTERN_ALGO_ST, 8U);
    EXPECT_EQ(PATTERN_ALGO_AO, 16U);
    EXPECT_EQ(PATTERN_ALGO_DP, 32U);
    EXPECT_EQ(PATTERN_ALGO_ICASE, 64U);
    EXPECT_EQ(PATTERN_ALGO_CLASSIC, 14U);
    EXPECT_EQ(PATTERN_ALGO_OFFSET_V1, 20U);
    EXPECT_EQ(PATTERN_ALGO_OFFSET_V2, 34U);
    EXPECT_EQ(PATTERN_ALGO_OFFSET_V3, 48U);
    EXPECT_EQ(PATTERN_REGULAR, 0U);
    EXPECT_EQ(PATTERN_SUFFIX, 1U);
    EXPECT_EQ(PATTERN_PREFIX, 2U);
    EXPECT_EQ(PATTERN_OFFSET, 3U);
    EXPECT_EQ(PATTERN_EXACT, 4U);
    EXPECT_EQ(PATTERN_NB, 5U);
    EXPECT_EQ(ALPHA_CONFIG_ICASE_DISABLE, 0);
    EXPECT_EQ(ALPHA_CONFIG_ICASE_ENABLE, 2);
    EXPECT_EQ(ALPHA_CONFIG_SORT_ENABLE, 4);
    EXPECT_EQ(EXACT_MATCH_SUFFIX, 2U);
}

TEST(pattern_build, nine_engine_sets_are_allowed)
{
    const std::set<uint32_t> allowed{2, 4, 8, 16, 32, 14, 20, 34, 48};
    for (uint32_t algo = 0; algo < 300; ++algo)
        EXPECT_EQ(pattern_algo_check(algo), allowed.count(algo) != 0 ? 0 : MODULE_ERR_OPERATION)
            << algo;
    EXPECT_EQ(pattern_algo_check(0xFFFFFFFF), MODULE_ERR_OPERATION);
}

TEST(pattern_build, init_checks_the_engines_before_the_build)
{
    pattern_build build;
    EXPECT_EQ(pattern_init(nullptr, 3, 0), MODULE_ERR_OPERATION);
    EXPECT_EQ(pattern_init(nullptr, PATTERN_ALGO_CLASSIC, 0), MODULE_ERR_INVALID);
    EXPECT_EQ(pattern_init(&build, PATTERN_ALGO_CLASSIC | PATTERN_ALGO_ICASE, 0),
              MODULE_ERR_OPERATION);
    EXPECT_EQ(pattern_init(&build, PATTERN_ALGO_CLASSIC, 0x106), 0);
    EXPECT_EQ(build.alpha_config, 6);
    EXPECT_EQ(build.aho_corasick.ac_alphabet.config, 6);
    EXPECT_EQ(build.prefix_tree.rt_alphabet.config, 6);
}

TEST(pattern_build, regular_patterns_go_to_the_automaton_that_is_there)
{
    EXPECT_EQ(register_one(PATTERN_ALGO_CLASSIC, PATTERN_REGULAR), (outcome{0, AC}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V1, PATTERN_REGULAR), (outcome{0, AO}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V2, PATTERN_REGULAR), (outcome{0, AC}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V3, PATTERN_REGULAR), (outcome{0, AO}));
}

TEST(pattern_build, suffix_patterns_go_to_the_suffix_tree_of_the_classic_combination_alone)
{
    EXPECT_EQ(register_one(PATTERN_ALGO_CLASSIC, PATTERN_SUFFIX), (outcome{0, ST}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V1, PATTERN_SUFFIX), REJECTED);
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V2, PATTERN_SUFFIX), REJECTED);
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V3, PATTERN_SUFFIX), REJECTED);
}

TEST(pattern_build, prefix_patterns_go_to_the_prefix_tree_or_the_dot_prefix_matcher)
{
    EXPECT_EQ(register_one(PATTERN_ALGO_CLASSIC, PATTERN_PREFIX), (outcome{0, PT}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V1, PATTERN_PREFIX), (outcome{0, PT}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V2, PATTERN_PREFIX), (outcome{0, DP}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V3, PATTERN_PREFIX), (outcome{0, DP}));
}

TEST(pattern_build, offset_patterns_go_by_combination_and_offset)
{
    EXPECT_EQ(register_one(PATTERN_ALGO_CLASSIC, PATTERN_OFFSET, 1), REJECTED);
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V1, PATTERN_OFFSET, 1), (outcome{0, AO}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V2, PATTERN_OFFSET, 10), (outcome{0, DP}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V2, PATTERN_OFFSET, 11), (outcome{0, DP}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V3, PATTERN_OFFSET, 10), (outcome{0, DP}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V3, PATTERN_OFFSET, 11), (outcome{0, AO}));
}

TEST(pattern_build, exact_patterns_go_to_a_radix_tree)
{
    EXPECT_EQ(register_one(PATTERN_ALGO_CLASSIC, PATTERN_EXACT), (outcome{0, PT}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V1, PATTERN_EXACT), (outcome{0, PT}));
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V2, PATTERN_EXACT), REJECTED);
    EXPECT_EQ(register_one(PATTERN_ALGO_OFFSET_V3, PATTERN_EXACT), REJECTED);
}

TEST(pattern_build, an_engine_alone_takes_nothing_and_the_suffix_tree_drops_silently)
{
    for (const uint32_t algo : SINGLE_ENGINES) {
        for (uint32_t type = 0; type < PATTERN_NB; ++type) {
            const bool dropped = algo == PATTERN_ALGO_ST && type == PATTERN_SUFFIX;
            EXPECT_EQ(register_one(algo, static_cast<pattern_type_t>(type)),
                      (dropped ? outcome{0, NOWHERE} : REJECTED))
                << algo << " type " << type;
        }
    }
}

TEST(pattern_build, unknown_types_are_rejected)
{
    for (const uint32_t algo : COMBINATIONS) {
        EXPECT_EQ(register_one(algo, PATTERN_NB), REJECTED);
        EXPECT_EQ(register_one(algo, static_cast<pattern_type_t>(0xFFFFFFFF)), REJECTED);
    }
}

TEST(pattern_build, a_build_without_engines_rejects_every_type)
{
    pattern_build build;
    for (uint32_t type = 0; type <= PATTERN_NB; ++type) {
        pattern_info info = make_info("ab", 5, static_cast<pattern_type_t>(type));
        EXPECT_EQ(pattern_register(build, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT),
                  MODULE_ERR_OPERATION);
    }
}

/// The code of the registration check for a pattern of 4 bytes.
int check_mindata(uint32_t mindata, mindata_status_t status, type_offset offset = 0)
{
    pattern_build build;
    EXPECT_EQ(pattern_init(&build, PATTERN_ALGO_OFFSET_V3, 0), 0);
    pattern_info info = make_info("abcd", 5, PATTERN_OFFSET, offset);
    info.mindata = mindata;
    return pattern_register(build, info, status, EXACT_MATCH_DEFAULT);
}

TEST(pattern_build, mandatory_mindata_reaches_the_end_of_the_pattern)
{
    EXPECT_EQ(check_mindata(65536, MINDATA_MANDATORY), 0);
    EXPECT_EQ(check_mindata(0, MINDATA_MANDATORY), MODULE_ERR_INVALID);
    EXPECT_EQ(check_mindata(4, MINDATA_MANDATORY), 0);
    EXPECT_EQ(check_mindata(3, MINDATA_MANDATORY), MODULE_ERR_INVALID);
    EXPECT_EQ(check_mindata(14, MINDATA_MANDATORY, 10), 0);
    EXPECT_EQ(check_mindata(13, MINDATA_MANDATORY, 10), MODULE_ERR_INVALID);
    EXPECT_EQ(check_mindata(65536, MINDATA_MANDATORY, 65535), 0);
    EXPECT_EQ(check_mindata(65537, MINDATA_MANDATORY, 65535), MODULE_ERR_INVALID);
    EXPECT_EQ(check_mindata(0, MINDATA_NOT_MANDATORY), 0);
    EXPECT_EQ(check_mindata(3, MINDATA_NOT_MANDATORY), 0);
}

TEST(pattern_build, a_mandatory_mindata_of_0_is_refused_even_for_an_empty_pattern)
{
    pattern_build build;
    ASSERT_EQ(pattern_init(&build, PATTERN_ALGO_CLASSIC, 0), 0);
    pattern_info info = make_info("", 5);
    EXPECT_EQ(pattern_register(build, info, MINDATA_MANDATORY, EXACT_MATCH_DEFAULT),
              MODULE_ERR_INVALID);
    info.mindata = 1;
    EXPECT_EQ(pattern_register(build, info, MINDATA_MANDATORY, EXACT_MATCH_DEFAULT), 0);
}

TEST(pattern_build, the_engines_are_checked_before_the_mindata)
{
    pattern_build build;
    ASSERT_EQ(pattern_init(&build, PATTERN_ALGO_OFFSET_V3, 0), 0);
    pattern_info info = make_info("abcd", 5, PATTERN_SUFFIX);
    EXPECT_EQ(pattern_register(build, info, MINDATA_MANDATORY, EXACT_MATCH_DEFAULT),
              MODULE_ERR_OPERATION);
    info.type = PATTERN_NB;
    EXPECT_EQ(pattern_register(build, info, MINDATA_MANDATORY, EXACT_MATCH_DEFAULT),
              MODULE_ERR_INVALID);
}

TEST(pattern_build, exact_dispatch_rewrites_the_type_for_the_caller_to_see)
{
    const auto dispatched = [](uint32_t em_dispatch) {
        pattern_build build;
        EXPECT_EQ(pattern_init(&build, PATTERN_ALGO_CLASSIC, 0), 0);
        pattern_info info = make_info("ab", 5, PATTERN_EXACT);
        const int code = pattern_register(build, info, MINDATA_NOT_MANDATORY,
                                          static_cast<exact_match_dispatch_t>(em_dispatch));
        return std::tuple(code, info.type, find_pattern(build));
    };
    EXPECT_EQ(dispatched(EXACT_MATCH_DEFAULT), std::tuple(0, PATTERN_PREFIX, PT));
    EXPECT_EQ(dispatched(EXACT_MATCH_PREFIX), std::tuple(0, PATTERN_PREFIX, PT));
    EXPECT_EQ(dispatched(EXACT_MATCH_SUFFIX), std::tuple(0, PATTERN_SUFFIX, ST));
    EXPECT_EQ(dispatched(3), std::tuple(int(MODULE_ERR_OPERATION), PATTERN_EXACT, NOWHERE));
}

TEST(pattern_build, an_exact_suffix_under_offset_v1_goes_into_a_tree_that_is_never_written)
{
    pattern_build build;
    ASSERT_EQ(pattern_init(&build, PATTERN_ALGO_OFFSET_V1, 0), 0);
    pattern_info info = make_info("ab", 5, PATTERN_EXACT);
    EXPECT_EQ(pattern_register(build, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_SUFFIX), 0);
    EXPECT_EQ(info.type, PATTERN_SUFFIX);
    EXPECT_EQ(pattern_finalize(build), 0);
    EXPECT_EQ(blob_of(build), joined({record(18, be32(20)), record(20, {}), record(21, {})}));
    pattern_clean(build);
}

TEST(pattern_build, a_build_without_engines_is_the_meta_record_alone)
{
    pattern_build build;
    EXPECT_EQ(pattern_finalize(build), 0);
    EXPECT_EQ(pattern_get_size(build), 12U);
    EXPECT_EQ(blob_of(build), bytes("00000012 00000004 00000000"));
}

TEST(pattern_build, the_meta_record_tells_whether_case_is_folded)
{
    pattern_build build;
    ASSERT_EQ(pattern_init(&build, PATTERN_ALGO_AC, ALPHA_CONFIG_ICASE_ENABLE), 0);
    EXPECT_EQ(blob_of(build), joined({record(18, be32(66)), record(19, {})}));
    ASSERT_EQ(pattern_init(&build, PATTERN_ALGO_AC, ALPHA_CONFIG_SORT_ENABLE), 0);
    EXPECT_EQ(blob_of(build), joined({record(18, be32(2)), record(19, {})}));
}

TEST(pattern_build, engines_without_patterns_write_empty_records_but_for_the_dot_prefix_matcher)
{
    const std::vector<uint8_t> empty_dots = joined(
        {record(41, alphabet_bytes(4, {})), record(39, bytes("0000FFFFFFFF0000")), record(40, {})});
    const auto blob = [](uint32_t algo) {
        pattern_build build;
        EXPECT_EQ(pattern_init(&build, algo, 0), 0);
        EXPECT_EQ(pattern_finalize(build), 0);
        return blob_of(build);
    };
    EXPECT_EQ(blob(14),
              joined({record(18, be32(14)), record(19, {}), record(21, {}), record(22, {})}));
    EXPECT_EQ(blob(20), joined({record(18, be32(20)), record(20, {}), record(21, {})}));
    EXPECT_EQ(blob(34), joined({record(18, be32(34)), record(19, {}), record(23, empty_dots)}));
    EXPECT_EQ(blob(48), joined({record(18, be32(48)), record(20, {}), record(23, empty_dots)}));
    EXPECT_EQ(blob(8), joined({record(18, be32(8)), record(22, {})}));
}

TEST(pattern_build, engine_blobs_stand_whole_in_their_records)
{
    pattern_build build;
    ASSERT_EQ(pattern_init(&build, PATTERN_ALGO_CLASSIC, 0), 0);
    for (pattern_info info :
         {make_info("abc", 1, PATTERN_REGULAR), make_info("abcd", 2, PATTERN_PREFIX),
          make_info("xyz", 3, PATTERN_SUFFIX)})
        ASSERT_EQ(pattern_register(build, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT), 0);
    ASSERT_EQ(pattern_finalize(build), 0);
    EXPECT_EQ(blob_of(build), joined({record(18, be32(14)), record(19, blob_of(build.aho_corasick)),
                                      record(21, blob_of(build.prefix_tree)),
                                      record(22, blob_of(build.suffix_tree))}));
}

TEST(pattern_build, finalize_returns_the_first_failure)
{
    pattern_build deep;
    ASSERT_EQ(pattern_init(&deep, PATTERN_ALGO_OFFSET_V3, 0), 0);
    const std::string too_long(1025, 'a');
    pattern_info info = make_info(too_long, 1);
    ASSERT_EQ(pattern_register(deep, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT), 0);
    info = make_preempt("", 1, 1, PATTERN_PREFIX);
    ASSERT_EQ(pattern_register(deep, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT), 0);
    EXPECT_EQ(pattern_finalize(deep), MODULE_ERR_OVERFLOW);

    pattern_build empty;
    ASSERT_EQ(pattern_init(&empty, PATTERN_ALGO_OFFSET_V3, 0), 0);
    ASSERT_EQ(pattern_register(empty, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT), 0);
    EXPECT_EQ(pattern_finalize(empty), MODULE_ERR_INVALID);
}

TEST(pattern_build, an_empty_pattern_is_refused_by_the_dot_prefix_matcher_alone)
{
    pattern_build build;
    ASSERT_EQ(pattern_init(&build, PATTERN_ALGO_OFFSET_V2, 0), 0);
    pattern_info info = make_info("", 1, PATTERN_OFFSET, 1);
    EXPECT_EQ(pattern_register(build, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT),
              MODULE_ERR_INVALID);
    info = make_info("", 1);
    EXPECT_EQ(pattern_register(build, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT), 0);
}

TEST(pattern_build, the_bytes_of_a_pattern_need_not_outlive_its_registration)
{
    pattern_build build;
    ASSERT_EQ(pattern_init(&build, PATTERN_ALGO_CLASSIC, 0), 0);
    {
        const std::string bytes("short lived");
        for (pattern_info info : {make_info(bytes, 1), make_preempt(bytes, 2, 9)})
            ASSERT_EQ(pattern_register(build, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT), 0);
    }
    EXPECT_EQ(pattern_finalize(build), 0);
    EXPECT_EQ(build.aho_corasick.ac_nr_pattern, 2U);
}

TEST(pattern_build, a_build_may_be_cleaned_and_initialised_again)
{
    pattern_build build;
    for (const uint32_t algo : COMBINATIONS) {
        ASSERT_EQ(pattern_init(&build, algo, 0), 0);
        pattern_info info = make_info("ab", 5);
        ASSERT_EQ(pattern_register(build, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT), 0);
        ASSERT_EQ(pattern_finalize(build), 0);
        pattern_clean(build);
        EXPECT_EQ(pattern_get_size(build), 12U);
        pattern_clean(build);
    }
}

/// Bytes that `serialize` writes into a buffer of `size`; none of a buffer that is shorter.
template <typename Serialize>
std::string serialized(size_t size, Serialize &&serialize)
{
    std::vector<uint8_t> blob(size);
    EXPECT_EQ(serialize(std::span(blob)), blob.data() + size);
    std::vector<uint8_t> cut(size - 1);
    EXPECT_EQ(serialize(std::span(cut)), nullptr);
    return {blob.begin(), blob.end()};
}

// A build holds its engines one behind another, each as it is written alone, and an engine its
// alphabet.
TEST(pattern_build, an_engine_alone_is_written_as_in_a_build)
{
    for (const uint32_t algo : {PATTERN_ALGO_CLASSIC, PATTERN_ALGO_OFFSET_V3}) {
        pattern_build build;
        ASSERT_EQ(pattern_init(&build, algo, 0), 0);
        const bool classic = algo == PATTERN_ALGO_CLASSIC;
        pattern_info infos[] = {make_info("regular", 1),
                                make_info("front", 2, classic ? PATTERN_PREFIX : PATTERN_OFFSET),
                                make_info("back", 3, classic ? PATTERN_SUFFIX : PATTERN_OFFSET)};
        for (pattern_info &info : infos)
            ASSERT_EQ(pattern_register(build, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT), 0);
        ASSERT_EQ(pattern_finalize(build), 0);
        const auto expect_part = [](const std::string &whole, const std::string &part) {
            EXPECT_NE(whole.find(part), whole.npos);
        };
        const std::string whole = serialized(pattern_get_size(build), [&](std::span<uint8_t> buf) {
            return pattern_serialize(build, buf);
        });
        const ac_build_t &automaton = classic ? build.aho_corasick : build.ahoff_corasick;
        const std::string automaton_alone =
            serialized(aho_corasick_get_size(automaton, !classic), [&](std::span<uint8_t> buf) {
                return aho_corasick_serialize(automaton, buf, !classic);
            });
        expect_part(whole, automaton_alone);
        expect_part(automaton_alone,
                    serialized(pattern_alphabet_get_size(), [&](std::span<uint8_t> buf) {
                        return pattern_alphabet_serialize(automaton.ac_alphabet, buf);
                    }));
        for (const rt_build_t *tree : {&build.prefix_tree, &build.suffix_tree})
            if (classic)
                expect_part(whole,
                            serialized(radix_tree_get_size(*tree), [&](std::span<uint8_t> buf) {
                                return radix_tree_serialize(*tree, buf);
                            }));
        if (!classic)
            expect_part(whole, serialized(dot_prefix_get_size(build.dot_prefix),
                                          [&](std::span<uint8_t> buf) {
                                              return dot_prefix_serialize(build.dot_prefix, buf);
                                          }));
    }
}

TEST(pattern_build, every_failed_allocation_is_reported)
{
    for (const uint32_t algo : COMBINATIONS) {
        failing_alloc_sweep(
            [&] {
                pattern_build build;
                int code = pattern_init(&build, algo, ALPHA_CONFIG_ICASE_ENABLE);
                pattern_info infos[] = {make_info("regular", 1),
                                        make_info("offset", 2, PATTERN_OFFSET, 3),
                                        make_info("prefix", 3, PATTERN_PREFIX),
                                        make_preempt("a long preempt pattern", 4, 90)};
                for (pattern_info &info : infos) {
                    if (code != 0 || (algo == 14 && info.type == PATTERN_OFFSET))
                        continue;
                    code =
                        pattern_register(build, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT);
                }
                if (code == 0)
                    code = pattern_finalize(build);
                pattern_clean(build);
                return code;
            },
            // Sorting propagations does without a buffer when there is none.
            [](int code) { EXPECT_TRUE(code == MODULE_ERR_NO_MEMORY || code == 0) << code; });
    }
}

TEST(bitmap_build, one_without_room_is_one_byte)
{
    const bitmap_build_t empty;
    std::vector<uint8_t> buf(5, 0);
    tlv_sink_t sink = tlv_sink_writing(buf);
    bitmap_build_emit(empty, sink);
    EXPECT_FALSE(sink.failed);
    EXPECT_EQ(sink.offset, 5U);
    EXPECT_EQ(buf, std::vector<uint8_t>(5, 0));
}

} // namespace
