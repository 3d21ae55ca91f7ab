#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

#include "csa_protodef.h"

namespace
{

struct known_row {
    const char *name;
    unsigned int id;
};

const known_row known[] = {
    {"base", 3},       {"unknown", 4},       {"dns", 32},    {"eth", 43},    {"http", 67},
    {"icmp", 70},      {"icmp6", 71},        {"ip", 81},     {"ip6", 82},    {"sip", 182},
    {"rtsp", 176},     {"ssl", 199},         {"stun", 201},  {"tcp", 205},   {"udp", 216},
    {"facebook", 244}, {"rtmp", 337},        {"dtls", 1291}, {"spdy", 1469}, {"quic", 2521},
    {"http2", 2553},   {"http_proxy", 2956},
};

TEST(csa_protodef, telling_rows)
{
    for (const known_row &row : known)
        EXPECT_EQ(dpi_proto_get_id_by_name(row.name), row.id) << row.name;
}

TEST(csa_protodef, a_name_matches_exactly)
{
    for (const char *name : {"Http", "HTTP", "http ", " http", "htt", "httpx", "", "zzzz", "0", "{",
                             "~", "\x01", "\xC3\xA9", "_", "http\n"})
        EXPECT_EQ(dpi_proto_get_id_by_name(name), 0U) << name;
    EXPECT_EQ(dpi_proto_get_id_by_name(nullptr), 0U);
}

TEST(csa_protodef, every_row_of_the_list_is_found)
{
    std::ifstream list(PDATA_SOURCE_DIR "/data/protocol_ids.tsv");
    std::set<std::string> names;
    std::set<unsigned int> ids;
    size_t underscored = 0;
    for (std::string line; std::getline(list, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        const size_t tab = line.find('\t');
        const std::string name = line.substr(0, tab);
        const auto id = static_cast<unsigned int>(std::stoul(line.substr(tab + 1)));
        EXPECT_EQ(dpi_proto_get_id_by_name(name.c_str()), id) << name;
        EXPECT_TRUE(names.insert(name).second) << name;
        EXPECT_TRUE(ids.insert(id).second) << id;
        EXPECT_TRUE(name.size() >= 2 && name.size() <= 28) << name;
        underscored += name.find('_') != std::string::npos;
        if (!names.contains(name + "x")) {
            EXPECT_NE(dpi_proto_get_id_by_name((name + "!").c_str()), id) << name;
        }
    }
    EXPECT_EQ(names.size(), 3740U);
    EXPECT_EQ(underscored, 970U);
    EXPECT_EQ(*ids.begin(), 3U);
    EXPECT_EQ(*ids.rbegin(), 3948U);
}

} // namespace
