/// The model of the run-time engine, over small pdbs.
#include <random>

#include "expression_match.h"
#include "loadable_fixture.h"
#include "runtime_model.h"

namespace
{

/// A pdb of one rule per value of an attribute; rule "n" has value n.
pdb_model values_model(const std::string &bottom, const std::string &attr,
                       const std::vector<std::string> &values)
{
    pdb_model model;
    for (size_t i = 0; i < values.size(); ++i)
        model.protocols.push_back(
            protocol_of(static_cast<uint32_t>(i + 1), std::to_string(i),
                        {rule_of({sub_rule_of(bottom, {stream_attr(attr, {values[i]})}, 65536)})}));
    return model;
}

/// A line with one text.
std::string text_line(const char *attribute, const std::string &data)
{
    std::string line(attribute);
    return line.append(" cts \"").append(data).append("\"");
}

/// The protocols that a flow matches, the best first, "web mail ".
std::string classify(const loadable_pdb_t &pdb, std::string_view line)
{
    std::vector<flow_value_t> flow;
    runtime_result_t result;
    std::string text;
    if (!runtime_read_flow(line, flow, text) || !runtime_classify(pdb, flow, result, text))
        return text.insert(0, "error: ");
    for (const runtime_match_t &match : result.matches)
        text.append(runtime_protocol(*match.rule)).append(" ");
    return text;
}

TEST(runtime_flow, values_are_read_from_a_line)
{
    std::vector<flow_value_t> flow;
    std::string error;
    ASSERT_TRUE(runtime_read_flow("http:server cts \"a\\x00\\\"b; c\"; tcp:port stc 443; "
                                  "ip:address cts 10.0.0.1; ip6:address stc 2001:db8::1",
                                  flow, error))
        << error;
    ASSERT_EQ(flow.size(), 4U);
    EXPECT_EQ(flow[0].protocol, "http");
    EXPECT_EQ(flow[0].attribute, "server");
    EXPECT_EQ(flow[0].way, ATTR_WAY_CTS);
    EXPECT_EQ(flow[0].bytes, std::string("a\0\"b; c", 7));
    EXPECT_EQ(flow[1].way, ATTR_WAY_STC);
    EXPECT_EQ(flow[1].number.number, 443U);
    EXPECT_EQ(flow[2].number.number, 0x0A000001U);
    EXPECT_EQ(flow[3].number.address, (std::array<uint32_t, 4>{0x20010db8, 0, 0, 1}));
}

TEST(runtime_flow, texts_are_repeated_and_joined)
{
    std::vector<flow_value_t> flow;
    std::string error;
    ASSERT_TRUE(
        runtime_read_flow("udp:stream cts \"\\x00a\"*3+\"b\"+\"c\"*0; udp:port cts 1", flow, error))
        << error;
    ASSERT_EQ(flow.size(), 2U);
    EXPECT_EQ(flow[0].bytes, std::string("\0a\0a\0ab", 7));
    for (const char *line :
         {"a:b cts \"a\"*", "a:b cts \"a\"*x", "a:b cts \"a\"+", "a:b cts \"a\"+1",
          "a:b cts \"aa\"*524289", "a:b cts \"a\"*1048576+\"b\"", "a:b cts \"\"*4294967296",
          "a:b cts \"a\"*-1"})
        EXPECT_FALSE(runtime_read_flow(line, flow, error)) << line;
    EXPECT_TRUE(runtime_read_flow("a:b cts \"aa\"*524288", flow, error));
}

TEST(runtime_flow, a_flow_says_what_may_go_on_and_which_protocols_it_has)
{
    std::vector<flow_value_t> flow;
    std::string error;
    ASSERT_TRUE(
        runtime_read_flow("a:b cts \"x\"*2...; has ssl; a:b cts \"y\"; has tcp", flow, error))
        << error;
    ASSERT_EQ(flow.size(), 4U);
    EXPECT_TRUE(flow[0].more);
    EXPECT_EQ(flow[0].bytes, "xx");
    EXPECT_EQ(flow[1].protocol, "ssl");
    EXPECT_EQ(flow[1].attribute, "");
    EXPECT_FALSE(flow[2].more);
    EXPECT_EQ(flow[3].protocol, "tcp");
    for (const char *line : {"has ", "has", "has ssl;", "a:b cts \"x\"..", "a:b cts 1..."})
        EXPECT_FALSE(runtime_read_flow(line, flow, error)) << line;
}

TEST(runtime_flow, other_lines_are_refused)
{
    for (const char *line :
         {"", "tcp", "tcp:port", "tcp:port cts", "tcp:port both 1", "tcp:port cts 1x",
          "tcp:port cts 1;", "tcp:port cts 1; ", "tcp:port cts \"a", "tcp:port cts \"a\\x4\"",
          "tcp:port cts \"a\\", "tcp:port cts \"a\" ", "tcp:port cts 1 2"}) {
        std::vector<flow_value_t> flow;
        std::string error;
        EXPECT_FALSE(runtime_read_flow(line, flow, error)) << line;
        EXPECT_NE(error, "") << line;
    }
}

TEST(runtime_model, numbers_and_addresses_classify)
{
    const loaded_t loaded(pdb_model{
        {protocol_of(1, "web", {simple_rule("tcp", {number_attr("port", {"80,8000-8100"})})}),
         protocol_of(
             2, "lan",
             {simple_rule("ip", {number_attr("address", {"10.0.0.0/8"}, MATCHER_TYPE_IP_4)})}),
         protocol_of(
             3, "six",
             {simple_rule("ip6", {number_attr("address", {"2001:db8::/32"}, MATCHER_TYPE_IP_6)})})},
        {}});
    EXPECT_EQ(classify(loaded.pdb, "tcp:port cts 80"), "web ");
    EXPECT_EQ(classify(loaded.pdb, "tcp:port cts 8050"), "web ");
    EXPECT_EQ(classify(loaded.pdb, "tcp:port cts 81"), "");
    EXPECT_EQ(classify(loaded.pdb, "tcp:port stc 80"), "");
    EXPECT_EQ(classify(loaded.pdb, "udp:port cts 80"), "");
    EXPECT_EQ(classify(loaded.pdb, "ip:address cts 10.1.2.3"), "lan ");
    EXPECT_EQ(classify(loaded.pdb, "ip6:address cts 2001:db8::5"), "six ");
    EXPECT_EQ(classify(loaded.pdb, "ip6:address cts 2001:db9::5"), "");
}

TEST(runtime_model, a_rule_fires_once_all_its_items_were_found)
{
    const loaded_t loaded(
        pdb_model{{protocol_of(1, "both",
                               {rule_of({sub_rule_of("tcp", {number_attr("port", {"80"})}),
                                         sub_rule_of("http", {stream_attr("referer", {"r"}),
                                                              stream_attr("uri", {".*x.*"})})})})},
                  {}});
    EXPECT_EQ(classify(loaded.pdb, "tcp:port cts 80"), "");
    EXPECT_EQ(classify(loaded.pdb, "tcp:port cts 80; http:uri cts \"axb\""), "");
    EXPECT_EQ(classify(loaded.pdb, "http:referer cts \"r\"; http:uri cts \"axb\""), "");
    EXPECT_EQ(classify(loaded.pdb, "tcp:port cts 80; http:referer cts \"r\"; http:uri cts \"axb\""),
              "both ");
}

TEST(runtime_model, the_best_priority_comes_first)
{
    const auto rule = [](uint32_t priority) {
        return simple_rule("tcp", {number_attr("port", {"80"})}, priority);
    };
    const loaded_t loaded(pdb_model{
        {protocol_of(1, "low", {rule(0x02000001)}), protocol_of(2, "default", {rule(0x01000000)}),
         protocol_of(3, "best", {rule(0x01000002)}), protocol_of(4, "same", {rule(0x01000002)})},
        {}});
    EXPECT_EQ(classify(loaded.pdb, "tcp:port cts 80"), "best same default low ");
}

TEST(runtime_model, more_items_and_longer_values_are_better_by_default)
{
    const loaded_t loaded(pdb_model{
        {protocol_of(1, "short", {simple_rule("http", {stream_attr("uri", {".*a.*"})})}),
         protocol_of(2, "long", {simple_rule("http", {stream_attr("uri", {".*ab.*"})})}),
         protocol_of(3, "two", {simple_rule("http", {stream_attr("uri", {".*a.*", ".*b.*"})})})},
        {}});
    EXPECT_EQ(classify(loaded.pdb, "http:uri cts \"ab\""), "two long short ");
}

TEST(runtime_model, the_path_names_the_protocol)
{
    pdb_model model = {{protocol_of(1, "web", {simple_rule("tcp", {number_attr("port", {"80"})})})},
                       {{"t", 9}}};
    model.protocols[0].rules[0].path = {"base", "ip", "web"};
    model.protocols[0].rules[0].tags = {"t"};
    const loaded_t loaded(model);
    runtime_result_t result;
    std::vector<flow_value_t> flow;
    std::string error;
    ASSERT_TRUE(runtime_read_flow("tcp:port cts 80", flow, error));
    ASSERT_TRUE(runtime_classify(loaded.pdb, flow, result, error));
    ASSERT_EQ(result.matches.size(), 1U);
    EXPECT_EQ(runtime_protocol(*result.matches[0].rule), "web");
    EXPECT_EQ(result.matches[0].rule->tags, std::vector<uint32_t>{9});
    EXPECT_EQ(result.items, std::vector<uint32_t>{1});
}

TEST(runtime_model, every_kind_of_stream_value)
{
    const loaded_t loaded(values_model(
        "http", "uri_decoded",
        {"word", "pre.*", ".*suf", ".*mid.*", "ab.*cd.*ef", "x.z", "[^q]", "(one|two)3", "\\d+"}));
    const auto found = [&](const std::string &data) {
        return classify(loaded.pdb, text_line("http:uri_decoded", data));
    };
    EXPECT_EQ(found("word"), "0 ");
    EXPECT_EQ(found("words"), "");
    EXPECT_EQ(found("prefix"), "1 ");
    EXPECT_EQ(found("a suf"), "2 ");
    EXPECT_EQ(found("presuf"), "1 2 ");
    EXPECT_EQ(found("amidst"), "3 ");
    EXPECT_EQ(found("ab cd ef"), "4 ");
    EXPECT_EQ(found("ab ef cd"), "");
    EXPECT_EQ(found("ab ef"), "");
    EXPECT_EQ(found("xyz"), "5 ");
    EXPECT_EQ(found("xyyz"), "");
    EXPECT_EQ(found("k"), "6 ");
    EXPECT_EQ(found("q"), "");
    EXPECT_EQ(found("one3"), "7 ");
    EXPECT_EQ(found("three3"), "");
    EXPECT_EQ(found("12"), "8 ");
}

TEST(runtime_model, attributes_that_fold_case_do_so_everywhere)
{
    const loaded_t loaded(
        values_model("http", "server", {"word", ".*mid.*", "Pre.*", "x.z", "[A-C]."}));
    const auto found = [&](const std::string &data) {
        return classify(loaded.pdb, text_line("http:server", data));
    };
    EXPECT_EQ(found("WORD"), "0 ");
    EXPECT_EQ(found("aMiDst"), "1 ");
    EXPECT_EQ(found("pREfix"), "2 ");
    EXPECT_EQ(found("X.Z"), "3 ");
    EXPECT_EQ(found("b!"), "4 ");
}

TEST(runtime_model, values_at_an_offset)
{
    const loaded_t loaded(pdb_model{
        {protocol_of(
            1, "at",
            {rule_of({sub_rule_of("tcp", {offset_attr("stream", "go\\x00", 3)}, 65536)})})},
        {}});
    EXPECT_EQ(classify(loaded.pdb, "tcp:stream cts \"...go\\x00\""), "at ");
    EXPECT_EQ(classify(loaded.pdb, "tcp:stream cts \"..go\\x00\""), "");
}

TEST(runtime_model, a_preempt_value_waits_for_its_minimum_data)
{
    rule_model rule = rule_of({sub_rule_of("tcp", {stream_attr("stream", {"go.*"})}, 8)});
    rule.preempt = 1;
    const loaded_t loaded(pdb_model{{protocol_of(1, "early", {rule})}, {}});
    EXPECT_EQ(classify(loaded.pdb, "tcp:stream cts \"go on\""), "");
    EXPECT_EQ(classify(loaded.pdb, "tcp:stream cts \"go on on\""), "early ");
}

TEST(runtime_model, while_data_may_go_on_its_end_does_not_count)
{
    const loaded_t loaded(values_model(
        "http", "uri_decoded", {"word", "wo.*", ".*rd", ".*or.*", "w.rd", "w.rd.*", "\\w+", ".+"}));
    EXPECT_EQ(classify(loaded.pdb, "http:uri_decoded cts \"word\""), "3 5 0 1 2 4 6 7 ");
    EXPECT_EQ(classify(loaded.pdb, "http:uri_decoded cts \"word\"..."), "3 5 1 7 ");
}

TEST(runtime_model, a_matcher_begins_at_its_minimum_data)
{
    const auto rule = [](const char *value, uint32_t mindata) {
        return rule_of({sub_rule_of("tcp", {stream_attr("stream", {value})}, mindata)});
    };
    const loaded_t loaded(pdb_model{{protocol_of(1, "short", {rule("go.*", 4)}),
                                     protocol_of(2, "long", {rule("(.*)\\w(.*)", 8)})},
                                    {}});
    EXPECT_EQ(classify(loaded.pdb, "tcp:stream cts \"go on\"..."), "");
    EXPECT_EQ(classify(loaded.pdb, "tcp:stream cts \"go on\""), "long short ");
    EXPECT_EQ(classify(loaded.pdb, "tcp:stream cts \"go on and on\"..."), "long short ");
}

/// A rule of the tcp port 80 and of a second sub-rule.
rule_model port_and(const std::string &protocol)
{
    sub_rule_model second = sub_rule_of(protocol, {});
    return rule_of({sub_rule_of("tcp", {number_attr("port", {"80"})}), second});
}

TEST(runtime_model, what_a_flow_says_of_its_protocols_counts)
{
    const loaded_t loaded(pdb_model{{protocol_of(1, "safe", {port_and("ssl")})}, {}});
    EXPECT_EQ(classify(loaded.pdb, "tcp:port cts 80"), "safe ");
    EXPECT_EQ(classify(loaded.pdb, "tcp:port cts 80; has tcp"), "");
    EXPECT_EQ(classify(loaded.pdb, "tcp:port cts 80; has ssl"), "safe ");
    EXPECT_EQ(classify(loaded.pdb, "has ssl; has quic; tcp:port cts 80"), "safe ");
}

TEST(runtime_model, a_rule_admits_its_real_bottom_and_its_scope)
{
    const auto seen_in = [](uint32_t scope, const std::string &real_bottom) {
        rule_model rule = simple_rule("ssl", {stream_attr("common_name", {"name"})});
        rule.scope = scope;
        rule.sub_rules[0].bottom_protocol = real_bottom;
        const loaded_t loaded(pdb_model{{protocol_of(1, "p", {rule})}, {}});
        return classify(loaded.pdb, "ssl:common_name cts \"name\"");
    };
    constexpr uint32_t all = 0x1;
    constexpr uint32_t ssl = 0x4;
    constexpr uint32_t http_proxy = 0x800;
    EXPECT_EQ(seen_in(http_proxy, "ssl"), "p ");
    EXPECT_EQ(seen_in(http_proxy, "quic"), "");
    EXPECT_EQ(seen_in(http_proxy | ssl, "quic"), "p ");
    EXPECT_EQ(seen_in(all, "quic"), "p ");
}

TEST(runtime_model, a_damaged_pdb_gives_an_error)
{
    const loaded_t loaded(values_model("http", "uri_decoded", {"ab.*cd", "x.z"}));
    loadable_pdb_t pdb = loaded.pdb;
    pdb.matchers[0].second_level.resize(1);
    EXPECT_EQ(classify(pdb, "http:uri_decoded cts \"ab cd\"").substr(0, 7), "error: ");
    pdb = loaded.pdb;
    pdb.matchers[0].second_level[0].value = "(";
    EXPECT_EQ(classify(pdb, "http:uri_decoded cts \"xyz\""), "error: not an expression: (");
}

// ---------------------------------------------------------------------------------------------
// The shapes that descriptions use, with random words: what matches is found.

/// Each "%" is a random word of one to three letters.
constexpr const char *shapes[] = {
    // pieces at their places
    "%",
    "%.*",
    ".*%",
    ".*%.*",
    "%.*%",
    "%.*%.*",
    ".*%.*%",
    ".*%.*%.*",
    "%.*%.*%",
    // one of several
    "(%|%)",
    "(%|%)%",
    "%(%|%)",
    "(%|%).*",
    ".*(%|%)",
    ".*(%|%).*",
    "%(%|%).*",
    ".*(%|%)%",
    "(%|%).*%",
    "%|%",
    "%?%",
    "%b?",
    ".*%b?",
    "(%)?%.*",
    // classes that are spelled out
    "[ab]%",
    "%[a-c]",
    "%[ab]%",
    "[ab]%.*",
    ".*%[ab]",
    ".*[ab]%",
    ".*[ab]%.*",
    // what only the second level can tell
    "%.%",
    ".%",
    "%.",
    "...",
    "%\\w%",
    "%[^a]%",
    "%b*%",
    "%c+%",
    "%\\[AB\\]%",
    "[^b][^a]",
    "\\w+",
};

struct text_maker {
    std::mt19937 random;

    std::string letters(size_t n)
    {
        std::string text;
        for (; n > 0; --n)
            text += "abc"[random() % 3];
        return text;
    }
    std::string value(std::string shape)
    {
        for (size_t at = 0; (at = shape.find('%', at)) != shape.npos;)
            shape.replace(at, 1, letters(1 + random() % 3));
        return shape;
    }
};

/// How often an expression matched, and how often the model found one that did not.
struct tally_t {
    uint32_t matched = 0;
    uint32_t more = 0;
};

/// Classifies one text by all values and holds the answer against each expression.
void compare(const loadable_pdb_t &pdb, const std::vector<std::string> &values,
             const std::string &data, tally_t &tally)
{
    std::string found = classify(pdb, text_line("http:uri_decoded", data));
    found.insert(0, 1, ' ');
    for (size_t v = 0; v < values.size(); ++v) {
        expression_t expression;
        std::string error;
        ASSERT_TRUE(expression_open(values[v], false, expression, error)) << error;
        const std::string number = std::to_string(v).insert(0, 1, ' ').append(" ");
        const bool is_found = found.find(number) != found.npos;
        const bool matches = expression_match(
            expression, {reinterpret_cast<const uint8_t *>(data.data()), data.size()});
        ASSERT_TRUE(is_found || !matches) << values[v] << " misses " << data;
        tally.matched += matches ? 1 : 0;
        tally.more += is_found && !matches ? 1 : 0;
    }
}

TEST(runtime_model, whatever_a_value_matches_is_found)
{
    text_maker maker{std::mt19937(7)};
    tally_t tally;
    for (uint32_t round = 0; round < 40; ++round) {
        std::vector<std::string> values;
        for (const char *shape : shapes)
            values.push_back(maker.value(shape));
        const loaded_t loaded(values_model("http", "uri_decoded", values));
        for (uint32_t i = 0; i < 80; ++i)
            compare(loaded.pdb, values, maker.letters(1 + maker.random() % 8), tally);
    }
    EXPECT_GT(tally.matched, 5000U);
    // Pieces in their order are a little less than the expression: "ab.*bc" finds "abc".
    EXPECT_LT(tally.more, tally.matched / 20);
}

} // namespace
