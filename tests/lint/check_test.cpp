// What a check says of small descriptions, by id and hint, and that its work stays in proportion.
#include "checker.h"
#include "failing_alloc.h"
#include "format_limits.h"

namespace
{

TEST(Check, ValuesAndWhatIsFoundInThem)
{
    const std::vector<row_t> rows = rows_of(PDATA_LINT_VALUES);
    ASSERT_FALSE(rows.empty());
    for (const row_t &row : rows)
        EXPECT_EQ(shown(check(rule_with(row.part))), row.findings) << row.part;
}

/// The messages of the errors and warnings.
std::vector<std::string> messages(const lint_result_t &result)
{
    std::vector<std::string> texts;
    for (const finding_t &finding : result.findings)
        if (finding_kind(finding.id).level != FINDING_LEVEL_NOTE)
            texts.push_back(finding.message);
    return texts;
}

using names_t = std::vector<std::string>;

std::string repeated(const std::string &text, size_t times)
{
    std::string all;
    for (size_t i = 0; i < times; ++i)
        all += (i == 0 ? "" : ", ") + text;
    return all;
}

TEST(Check, LimitsOfRulesAndSubRulesAreSaidOnce)
{
    const auto rules = [](size_t number) {
        std::string all;
        for (size_t i = 1; i <= number; ++i)
            all += std::string(i == 1 ? "" : ",") +
                   R"({"order": "50:0", "rule": [{"protocol": "tcp", "port": ")" +
                   std::to_string(i) + R"("}]})";
        return shown(check(protocol_with(all)));
    };
    EXPECT_EQ(rules(1199).find("too-many"), std::string::npos);
    EXPECT_EQ(rules(1201), "too-many: leave 1199 of them");
    const auto sub_rules = [](size_t number) {
        return shown(
            check(protocol_with(R"({"order": "50:0", "rule": [)" +
                                repeated(R"({"protocol": "tcp", "port": "80"})", number) + "]}")));
    };
    EXPECT_EQ(sub_rules(2), "");
    EXPECT_EQ(sub_rules(4), "too-many: leave 2 of them");
}

TEST(Check, ElementsOfAnotherKindArePassedOver)
{
    const std::string rule = R"({"order": "50:0", "rule": [5, {"protocol": "tcp", "port": "x"}]})";
    const lint_result_t result = check(protocol_with("5, " + rule));
    ASSERT_EQ(result.model.protocols.size(), 1U);
    ASSERT_EQ(result.model.protocols[0].rules.size(), 1U);
    EXPECT_EQ(result.model.protocols[0].rules[0].sub_rules.size(), 1U);
}

TEST(Check, AFindingBehindTheRulesIsOfNone)
{
    const std::string text = protocol_with(
        R"({"order": "50:0", "rul": 1, "rule": [{"protocol": "tcp", "port": "80"}]}], "bad": [)");
    const lint_result_t result = check(text);
    std::map<std::string, uint32_t> rules;
    for (const finding_t &finding : result.findings)
        rules[text.substr(finding.place.begin, finding.place.end - finding.place.begin)] =
            finding.rule;
    EXPECT_EQ(rules, (std::map<std::string, uint32_t>{{"\"bad\"", 0}, {"\"rul\"", 1}}));
}

TEST(Check, ProtocolsMayLackWhatNamesThem)
{
    const lint_result_t result =
        check(R"({"p": [{"rules": []}, {"name": "http"}, {"id": 16777300}, {"name": "none"}]})");
    std::vector<uint32_t> ids;
    for (const lint_protocol_t &protocol : result.model.protocols)
        ids.push_back(protocol.id);
    ASSERT_EQ(ids.size(), 4U);
    EXPECT_EQ(ids[0], 0U);
    EXPECT_NE(ids[1], 0U) << "that of the built-in protocol";
    EXPECT_EQ(ids[2], 16777300U);
    EXPECT_EQ(ids[3], 0U);
    const lint_result_t nameless = check(R"({"p": [{"id": 0, "rules": [{"order": "50:0", "rule":
        [{"protocol": "http", "cts-server": ".*\\.com"}]}]}]})");
    EXPECT_EQ(shown(nameless), "missing-key: add \"name\"\n"
                               "broad-value: write one more label in front of it");
    for (const finding_t &finding : result.findings)
        EXPECT_TRUE(finding.protocol.empty() || finding.protocol == "http" ||
                    finding.protocol == "none");
}

/// A description checked beside a pdb that stands as a text.
names_t messages_beside(std::string_view base)
{
    const std::string text = R"({"p": [{"name": "a", "id": 16777300}]})";
    return messages(lint_check({{"text", text}, {"base.pdb", base, true}}, shipped().config, {}));
}

TEST(Check, WhatStandsInAPdbIsNamedByItsProtocol)
{
    EXPECT_EQ(messages_beside(R"({"p": [{"name": "b", "id": 16777300}]})"),
              (names_t{"two protocols have the id 16777300 (b, in base.pdb)"}));
    EXPECT_EQ(messages_beside(R"({"p": [{"id": 16777300}]})"), names_t{})
        << "one without a name has a fault, which is not to be mended here";
}

/// Why a configuration with another text of a file is refused.
std::string config_fault(const std::string &name, const std::string &text)
{
    return checker_t(texts_t{{name, text}}).wrong;
}

std::string aliases(size_t number)
{
    std::string pairs;
    for (size_t i = 0; i < number; ++i)
        pairs += std::string(i == 0 ? "" : ",") + R"({"alias": {"protocol": "p)" +
                 std::to_string(i) +
                 R"(", "attr": "a", "way": "cts"}, "reference": {"protocol": "http",
                    "attr": "server", "way": "cts"}})";
    return R"({"aliases": [)" + pairs + "]}";
}

TEST(Config, FaultsAreSaidInOneLineByTheirFile)
{
    for (const char *name : {"semantic_protocol", "matcher_alias", "tag_table"}) {
        const std::string fault = config_fault(std::string(name) + ".json", "{\n\t\"a\": [}");
        EXPECT_TRUE(fault.starts_with(std::string(name) + ".json: ")) << fault;
        EXPECT_NE(fault.find("line"), std::string::npos) << fault;
        EXPECT_EQ(fault.find_first_of("\n\t"), std::string::npos) << fault;
    }
    EXPECT_EQ(config_fault("matcher_alias.json", aliases(63)), "");
    EXPECT_EQ(config_fault("matcher_alias.json", aliases(64)),
              "matcher_alias.json: more than 63 pairs of aliases");
    EXPECT_EQ(config_fault("matcher_alias.json", aliases(65)),
              "matcher_alias.json: beyond a limit");
}

TEST(Config, MemoryThatRunsOutIsNoFaultOfAFile)
{
    checker_t checker; // its files
    size_t runs = 0;
    failing_alloc_sweep(
        [&] {
            try {
                lint_config_t config;
                return lint_config_read(checker.cfg, config).empty() ? 0 : 1;
            } catch (const std::bad_alloc &) {
                return 2;
            }
        },
        [&](int outcome) {
            ++runs;
            EXPECT_EQ(outcome, 2) << runs;
        });
    EXPECT_GT(runs, 10U);
}

TEST(Check, AliasesOfEachDirectionMissBothAtOnce)
{
    const auto pair = [](const char *attribute, const char *way) {
        return std::string(R"({"alias": {"protocol": "sip", "attr": ")") + attribute +
               R"(", "way": ")" + way + R"("}, "reference": {"protocol": "ssl",
               "attr": "common_name", "way": ")" +
               way + R"("}})";
    };
    const auto hints = [&](const std::string &pairs, const char *sub_rule) {
        checker_t checker(texts_t{{"matcher_alias.json", R"({"aliases": [)" + pairs + "]}"}});
        EXPECT_EQ(checker.wrong, "");
        return shown(check(rule_with(std::string(R"("protocol": "sip", )") + sub_rule), checker));
    };
    const std::string cts = pair("domain", "cts");
    const std::string stc = pair("domain", "stc");
    const char *both = R"("domain": "a\\.b")";
    const char *missed = "alias-direction: write \"cts-domain\" or \"stc-domain\"";
    EXPECT_EQ(hints(cts + "," + stc, both), missed);
    EXPECT_EQ(hints(cts + "," + stc, R"("cts-domain": "a\\.b")"), "");
    EXPECT_EQ(hints(cts, both), "");
    EXPECT_EQ(hints(stc, both), "");
    EXPECT_EQ(hints(pair("domain", "both"), both), "");
    // Two attributes of one matcher are two things all the same.
    EXPECT_EQ(hints(pair("domain", "both") + "," + pair("user_agent", "both"),
                    R"("domain": "a\\.b", "user_agent": "c\\.d")"),
              "");
}

TEST(Check, NumbersOfOneMatcherAreStillTwoThings)
{
    checker_t checker(texts_t{{"matcher_alias.json", R"({"aliases": [
        {"alias": {"protocol": "icmp", "attr": "code", "way": "both"},
         "reference": {"protocol": "icmp", "attr": "typeval", "way": "both"}}]})"}});
    EXPECT_EQ(checker.wrong, "");
    const auto hints = [&](const char *sub_rule) {
        return shown(check(rule_with(sub_rule), checker));
    };
    EXPECT_EQ(hints(R"("protocol": "icmp", "typeval": "1", "code": "2")"), "");
    EXPECT_EQ(hints(R"("protocol": "icmp", "code": "1", "code": "2")"),
              "all-must-match: write \"1,2\" once");
}

/// A preempt rule for a stream, and the hints.
std::string preempt_hints(const char *sub_rule)
{
    return shown(check(protocol_with(std::string(R"({"order": "50:0", "preempt": true, "rule":
        [{"protocol": "tcp", )") + sub_rule +
                                     "}]}")));
}

TEST(Check, MinimumDataOfPreemptsBoundsWhatCanBeFound)
{
    const char *dead = "dead-value: write less minimum data, or let any data follow";
    EXPECT_EQ(preempt_hints(R"("cts-mindata": 4, "cts-stream": "abcd")"), "");
    EXPECT_EQ(preempt_hints(R"("cts-mindata": 5, "cts-stream": "abcd")"), dead);
    EXPECT_EQ(preempt_hints(R"("cts-mindata": 5, "cts-stream": "abcd.*")"), "");
    EXPECT_EQ(preempt_hints(R"("cts-mindata": 65536, "cts-stream": "abcd.*")"), "");
    EXPECT_EQ(preempt_hints(R"("mindata": 5, "stream": "abcd.*")"), "");
    EXPECT_EQ(preempt_hints(R"("cts-mindata": 4, "stc-mindata": 5, "stream": "abcd.*")"), "");
}

// How much work there is, counted: as attributes that are looked into, or bytes that were asked
// for.

TEST(CheckWork, OfASubRuleSoManyAttributesAreLookedInto)
{
    constexpr size_t most = 4 * PROTOCOL_ATTR_DIM;
    for (const char *attribute :
         {R"("cts-uri": 5)", R"("cts-stream_offset": {"offset": "x"})", R"("hots": "a")"})
        for (const size_t number : {most, most + 1, 10 * most}) {
            const lint_result_t result =
                check(rule_with(R"("protocol": "tcp", )" + repeated(attribute, number)));
            const auto &attributes = result.model.protocols[0].rules[0].sub_rules[0].attributes;
            EXPECT_EQ(attributes.size(), most) << attribute;
        }
    const lint_result_t result = check(rule_with(
        R"("protocol": "tcp", "cts-mindata": 9, "cts-uri": [)" + repeated("\"a\"", 3 * most) +
        R"(], "cts-uri": "b", "cts-stream_offset": {"offset": 2, "pattern": "a"})"));
    const auto &attributes = result.model.protocols[0].rules[0].sub_rules[0].attributes;
    ASSERT_EQ(attributes.size(), 1U);
    EXPECT_EQ(attributes[0].values.size(), most);
}

/// The bytes that a check of a list of ports asks for.
size_t bytes_for_ports(const std::string &list)
{
    const std::string text = rule_with(R"("protocol": "tcp", "port": ")" + list + '"');
    const size_t before = failing_alloc_bytes();
    const lint_result_t result = check(text);
    EXPECT_GT(result.findings.size(), list.size() / 10);
    return failing_alloc_bytes() - before;
}

TEST(CheckWork, OfAListGrowsAsItsPartsDo)
{
    for (const char *end : {"9-8", "x"}) // how all is meant is known to the last part, or is not
        EXPECT_LT(bytes_for_ports(repeated("9-8", 4000) + ", " + end),
                  5 * bytes_for_ports(repeated("9-8", 1000) + ", " + end))
            << end;
}

// A name of a megabyte in each of a million findings would be a terabyte.
TEST(CheckWork, OfANameFindingsHaveSoMuch)
{
    for (const size_t size : {LINT_NAME_MAX, LINT_NAME_MAX + 1}) {
        const std::string text = R"({"p": [{"name": ")" + std::string(size, 'a') +
                                 R"(", "id": 0, "rules": [{"order": "1"}, {"order": 5}]}]})";
        const lint_result_t result = check(text);
        EXPECT_GT(result.findings.size(), 2U);
        for (const finding_t &finding : result.findings)
            EXPECT_EQ(finding.protocol.size(), LINT_NAME_MAX) << finding.message;
    }
}

// A brace that begins no count is told from one that does by what follows it, not by all the rest.
TEST(CheckWork, OfABraceWhatFollowsItIsLookedAt)
{
    const std::string value(4000000, '{');
    const auto count = [](const std::string &pattern) {
        const lint_result_t result =
            check(rule_with(R"("protocol": "http", "cts-uri": "a)" + pattern + '"'));
        return std::ranges::count(result.findings, FINDING_LITERAL_ANCHOR, &finding_t::id);
    };
    EXPECT_EQ(count(value), 0);
    EXPECT_EQ(count(value + "2}"), 1);
    EXPECT_EQ(count("{2,3}"), 1);
    EXPECT_EQ(count("{,3}"), 0);
    EXPECT_EQ(count("{2"), 0);
    EXPECT_EQ(count("{}"), 0);
}

} // namespace
