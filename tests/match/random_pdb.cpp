#include "random_pdb.h"

#include <span>

namespace
{

/// An alias, and its reference.
struct alias_row_t {
    const char *protocol;
    const char *attribute;
    csa_attr_way_t way;
    const char *to_protocol;
    const char *to_attribute;
    csa_attr_way_t to_way;
};

constexpr alias_row_t aliases[] = {
    {"quic", "server_name", ATTR_WAY_CTS, "ssl", "common_name", ATTR_WAY_CTS},
    {"dtls", "common_name", ATTR_WAY_BOTH, "ssl", "common_name", ATTR_WAY_BOTH},
    {"http2", "authority", ATTR_WAY_CTS, "http", "server", ATTR_WAY_CTS},
    {"udp", "stream", ATTR_WAY_STC, "udp", "stream", ATTR_WAY_CTS},
};

/// What rules may test, as they write it.
struct tested_t {
    const char *protocol;
    const char *attribute;
    matcher_type_t type;
    csa_attr_way_t way;
};

constexpr tested_t tested[] = {
    {"http", "server", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
    {"http", "uri_decoded", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
    {"http", "header_raw", MATCHER_TYPE_STREAM, ATTR_WAY_BOTH},
    {"http2", "authority", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
    {"ssl", "common_name", MATCHER_TYPE_STREAM, ATTR_WAY_BOTH},
    {"ssl", "common_name", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
    {"quic", "server_name", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
    {"quic", "user_agent", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
    {"dtls", "common_name", MATCHER_TYPE_STREAM, ATTR_WAY_BOTH},
    {"tcp", "stream", MATCHER_TYPE_STREAM, ATTR_WAY_BOTH},
    {"udp", "stream", MATCHER_TYPE_STREAM, ATTR_WAY_STC},
    {"tcp", "port", MATCHER_TYPE_NUMBER_16, ATTR_WAY_BOTH},
    {"icmp", "code", MATCHER_TYPE_NUMBER_8, ATTR_WAY_CTS},
    {"ip", "address", MATCHER_TYPE_IP_4, ATTR_WAY_STC},
    {"ip6", "address", MATCHER_TYPE_IP_6, ATTR_WAY_CTS},
};

/// "%" is a word of one to three letters, "$" one that the offset engines can take as well.
constexpr const char *shapes[] = {
    "%",         "%.*",      ".*%",        ".*%.*",      "%.*%",        "%.*%.*",   ".*%.*%",
    ".*%.*%.*",  "%.*%.*%",  "(%|%)",      "(%|%)%",     "%(%|%)",      "(%|%).*",  ".*(%|%)",
    ".*(%|%).*", "%(%|%).*", ".*(%|%)%",   "(%|%).*%",   "%|%",         "%?%",      "%b?",
    ".*%b?",     "(%)?%.*",  "[ab]%",      "%[a-c]",     "%[ab]%",      "[ab]%.*",  ".*%[ab]",
    ".*[ab]%.*", "%.%",      ".%",         "%.",         "...",         "%\\w%",    "%[^a]%",
    "%b*%",      "%c+%",     "%\\[AB\\]%", "[^b][^a]",   "\\w+",        ".+",       "(.*%)+",
    "(%|%b)*c",  "%\\d?%.*", ".*[^b]%.*",  "%.*%.*%.*%", "(a|b|c)+%.*", "(\\w*%)*",
};
constexpr const char *stream_shapes[] = {"%.*", ".*%.*", "%.*%.*",   "(%|%).*", ".*%.*%.*",
                                         "...", "\\w+",  "%[^a]%.*", "%.%.*",   ".+"};

template <typename Row, size_t N>
const Row &any_of(random_match_t &random, const Row (&rows)[N])
{
    return rows[random.below(N)];
}

std::string fill(random_match_t &random, std::string shape)
{
    for (size_t at = 0; (at = shape.find('%', at)) != shape.npos;)
        shape.replace(at, 1, random.letters(1 + random.below(3)));
    return shape;
}

std::string random_number(random_match_t &random, matcher_type_t type)
{
    const std::string low = std::to_string(random.below(6));
    switch (type) {
    case MATCHER_TYPE_NUMBER_16:
        return random.one_in(2) ? low : low + "-" + std::to_string(6 + random.below(4)) + ",300";
    case MATCHER_TYPE_NUMBER_8:
        return low;
    case MATCHER_TYPE_IP_4:
        return random.one_in(2) ? "10.0.0." + low
                                : "10.0.0.0/" + std::to_string(28 + random.below(5));
    default:
        return random.one_in(2) ? "2001:db8::" + low
                                : "2001:db8::/" + std::to_string(124 + random.below(4));
    }
}

attr_model random_attr(random_match_t &random, const tested_t &what)
{
    attr_model attr = {what.attribute, what.type, what.way, ATTR_PROTO_UNKNOWN, {}};
    const bool is_stream = std::string_view(what.attribute) == "stream";
    for (uint32_t i = 1 + (random.one_in(4) ? 1 : 0); i != 0; --i) {
        if (what.type != MATCHER_TYPE_STREAM)
            attr.values.emplace_back(random_number(random, what.type), 0);
        else if (is_stream && random.one_in(4))
            attr.values.emplace_back(random.letters(2), 1 + random.below(4));
        else
            attr.values.emplace_back(
                is_stream ? fill(random, any_of(random, stream_shapes)) : random.expression(), 0);
    }
    return attr;
}

/// Follows the aliases, as a description does when it is stored.
void follow_aliases(sub_rule_model &sub_rule)
{
    const std::string written = sub_rule.protocol;
    for (attr_model &attr : sub_rule.attrs)
        for (const alias_row_t &alias : aliases)
            if (written == alias.protocol && attr.name == alias.attribute &&
                attr.way == alias.way) {
                sub_rule.protocol = alias.to_protocol;
                attr.name = alias.to_attribute;
                attr.way = alias.to_way;
                break;
            }
}

sub_rule_model random_sub_rule(random_match_t &random)
{
    const tested_t &first = any_of(random, tested);
    sub_rule_model sub_rule = sub_rule_of(first.protocol, {random_attr(random, first)},
                                          random.one_in(2) ? 65536 : 5 + random.below(4));
    for (const tested_t &more : tested)
        if (std::string_view(more.protocol) == first.protocol && &more != &first &&
            random.one_in(4))
            sub_rule.attrs.push_back(random_attr(random, more));
    follow_aliases(sub_rule);
    return sub_rule;
}

rule_model random_rule(random_match_t &random)
{
    rule_model rule = rule_of({random_sub_rule(random)},
                              random.one_in(2) ? 0 : random.below(3) << 24 | random.below(4));
    if (random.one_in(4))
        rule.sub_rules.push_back(random.one_in(2) ? sub_rule_of(any_of(random, tested).protocol, {})
                                                  : random_sub_rule(random));
    rule.scope = random.one_in(2) ? 0 : random.below(0x2000);
    rule.fastpass = random.below(2);
    if (random.one_in(3))
        rule.path = {"base", "p"};
    return rule;
}

void put_word(std::vector<uint8_t> &bytes, uint32_t word)
{
    for (const int shift : {24, 16, 8, 0})
        bytes.push_back(static_cast<uint8_t>(word >> shift));
}

std::vector<uint8_t> alias_record(string_pool &pool)
{
    std::vector<uint8_t> bytes(4);
    for (const alias_row_t &alias : aliases) {
        put_word(bytes, pool.put(alias.protocol));
        put_word(bytes, pool.put(alias.attribute));
        bytes.push_back(static_cast<uint8_t>(alias.way));
        put_word(bytes, pool.put(alias.to_protocol));
        put_word(bytes, pool.put(alias.to_attribute));
        bytes.push_back(static_cast<uint8_t>(alias.to_way));
    }
    bytes.resize((bytes.size() + 3) / 4 * 4);
    csa_set_be32(bytes.data(),
                 TLV_TYPE_ROOT_MATCHER_ALIAS << 24 | static_cast<uint32_t>(bytes.size() / 4 - 1));
    return bytes;
}

pdb_list_t make_list(const std::vector<protocol_model> &protocols)
{
    string_pool pool;
    pdb_list_t list;
    put_part(&list, PDB_TYPE_PROTOCOL_DESCRIPTION,
             description_writer::descriptions(pool, protocols));
    put_part(&list, PDB_TYPE_TAGS, stored(record(TLV_TYPE_ROOT_TAGS, {})));
    put_part(&list, PDB_TYPE_MATCHER_ALIAS, alias_record(pool));
    put_part(&list, PDB_TYPE_MAIN_HSTRING, description_writer::main_strings(pool));
    put_part(&list, PDB_TYPE_LOAD, stored({0x0C000001, TLV_TYPE_LOAD_UNLOADABLE}));
    return list;
}

/// An attribute under which values are seen: what rules may write, and some that they do not.
tested_t any_seen(random_match_t &random)
{
    constexpr tested_t also[] = {
        {"udp", "stream", MATCHER_TYPE_STREAM, ATTR_WAY_BOTH},
        {"ssl", "user_agent", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
        {"quic", "common_name", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
        {"http2", "server", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
        {"dns", "query", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
    };
    return random.one_in(6) ? any_of(random, also) : any_of(random, tested);
}

flow_value_t random_value(random_match_t &random)
{
    flow_value_t value;
    if (random.one_in(12)) {
        value.protocol = any_of(random, tested).protocol;
        return value;
    }
    const tested_t seen = any_seen(random);
    value.protocol = seen.protocol;
    value.attribute = seen.attribute;
    value.way = random.one_in(4) ? ATTR_WAY_STC : ATTR_WAY_CTS;
    value.bytes = random.letters(random.below(10));
    value.more = seen.type == MATCHER_TYPE_STREAM && random.one_in(4);
    value.number.number = random.below(10);
    if (seen.type == MATCHER_TYPE_IP_4)
        value.number.number += 0x0A000000;
    value.number.address = {0x20010db8, 0, 0, random.below(10)};
    return value;
}

} // namespace

std::string random_match_t::letters(uint32_t n)
{
    std::string text;
    for (; n > 0; --n)
        text += "abcabcabcabcABC.1"[below(17)];
    return text;
}

std::string random_match_t::expression()
{
    return fill(*this, any_of(*this, shapes));
}

std::vector<uint8_t> make_pdb(const std::vector<protocol_model> &protocols)
{
    return compile(make_list(protocols)).bytes;
}

std::vector<uint8_t> make_random_pdb(random_match_t &random)
{
    std::vector<protocol_model> protocols;
    for (uint32_t i = 0; i < 3; ++i) {
        std::vector<rule_model> rules;
        for (uint32_t left = 4 + random.below(6); left != 0; --left)
            rules.push_back(random_rule(random));
        protocols.push_back(protocol_of(i + 1, i == 0 ? "p" : std::string(i + 1, 'q'), rules));
        if (i != 0)
            for (rule_model &rule : protocols.back().rules)
                rule.path.clear();
    }
    return make_pdb(protocols);
}

std::vector<flow_value_t> make_random_flow(random_match_t &random)
{
    std::vector<flow_value_t> flow;
    for (uint32_t left = 1 + random.below(5); left != 0; --left)
        flow.push_back(random_value(random));
    return flow;
}
