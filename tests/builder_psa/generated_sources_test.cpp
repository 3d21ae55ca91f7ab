/// The generated sources as the run-time engine uses them: compiled as C, asked through their
/// accessors. What the accessors give is compared with the tables of the shipped configuration.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "csa_endian.h"
#include "file_text.h"
#include "ipbt_reader.h"
#include "json_text.h"
#include "pattern_build.h"
#include "pattern_reader.h"
#include "pdata_serialize_psa.h"

extern "C" {
#include "ipbt_serialization.h"
#include "psa_serialization.h"
}

namespace
{

using std::string;

/// A pattern of a table, in the order of registration.
struct table_entry {
    pattern_type_t type;
    string text;
    uint32_t item_id;
};

struct psa_file {
    const char *name;
    psa_key_t key;
};

const psa_file psa_files[] = {
    {"http2", PSA_KEY_HTTP2},
    {"http", PSA_KEY_HTTP},
    {"spdy", PSA_KEY_SPDY},
    {"http_proxy", PSA_KEY_HTTP_PROXY},
};

string configuration(const string &name)
{
    return file_text(CFG_DIR "/" + name + ".json");
}

/// The numbers of the generated key header: name without "PSA_KEY_", number.
std::map<string, uint32_t> generated_keys()
{
    std::map<string, uint32_t> keys;
    const string text = file_text(PSA_KEY_H);
    const string start = "\tPSA_KEY_";
    for (size_t at = 0; (at = text.find(start, at)) != string::npos;) {
        at += start.size();
        const size_t equals = text.find(" = ", at);
        keys[text.substr(at, equals - at)] =
            static_cast<uint32_t>(std::stoul(text.substr(equals + 3)));
    }
    return keys;
}

string key_of(const string &file, const string &name)
{
    string purified_file;
    string purified_name;
    EXPECT_EQ(psa_purify_string(file, &purified_file, PSA_NAME_SIZE), PDATA_SUCCESS);
    EXPECT_EQ(psa_purify_string(name, &purified_name, PSA_NAME_SIZE), PDATA_SUCCESS);
    return purified_file + "_" + purified_name;
}

/// The first pair of an object with a key, or null.
json_pair_t *pair_of(json_node_t *object, std::string_view key)
{
    for (json_node_t *node = object->child; node != nullptr; node = node->next)
        if (json_string_view(*json_as_pair(node)->string) == key)
            return json_as_pair(node);
    return nullptr;
}

/// The patterns of a file: regular ones first, then suffixes, then prefixes.
std::vector<table_entry> table_of(const string &file)
{
    static const std::map<string, uint32_t> keys = generated_keys();
    json_text json(configuration(file));
    EXPECT_EQ(json.parse(), 0);
    std::vector<table_entry> table;
    for (const auto &[kind, type] : {std::pair("regular", PATTERN_REGULAR),
                                     {"suffix", PATTERN_SUFFIX},
                                     {"prefix", PATTERN_PREFIX}}) {
        json_pair_t *list = pair_of(json.value(), kind);
        if (list == nullptr)
            continue;
        for (json_node_t *entry = list->value->child; entry != nullptr; entry = entry->next) {
            for (json_node_t *node = entry->child; node != nullptr; node = node->next) {
                const json_pair_t *pair = json_as_pair(node);
                const auto key = keys.find(key_of(file, string(json_string_view(*pair->string))));
                EXPECT_NE(key, keys.end());
                table.push_back({type, string(json_string_view(*json_as_string(pair->value))),
                                 key == keys.end() ? 0 : key->second});
            }
        }
    }
    return table;
}

blob_span_t generated_blob(psa_key_t key)
{
    csa_uint8 *serialization = nullptr;
    csa_uint32 len = 0;
    psa_get_serialization(key, &serialization, &len);
    return {serialization, len};
}

bool matches(const table_entry &entry, std::string_view data)
{
    switch (entry.type) {
    case PATTERN_PREFIX:
        return data.substr(0, entry.text.size()) == entry.text;
    case PATTERN_SUFFIX:
        return data.size() >= entry.text.size() &&
               data.substr(data.size() - entry.text.size()) == entry.text;
    default:
        return data.find(entry.text) != std::string_view::npos;
    }
}

/// The items that the serialized set reports for data.
std::set<uint32_t> items_found(const pattern_reader_t &reader, const string &data)
{
    string error;
    std::vector<pattern_hit_t> hits;
    const blob_span_t span(reinterpret_cast<const uint8_t *>(data.data()), data.size());
    EXPECT_TRUE(pattern_reader_match(reader, span, hits, error)) << error;
    std::set<uint32_t> items;
    for (const pattern_hit_t &hit : hits)
        items.insert(hit.item_id);
    return items;
}

TEST(generated_sources, the_keys_number_the_files)
{
    EXPECT_EQ(PSA_KEY_HTTP2, 0);
    EXPECT_EQ(PSA_KEY_HTTP, 1);
    EXPECT_EQ(PSA_KEY_SPDY, 2);
    EXPECT_EQ(PSA_KEY_HTTP_PROXY, 3);
    EXPECT_EQ(PSA_KEY_NB, 4);
}

TEST(generated_sources, an_unknown_key_gives_nothing)
{
    csa_uint8 *serialization = reinterpret_cast<csa_uint8 *>(1);
    csa_uint32 len = 1;
    psa_get_serialization(PSA_KEY_NB, &serialization, &len);
    EXPECT_EQ(serialization, nullptr);
    EXPECT_EQ(len, 0U);
}

TEST(generated_sources, names_are_numbered_from_1_without_a_gap)
{
    for (const psa_file &file : psa_files) {
        std::set<uint32_t> ids;
        for (const table_entry &entry : table_of(file.name))
            ids.insert(entry.item_id);
        ASSERT_FALSE(ids.empty()) << file.name;
        EXPECT_EQ(*ids.begin(), 1U) << file.name;
        EXPECT_EQ(*ids.rbegin(), ids.size()) << file.name;
    }
}

TEST(generated_sources, an_array_is_aligned_and_holds_what_the_engines_serialize)
{
    for (const psa_file &file : psa_files) {
        pattern_build build;
        ASSERT_EQ(pattern_init(&build, PATTERN_ALGO_CLASSIC, ALPHA_CONFIG_ICASE_DISABLE), 0);
        for (const table_entry &entry : table_of(file.name)) {
            pattern_info info;
            info.pattern = entry.text.data();
            info.pattern_len = static_cast<uint32_t>(entry.text.size());
            info.type = entry.type;
            info.item_id = entry.item_id;
            ASSERT_EQ(pattern_register(build, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_DEFAULT), 0);
        }
        ASSERT_EQ(pattern_finalize(build), 0);
        std::vector<uint8_t> expected(pattern_get_size(build));
        tlv_sink_t sink = tlv_sink_writing(expected);
        pattern_emit(build, sink);
        pattern_clean(build);
        const blob_span_t blob = generated_blob(file.key);
        EXPECT_EQ(std::vector<uint8_t>(blob.begin(), blob.end()), expected) << file.name;
        EXPECT_EQ(reinterpret_cast<uintptr_t>(blob.data()) % 4, 0U) << file.name;
    }
}

// Every pattern in data that it matches, and in data that it does not: what the array finds is
// what the table says, read afresh from the array alone.
TEST(generated_sources, every_pattern_is_found_where_it_is_and_nowhere_else)
{
    for (const psa_file &file : psa_files) {
        const std::vector<table_entry> table = table_of(file.name);
        pattern_reader_t reader;
        string error;
        ASSERT_TRUE(pattern_reader_open(generated_blob(file.key), reader, error)) << error;
        for (const table_entry &entry : table) {
            for (const string &data :
                 {entry.text, "~" + entry.text, entry.text + "~", "~" + entry.text + "~",
                  entry.text.substr(1), entry.text.substr(0, entry.text.size() - 1)}) {
                std::set<uint32_t> expected;
                for (const table_entry &other : table)
                    if (matches(other, data))
                        expected.insert(other.item_id);
                EXPECT_EQ(items_found(reader, data), expected) << file.name << ": " << data;
            }
            EXPECT_EQ(items_found(reader, entry.text).count(entry.item_id), 1U) << entry.text;
        }
    }
}

/// A mask of the IPv4 table and the protocols behind it.
struct ipv4_entry {
    uint32_t address;
    uint32_t length;
    std::set<uint32_t> protocols;
};

/// Reads "a.b.c.d", "a.b.c.d/n", either with a comment behind it.
ipv4_entry ipv4_of(const string &text)
{
    ipv4_entry entry = {0, 32, {}};
    size_t at = 0;
    for (int part = 0; part < 4; ++part) {
        size_t digits = 0;
        entry.address =
            entry.address << 8 | static_cast<uint32_t>(std::stoul(text.substr(at), &digits));
        at += digits + 1;
    }
    if (at <= text.size() && text[at - 1] == '/')
        entry.length = static_cast<uint32_t>(std::stoul(text.substr(at)));
    return entry;
}

std::vector<ipv4_entry> ipv4_table()
{
    json_text json(configuration("ipbt"));
    EXPECT_EQ(json.parse(), 0);
    std::vector<ipv4_entry> table;
    const json_pair_t *rules = pair_of(json.value(), "rules");
    for (json_node_t *rule = rules->value->child; rule != nullptr; rule = rule->next) {
        std::set<uint32_t> protocols;
        for (json_node_t *value = pair_of(rule, "values")->value->child; value != nullptr;
             value = value->next) {
            const auto text = json_string_view(*json_as_string(pair_of(value, "value")->value));
            protocols.insert(static_cast<uint32_t>(std::stoul(string(text))));
        }
        for (json_node_t *ip = pair_of(rule, "ips")->value->child; ip != nullptr; ip = ip->next) {
            table.push_back(ipv4_of(string(json_string_view(*json_as_string(ip)))));
            table.back().protocols = protocols;
        }
    }
    return table;
}

bool holds(const ipv4_entry &entry, uint32_t address)
{
    return entry.length == 0 || (entry.address ^ address) >> (32 - entry.length) == 0;
}

TEST(generated_sources, every_address_has_the_protocols_of_its_masks)
{
    csa_uint8 *serialization = nullptr;
    csa_uint32 len = 0;
    ipbt_get_serialization(&serialization, &len);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(serialization) % 4, 0U);
    ipbt_reader reader;
    ASSERT_EQ(ipbt_reader_open(&reader, {serialization, len}), 0);
    const std::vector<ipv4_entry> table = ipv4_table();
    ASSERT_GT(table.size(), 10U);
    for (const ipv4_entry &entry : table) {
        const uint32_t behind = entry.length == 32 ? 0 : UINT32_MAX >> entry.length;
        const uint32_t first = entry.address & ~behind;
        for (const uint32_t address : {first, first | behind, first - 1, (first | behind) + 1,
                                       entry.address ^ 0x80000000U}) {
            std::set<uint32_t> expected;
            for (const ipv4_entry &other : table)
                if (holds(other, address))
                    expected.insert(other.protocols.begin(), other.protocols.end());
            const std::vector<uint32_t> found = ipbt_reader_find(reader, address);
            EXPECT_EQ(std::set<uint32_t>(found.begin(), found.end()), expected)
                << std::hex << address;
        }
    }
}

} // namespace
