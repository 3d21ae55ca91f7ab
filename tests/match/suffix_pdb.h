/// Pdbs of many suffixes, and data that ends with them.
#pragma once

#include <algorithm>
#include <set>

#include "match_run.h"
#include "random_pdb.h"

constexpr uint32_t NR_SUFFIX = 600;

inline std::string word(random_match_t &random, uint32_t shortest, uint32_t longest)
{
    std::string text;
    for (uint32_t left = shortest + random.below(longest - shortest + 1); left != 0; --left)
        text += static_cast<char>('a' + random.below(12));
    return text;
}

inline std::set<std::string> make_suffixes(random_match_t &random, uint32_t shortest)
{
    constexpr const char *domains[] = {"com", "net", "io"};
    std::set<std::string> suffixes;
    while (suffixes.size() < NR_SUFFIX) {
        const bool below = !suffixes.empty() && random.one_in(5);
        const std::string end = below ? *suffixes.begin() : domains[random.below(3)];
        suffixes.insert(word(random, shortest, random.one_in(5) ? 30 : 9) + "." + end);
    }
    return suffixes;
}

/// Writes a suffix as a value: points and zero bytes escaped; no digit may follow a zero byte.
inline std::string value_of(const std::string &suffix)
{
    std::string value = ".*";
    for (const char c : suffix)
        value += c == '.' ? "\\." : c == '\0' ? "\\x00" : std::string(1, c);
    return value;
}

/// Of the attributes of http, case matters to those that are decoded.
inline std::vector<uint8_t> make_suffix_pdb(const std::set<std::string> &suffixes,
                                            const std::string &attribute = "server")
{
    pdb_model model;
    model.protocols.push_back(protocol_of(16777300, "hosts", {}));
    for (const std::string &suffix : suffixes)
        model.protocols[0].rules.push_back(
            simple_rule("http", {stream_attr(attribute, {value_of(suffix)})}));
    const std::string room_for_the_table(2000, 'u'); // it may take a share of the file
    model.protocols[0].rules.push_back(
        simple_rule("http", {stream_attr("uri_post_decoded", {room_for_the_table})}));
    return compile(model).bytes;
}

/// A host name below a suffix or near one, some of it in capitals or behind zeros, down to no byte
/// at all.
inline std::string make_host(random_match_t &random, const std::set<std::string> &suffixes)
{
    std::string host = word(random, 0, 9) + *std::next(suffixes.begin(), random.below(NR_SUFFIX));
    if (random.one_in(3))
        host.erase(0, random.below(static_cast<uint32_t>(host.size()) + 1));
    if (random.one_in(4))
        host.insert(0, 1 + random.below(4), '\0');
    if (!host.empty() && random.one_in(2)) {
        char &c = host[random.below(static_cast<uint32_t>(host.size()))];
        c = static_cast<char>(c ^ (random.one_in(3) ? 1 : 0x20));
    }
    return host;
}

inline std::string lower(std::string text)
{
    for (char &c : text)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
    return text;
}

/// Compares what is found in some data with the suffixes that it has; returns how many.
inline size_t compare_one(const pdata::database &db, pdata::flow &flow,
                          const std::set<std::string> &suffixes, const std::string &data,
                          const std::string &attribute = "server")
{
    const flow_value_t value{
        .protocol = "http", .attribute = attribute, .bytes = data, .number = {}};
    const std::string folded = attribute == "server" ? lower(data) : data;
    const auto expected = static_cast<size_t>(std::ranges::count_if(
        suffixes, [&](const std::string &suffix) { return folded.ends_with(suffix); }));
    EXPECT_EQ(match_answer(db, flow, {&value, 1}).items.size(), expected) << data;
    return expected;
}
