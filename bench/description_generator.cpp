#include "description_generator.h"

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "random_words.h"

namespace
{

/// What the text attributes hold; a name that is not listed holds a beginning.
constexpr std::string_view host_attributes[] = {
    "server",      "server_name", "common_name", "subject_alt_name",
    "resolv_name", "realm",       "domain",      "query",
};
constexpr std::string_view contained_attributes[] = {
    "uri_decoded",     "post_variable_decoded",
    "uri_get_decoded", "uri_post_decoded",
    "header_raw",      "content",
    "referer",         "location",
    "cookie",          "page_url",
};

template <size_t Size>
bool is_one_of(std::string_view name, const std::string_view (&names)[Size])
{
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

/// A run of the generator.
struct generator_t {
    random_t random;
    std::vector<generated_value_t> *values; ///< may be null
    std::string text;
};

std::string join(std::initializer_list<std::string_view> parts)
{
    std::string text;
    for (const std::string_view part : parts)
        text += part;
    return text;
}

void put(generator_t &run, std::initializer_list<std::string_view> parts)
{
    for (const std::string_view part : parts)
        run.text += part;
}

uint32_t below(generator_t &run, uint32_t limit)
{
    return random_below(run.random, limit);
}

std::string word(generator_t &run)
{
    return random_word(run.random);
}

std::string host_value(generator_t &run)
{
    static const char *const forms[] = {"(.*\\.)?", ".*\\.", ".*\\.", ""};
    return join({forms[below(run, 4)], word(run), "\\.", random_domain(run.random)});
}

std::string begin_value(generator_t &run)
{
    switch (below(run, 8)) {
    case 0:
        return join({"(", word(run), "|", word(run), ")/", word(run), ".*"});
    case 1:
        return join({word(run), "/.*", word(run), ".*"});
    default:
        return join({word(run), "/", word(run), ".*"});
    }
}

std::string contained_value(generator_t &run)
{
    return join({".*", word(run), "/", word(run), ".*"});
}

std::string stream_value(generator_t &run)
{
    char byte[8];
    std::snprintf(byte, sizeof(byte), "\\x%02x\\x", 128 + below(run, 128));
    return join({byte, "k", word(run), ".*"}); // the k ends the bytes in hexadecimal
}

std::string byte_value(generator_t &run)
{
    const uint32_t number = below(run, 250);
    if (below(run, 4) == 0)
        return join({std::to_string(number), "-", std::to_string(number + 5)});
    return std::to_string(number);
}

std::string port_value(generator_t &run)
{
    const uint32_t port = 1024 + below(run, 60000);
    if (below(run, 2) == 0)
        return std::to_string(port);
    return join({std::to_string(port), below(run, 2) == 0 ? "-" : ",", std::to_string(port + 9)});
}

std::string ip4_value(generator_t &run)
{
    char text[24];
    std::snprintf(text, sizeof(text), "%u.%u.%u.0/%u", 1 + below(run, 223), below(run, 256),
                  below(run, 256), 16 + below(run, 9));
    return text;
}

std::string ip6_value(generator_t &run)
{
    char text[24];
    std::snprintf(text, sizeof(text), "2001:%x:%x::/48", below(run, 65536), below(run, 65536));
    return text;
}

bool is_byte_stream(const pdb_attr_properties_t &row)
{
    return row.proper_algo == PATTERN_ALGO_OFFSET_V1;
}

std::string make_text(generator_t &run, const pdb_attr_properties_t &row)
{
    if (is_byte_stream(row))
        return stream_value(run);
    if (is_one_of(row.proper_attr, host_attributes))
        return host_value(run);
    if (is_one_of(row.proper_attr, contained_attributes))
        return contained_value(run);
    return begin_value(run);
}

std::string make_value(generator_t &run, const pdb_attr_properties_t &row)
{
    switch (row.proper_type) {
    case MATCHER_TYPE_NUMBER_8:
        return byte_value(run);
    case MATCHER_TYPE_NUMBER_16:
        return port_value(run);
    case MATCHER_TYPE_IP_4:
        return ip4_value(run);
    case MATCHER_TYPE_IP_6:
        return ip6_value(run);
    default:
        return make_text(run, row);
    }
}

/// Writes a value as a JSON string.
void put_value(generator_t &run, const pdb_attr_properties_t &row, const std::string &value,
               bool at_offset)
{
    put(run, {"\""});
    for (const char c : value)
        put(run, {c == '\\' ? "\\" : "", {&c, 1}});
    put(run, {"\""});
    if (run.values != nullptr)
        run.values->push_back({&row, value, at_offset});
}

/// The prefix of one of the directions that an attribute may be tested in.
const char *choose_way(generator_t &run, const pdb_attr_properties_t &row)
{
    static const char *const ways[] = {"", "cts-", "stc-"};
    const uint32_t way = row.proper_allowed_way;
    return ways[way == ATTR_WAY_BOTH ? below(run, 3) : way];
}

void put_values(generator_t &run, const pdb_attr_properties_t &row, uint32_t number)
{
    put(run, {number > 1 ? "[" : ""});
    for (uint32_t i = 0; i < number; ++i) {
        put(run, {i == 0 ? "" : ", "});
        put_value(run, row, make_value(run, row), false);
    }
    put(run, {number > 1 ? "]" : ""});
}

void put_offset(generator_t &run, const pdb_attr_properties_t &row)
{
    put(run, {"{\"offset\": ", std::to_string(1 + below(run, 40)), ", \"pattern\": "});
    char byte[8];
    std::snprintf(byte, sizeof(byte), "\\x%02x", 128 + below(run, 128));
    put_value(run, row, join({byte, word(run)}), true);
    put(run, {"}"});
}

void put_sub_rule(generator_t &run)
{
    const auto table = pdb_attr_properties_table();
    const pdb_attr_properties_t &row =
        table[below(run, static_cast<uint32_t>(table.size() - 1))]; // but the last row
    const std::string way = choose_way(run, row);
    put(run, {"   {\"protocol\": \"", row.proper_proto, "\", "});
    if (row.mindata_status == MINDATA_MANDATORY)
        put(run, {"\"", way, "mindata\": 65536, "});
    const bool at_offset = is_byte_stream(row) && below(run, 4) == 0;
    put(run, {"\"", way, at_offset ? "stream_offset" : row.proper_attr, "\": "});
    if (at_offset)
        put_offset(run, row);
    else
        put_values(run, row, 1 + below(run, 5) / 2);
    put(run, {"}"});
}

/// Writes the end of a preempt rule, which has one value; it must not be cut into pieces.
void put_preempt(generator_t &run)
{
    const char *protocol = below(run, 2) == 0 ? "tcp" : "udp";
    const std::string_view name = protocol;
    const pdb_attr_properties_t *row = pdb_get_attr_properties(csa_str(name), csa_str("stream"));
    put(run, {", \"preempt\": true, \"rule\": [\n   {\"protocol\": \"", protocol,
              "\", \"mindata\": ", std::to_string(16 + below(run, 8)), ", \"cts-stream\": "});
    put_values(run, *row, 1);
    put(run, {"}]}"});
}

void put_sub_rules(generator_t &run)
{
    put(run, {", \"rule\": [\n"});
    put_sub_rule(run);
    if (below(run, 8) == 0) {
        put(run, {",\n"});
        put_sub_rule(run);
    }
    put(run, {"]}"});
}

void put_rule(generator_t &run, std::string_view name)
{
    static const char *const scopes[] = {"http", "ssl", "quic", "rtsp"};
    put(run, {"  {\"order\": \"", std::to_string(1 + below(run, 100)), ":"});
    put(run, {std::to_string(below(run, 5000)), "\""});
    if (below(run, 4) == 0)
        put(run, {", \"scope\": [\"", scopes[below(run, 4)], "\"]"});
    if (below(run, 4) == 0)
        put(run, {", \"path\": [\"http\", \"", name, "\"]"});
    if (below(run, 4) == 0)
        put(run, {", \"rule-tags\": [\"video\"]"});
    if (below(run, 40) == 0)
        put_preempt(run);
    else
        put_sub_rules(run);
}

void put_head(generator_t &run, uint32_t number, std::string_view name)
{
    put(run, {" {\"name\": \"", name, "\", \"id\": ", std::to_string(0x1000000 + number),
              ",\n  \"version\": {\"major\": 1, \"minor\": 540, \"revision\": ",
              std::to_string(below(run, 30)), "},\n  \"tags\": {\"category\": [\"web\", \""});
    put(run, {word(run), "\"], \"family\": \"generated\"},\n  \"rules\": [\n"});
}

void put_protocol(generator_t &run, uint32_t number, uint32_t rules)
{
    const std::string name = join({"service", std::to_string(number)});
    put_head(run, number, name);
    for (uint32_t i = 0; i < rules; ++i) {
        put_rule(run, name);
        put(run, {i + 1 < rules ? ",\n" : "\n"});
    }
    put(run, {"  ]}"});
}

} // namespace

std::string generate_description(const description_shape_t &shape,
                                 std::vector<generated_value_t> *values)
{
    generator_t run = {{shape.seed}, values, "{\"protocols\": [\n"};
    for (uint32_t i = 0; i < shape.protocols; ++i) {
        const uint64_t begin = static_cast<uint64_t>(shape.rules) * i / shape.protocols;
        const uint64_t end = static_cast<uint64_t>(shape.rules) * (i + 1) / shape.protocols;
        put_protocol(run, shape.first_protocol + i, static_cast<uint32_t>(end - begin));
        put(run, {i + 1 < shape.protocols ? ",\n" : "\n"});
    }
    put(run, {"]}\n"});
    return std::move(run.text);
}

std::string generate_large_protocol(uint32_t rules, uint32_t first_value)
{
    generator_t run = {{1}, nullptr, "{\"protocols\": [\n"};
    put_head(run, 0, "large");
    for (uint32_t i = 0; i < rules; ++i)
        put(run, {"  {\"order\": \"50:100\", \"rule\": [\n   {\"protocol\": \"ssl\", ",
                  "\"common_name\": \"host", std::to_string(first_value + i), "\\\\.net\"}]}",
                  i + 1 < rules ? ",\n" : "\n"});
    put(run, {"  ]}\n]}\n"});
    return std::move(run.text);
}

std::string generate_host(uint32_t number)
{
    random_t random = {number};
    const std::string first = random_word(random);
    return join({first, random_word(random).substr(0, 4), ".", random_domain(random)});
}
