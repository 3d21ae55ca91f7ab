#include <gtest/gtest.h>

#include <string>

#include "pdb_attr_properties.h"

namespace
{

struct expected_row {
    const char *proto;
    const char *attr;
    uint32_t type; ///< 1 stream, 3 and 4 numbers of 8 and 16 bits, 7 and 8 IPv4 and IPv6
    transformer_fct ftrans;
    uint32_t allowed_way; ///< 1 client to server, 2 server to client, 3 both
    uint32_t algo;        ///< 14 classic, 20 with offsets
    uint32_t mindata;     ///< 1: mandatory
    uint32_t em_dispatch; ///< 0 default, 1 prefix, 2 suffix
    uint32_t icase;       ///< 0 or the flag 2
    uint32_t sort;        ///< 0 or the flag 4
};

// clang-format off
const expected_row expected[] = {
    {"http", "uri_decoded", 1, nullptr, 1, 14, 0, 2, 0, 0},
    {"http", "post_variable_decoded", 1, nullptr, 1, 14, 0, 2, 0, 0},
    {"http", "uri_get_decoded", 1, nullptr, 1, 14, 0, 2, 0, 0},
    {"http", "uri_post_decoded", 1, nullptr, 1, 14, 0, 2, 0, 0},
    {"http", "uri_path_decoded", 1, nullptr, 1, 14, 0, 2, 0, 0},
    {"http", "header_raw", 1, nullptr, 3, 14, 0, 1, 2, 4},
    {"http", "content", 1, nullptr, 3, 14, 1, 2, 0, 0},
    {"http", "server", 1, nullptr, 1, 14, 0, 2, 2, 4},
    {"http", "uri", 1, nullptr, 1, 14, 0, 2, 2, 4},
    {"http", "mime_type", 1, nullptr, 3, 14, 0, 2, 2, 4},
    {"http", "user_agent", 1, nullptr, 1, 14, 0, 2, 0, 0},
    {"http", "referer", 1, nullptr, 1, 14, 0, 2, 2, 4},
    {"http", "server_agent", 1, nullptr, 2, 14, 0, 2, 0, 0},
    {"http", "location", 1, nullptr, 2, 14, 0, 2, 2, 4},
    {"http", "cookie", 1, nullptr, 1, 14, 0, 2, 0, 0},
    {"quic", "server_name", 1, nullptr, 1, 14, 0, 2, 2, 4},
    {"ssl", "common_name", 1, nullptr, 3, 14, 0, 2, 2, 4},
    {"dtls", "common_name", 1, nullptr, 3, 14, 0, 2, 2, 4},
    {"ssl", "organization_name", 1, nullptr, 3, 14, 0, 2, 0, 0},
    {"ssl", "subject_alt_name", 1, nullptr, 2, 14, 0, 2, 2, 4},
    {"rtmp", "page_url", 1, nullptr, 1, 14, 0, 2, 2, 4},
    {"tcp", "stream", 1, nullptr, 3, 20, 1, 1, 0, 0},
    {"udp", "stream", 1, nullptr, 3, 20, 1, 1, 0, 0},
    {"tcp", "pattern", 1, nullptr, 3, 20, 1, 1, 0, 0},
    {"udp", "pattern", 1, nullptr, 3, 20, 1, 1, 0, 0},
    {"sip", "user_agent", 1, nullptr, 3, 14, 0, 2, 0, 0},
    {"sip", "server_agent", 1, nullptr, 3, 14, 0, 2, 0, 0},
    {"udp", "port", 4, transformer_range16, 3, 14, 0, 0, 0, 0},
    {"tcp", "port", 4, transformer_range16, 3, 14, 0, 0, 0, 0},
    {"udp", "payload_len", 4, transformer_range16, 3, 14, 0, 0, 0, 0},
    {"tcp", "payload_len", 4, transformer_range16, 3, 14, 0, 0, 0, 0},
    {"icmp", "typeval", 3, transformer_8, 3, 14, 0, 0, 0, 0},
    {"icmp", "code", 3, transformer_8, 3, 14, 0, 0, 0, 0},
    {"icmp6", "type", 3, transformer_8, 3, 14, 0, 0, 0, 0},
    {"icmp6", "code", 3, transformer_8, 3, 14, 0, 0, 0, 0},
    {"ip", "protoid", 3, transformer_8, 3, 14, 0, 0, 0, 0},
    {"ip6", "protoid", 3, transformer_8, 3, 14, 0, 0, 0, 0},
    {"ip6", "address", 8, transformer_ipv6, 3, 14, 0, 0, 0, 0},
    {"ip", "address", 7, transformer_ipv4, 3, 14, 0, 0, 0, 0},
    {"ip", "resolv_name", 1, transformer_ipv4, 3, 14, 0, 2, 2, 4},
    {"ip", "dscp", 3, transformer_8, 3, 14, 0, 0, 0, 0},
    {"ip6", "dscp", 3, transformer_8, 3, 14, 0, 0, 0, 0},
    {"stun", "realm", 1, transformer_8, 3, 14, 0, 2, 2, 4},
    {"stun", "software", 1, transformer_8, 3, 14, 0, 2, 2, 4},
    {"quic", "user_agent", 1, transformer_8, 1, 14, 0, 2, 0, 0},
    {"dns", "query", 1, transformer_8, 3, 14, 0, 2, 0, 0},
    {"sip", "domain", 1, transformer_8, 3, 14, 0, 2, 2, 4},
    {"rtsp", "user_agent", 1, transformer_8, 1, 14, 0, 2, 0, 0},
    {"rtsp", "server", 1, transformer_8, 1, 14, 0, 2, 2, 4},
    {"rtsp", "server_agent", 1, transformer_8, 2, 14, 0, 2, 0, 0},
};
// clang-format on

csa_str_t str(const std::string &text)
{
    return csa_str(text);
}

TEST(pdb_attr_properties, the_table_row_by_row)
{
    const std::span<const pdb_attr_properties_t> table = pdb_attr_properties_table();
    ASSERT_EQ(table.size(), 51U);
    ASSERT_EQ(std::size(expected), 50U);
    for (size_t i = 0; i < 50; ++i) {
        const pdb_attr_properties_t &row = table[i];
        const expected_row &want = expected[i];
        EXPECT_STREQ(row.proper_proto, want.proto) << i;
        EXPECT_STREQ(row.proper_attr, want.attr) << i;
        EXPECT_EQ(row.proper_type, want.type) << i;
        EXPECT_EQ(row.proper_ftrans, want.ftrans) << i;
        EXPECT_EQ(row.proper_allowed_way, want.allowed_way) << i;
        EXPECT_EQ(uint32_t{row.proper_algo}, want.algo) << i;
        EXPECT_EQ(row.mindata_status, want.mindata) << i;
        EXPECT_EQ(row.em_dispatch, want.em_dispatch) << i;
        EXPECT_EQ(row.icase, want.icase) << i;
        EXPECT_EQ(row.sort, want.sort) << i;
    }
}

TEST(pdb_attr_properties, the_terminating_row_has_no_protocol)
{
    const pdb_attr_properties_t &end = pdb_attr_properties_table()[50];
    EXPECT_EQ(end.proper_proto, nullptr);
    EXPECT_EQ(end.proper_attr, nullptr);
    EXPECT_EQ(end.proper_type, MATCHER_TYPE_UNKNOWN);
    EXPECT_EQ(end.proper_ftrans, nullptr);
    EXPECT_EQ(end.proper_allowed_way, ATTR_WAY_UNKNOWN);
    EXPECT_EQ(end.proper_algo, PATTERN_ALGO_CLASSIC);
    EXPECT_EQ(end.mindata_status, 0U);
    EXPECT_EQ(end.em_dispatch, 0U);
    EXPECT_EQ(end.icase, 0);
    EXPECT_EQ(end.sort, 0);
}

TEST(pdb_attr_properties, every_pair_is_found_with_all_its_properties)
{
    for (size_t i = 0; i < 50; ++i) {
        const expected_row &want = expected[i];
        const csa_str_t proto = csa_str(want.proto);
        const csa_str_t attr = csa_str(want.attr);
        EXPECT_EQ(pdb_get_attr_properties(proto, attr), &pdb_attr_properties_table()[i]) << i;
        EXPECT_EQ(pdb_matcher_get_type(proto, attr), want.type) << i;
        EXPECT_EQ(pdb_matcher_get_allowed_way(proto, attr), want.allowed_way) << i;
        EXPECT_EQ(pdb_matcher_get_transformer_fct(proto, attr), want.ftrans) << i;
        EXPECT_EQ(uint32_t{pdb_matcher_get_algo(proto, attr)}, want.algo) << i;
        EXPECT_EQ(pdb_matcher_get_mindata_status(proto, attr), want.mindata) << i;
        EXPECT_EQ(pdb_matcher_get_em_dispatch(proto, attr), want.em_dispatch) << i;
        EXPECT_EQ(pdb_matcher_get_icase(proto, attr), want.icase) << i;
        EXPECT_EQ(pdb_matcher_get_sort(proto, attr), want.sort) << i;
    }
}

TEST(pdb_attr_properties, names_are_compared_by_length_and_bytes)
{
    const std::pair<std::string, std::string> unknown[] = {{"HTTP", "uri"},
                                                           {"http", "Uri"},
                                                           {"http", "urix"},
                                                           {"http", "ur"},
                                                           {"htt", "uri"},
                                                           {"httpx", "uri"},
                                                           {"tcp", "uri"},
                                                           {"", "uri"},
                                                           {"http", ""},
                                                           {"", ""},
                                                           {std::string("http\0", 5), "uri"},
                                                           {"http", std::string("uri\0", 4)},
                                                           {"zzz", "zzz"},
                                                           {"aaa", "aaa"}};
    for (const auto &[proto, attr] : unknown)
        EXPECT_EQ(pdb_get_attr_properties(str(proto), str(attr)), nullptr) << proto << ":" << attr;
    EXPECT_EQ(pdb_get_attr_properties({}, {}), nullptr) << "absent texts";
    EXPECT_EQ(pdb_get_attr_properties(csa_str("http"), {}), nullptr);
    const std::string longer = "httpuri";
    EXPECT_NE(pdb_get_attr_properties(csa_str(longer.data(), 4), csa_str(longer.data() + 4, 3)),
              nullptr)
        << "the texts need no terminator";
}

TEST(pdb_attr_properties, an_unknown_pair_has_the_defaults)
{
    const csa_str_t proto = csa_str("http");
    const csa_str_t attr = csa_str("nothing");
    EXPECT_EQ(pdb_matcher_get_type(proto, attr), MATCHER_TYPE_UNKNOWN);
    EXPECT_EQ(pdb_matcher_get_allowed_way(proto, attr), ATTR_WAY_UNKNOWN);
    EXPECT_EQ(pdb_matcher_get_transformer_fct(proto, attr), nullptr);
    EXPECT_EQ(uint32_t{pdb_matcher_get_algo(proto, attr)}, 14U);
    EXPECT_EQ(pdb_matcher_get_mindata_status(proto, attr), 0U);
    EXPECT_EQ(pdb_matcher_get_em_dispatch(proto, attr), 0U);
    EXPECT_EQ(pdb_matcher_get_icase(proto, attr), 0);
    EXPECT_EQ(pdb_matcher_get_sort(proto, attr), 0);
}

TEST(pdb_attr_properties, the_engine_combinations_have_their_numbers)
{
    EXPECT_EQ(PATTERN_ALGO_AC, 2);
    EXPECT_EQ(PATTERN_ALGO_PT, 4);
    EXPECT_EQ(PATTERN_ALGO_ST, 8);
    EXPECT_EQ(PATTERN_ALGO_AO, 16);
    EXPECT_EQ(PATTERN_ALGO_DP, 32);
    EXPECT_EQ(PATTERN_ALGO_ICASE, 64);
    EXPECT_EQ(PATTERN_ALGO_CLASSIC, 14);
    EXPECT_EQ(PATTERN_ALGO_OFFSET_V1, 20);
    EXPECT_EQ(PATTERN_ALGO_OFFSET_V2, 34);
    EXPECT_EQ(PATTERN_ALGO_OFFSET_V3, 48);
}

/// So no input has dot-prefix matchers built, whose time is not linear in all that they may be
/// given.
TEST(pdb_attr_properties, no_attribute_asks_for_the_dot_prefix_matcher)
{
    for (const pdb_attr_properties_t &row : pdb_attr_properties_table())
        EXPECT_EQ(row.proper_algo & PATTERN_ALGO_DP, 0);
    EXPECT_EQ(pdb_matcher_get_algo(str("tcp"), str("streams")) & PATTERN_ALGO_DP, 0);
}

TEST(pdb_attr_properties, numbers_have_transformers)
{
    for (const pdb_attr_properties_t &row : pdb_attr_properties_table())
        if (row.proper_type != MATCHER_TYPE_STREAM && row.proper_proto != nullptr) {
            EXPECT_NE(row.proper_ftrans, nullptr) << row.proper_proto << ':' << row.proper_attr;
        }
}

TEST(pdb_attr_properties, directions_have_words)
{
    EXPECT_STREQ(attr_way2str(0), "unknown");
    EXPECT_STREQ(attr_way2str(1), "cts");
    EXPECT_STREQ(attr_way2str(2), "stc");
    EXPECT_STREQ(attr_way2str(3), "both");
    EXPECT_STREQ(attr_way2str(4), "attr way error");
    EXPECT_STREQ(attr_way2str(0xFFFFFFFF), "attr way error");
}

TEST(pdb_attr_properties, keys_begin_with_a_direction)
{
    EXPECT_STREQ(attr_way2prefix(1), "cts-");
    EXPECT_STREQ(attr_way2prefix(2), "stc-");
    EXPECT_STREQ(attr_way2prefix(0), "");
    EXPECT_STREQ(attr_way2prefix(3), "");

    const struct {
        std::string_view key;
        uint32_t way;
        std::string_view name;
    } rows[] = {{"cts-uri", 1, "uri"},     {"stc-uri", 2, "uri"},
                {"uri", 3, "uri"},         {"cts-", 3, "cts-"},
                {"stc-", 3, "stc-"},       {"cts-s", 1, "s"},
                {"cts-stc-", 1, "stc-"},   {"ctsuri", 3, "ctsuri"},
                {"CTS-uri", 3, "CTS-uri"}, {"", 3, ""}};
    for (const auto &row : rows) {
        std::string_view key = row.key;
        EXPECT_EQ(attr_way_split(key), row.way) << row.key;
        EXPECT_EQ(key, row.name);
    }
}

} // namespace
