// What a check says of rules and protocols, by id, message and hint.
#include "checker.h"
#include "lint_words.h"

namespace
{

/// Each finding as "ID: MESSAGE -> HINT".
std::string told(const lint_result_t &result)
{
    std::string lines;
    for (const finding_t &finding : result.findings)
        lines += lint_joined({lines.empty() ? "" : "\n", finding_kind(finding.id).id, ": ",
                              finding.message, finding.hint.empty() ? "" : " -> ", finding.hint});
    return lines;
}

/// A description around rules, or around protocols.
std::string description_of(const std::string &part)
{
    return part.starts_with("{\"order\"") || part.starts_with("{\"rule\"")
               ? protocol_with(part)
               : R"({"p": [)" + part + "]}";
}

TEST(Rules, AndWhatIsFoundInThem)
{
    const std::vector<row_t> rows = rows_of(PDATA_LINT_RULES);
    ASSERT_FALSE(rows.empty());
    for (const row_t &row : rows)
        EXPECT_EQ(told(check(description_of(row.part))), row.findings) << row.part;
}

// The built-in rule file asks for a name; another one need not, and the compiler does.
TEST(Rules, OfAProtocolWithoutANameAreRefusedByTheCompiler)
{
    std::string rules(pdata_cfg_builtin("semantic_protocol.json"));
    const std::string asked = R"("name": "name", "range": {"min": 1, "max": 1})";
    rules.replace(rules.find(asked), asked.size(), R"("name": "name", "range": {"max": 1})");
    checker_t checker(texts_t{{"semantic_protocol.json", rules}});
    EXPECT_EQ(checker.wrong, "");
    const std::string nameless =
        R"({"id": 16777300, "rules": [{"order": "50:1", "path": ["tcp", "b"], "rule":
        [{"protocol": "tcp", "port": "80"}]}]}, {"id": 0})";
    const std::string named = R"({"name": "x", "id": 16777301, "rules": [{"order": "50:1", "rule":
        [{"protocol": "tcp", "port": "81"}]}]})";
    EXPECT_EQ(told(check(R"({"p": [)" + nameless + "]}", checker)), "");
    EXPECT_EQ(told(check(R"({"p": [)" + nameless + "," + named + "]}", checker)),
              "refused: the compiler refuses all protocols together: status 107, Empty string in "
              "protocol .");
}

std::string rules_with(const std::vector<std::string> &values, const std::string &before = "")
{
    std::string rules = before;
    for (const std::string &value : values)
        rules +=
            std::string(rules.empty() ? "" : ",") +
            R"({"order": "50:1", "scope": "http", "rule": [{"protocol": "http", "cts-uri": ")" +
            value + R"("}]})";
    return protocol_with(rules);
}

// Each text has 970 states of its own, and 15 bits tell the states of an automaton apart.
TEST(Rules, OfAnOverfullMatcherAreSomeNotFound)
{
    const auto value_of = [](int number) {
        std::string text;
        for (int nr = 0; nr < 485; ++nr)
            text += std::to_string(number);
        return ".*" + text + ".*";
    };
    const auto rules = [&](int number, const std::string &more) {
        std::string all = R"({"order": "50:0", "rule": [{"protocol": "tcp", "port": "80"}]},
           {"order": "50:0", "rule": [{"protocol": "http", "cts-server": "a\\.b"}]},
           {"order": "50:0", "rule": [{"protocol": "http", "stc-header_raw": "b"}]})";
        for (int i = 10; i < 10 + number; ++i)
            all += R"(,{"order": "50:1", "rule": [{"protocol": "http", "cts-header_raw": ")" +
                   value_of(i) + '"' + (i == 10 ? more : "") + "}]}";
        return check(protocol_with(all));
    };
    const std::string overfull =
        "too-many: the values of http:header_raw need 32951 states and no more than 32768 can be "
        "told apart: some are not found -> split the values over several pdbs, or write fewer "
        "short pieces";
    const lint_result_t result = rules(34, "");
    EXPECT_EQ(told(result),
              "dead-rule: nothing fires this: its value \"" + value_of(10).substr(0, 60) +
                  "...\" is not found where all protocols are compiled together\n" + overfull);
    ASSERT_EQ(result.findings.size(), 2U);
    EXPECT_EQ(result.findings[1].rule, 4U) << "the first that tests the attribute";
    EXPECT_EQ(told(rules(33, "")), "") << "32010 states and that of the start";
    // A value that is dead alone says enough of its rule.
    const std::string dead = told(rules(34, R"(, "cts-uri": "[b-c]..*", "cts-cookie": "c")"));
    EXPECT_NE(dead.find("dead-value: "), dead.npos) << dead;
    EXPECT_EQ(dead.find("dead-rule"), dead.npos) << dead;
}

TEST(Rules, OfSeveralFilesAreThoseOfOneProtocol)
{
    const auto file = [](const char *id, const char *port) {
        return std::string(R"({"p": [{"name": "a", "id": )") + id +
               R"(, "rules": [{"order": "50:0", "rule": [{"protocol": "tcp", "port": ")" + port +
               R"("}]}]}]})";
    };
    const auto of_files = [](const std::string &one, const std::string &other) {
        return told(lint_check({{"one", one}, {"other", other}}, shipped().config, {}));
    };
    EXPECT_EQ(of_files(file("16777300", "80"), file("16777300", "80")), "")
        << "the later one stays";
    EXPECT_EQ(of_files(file("16777300", "80"), file("16777301", "81")),
              "duplicate-name: two protocols are named \"a\" -> write all rules into one of them, "
              "or give it another name");
}

// Rules with several protocols in a sub-rule are several when they are stored.
TEST(Rules, AreCountedAsTheyAreStored)
{
    const auto rules = [](size_t nr_plain, const char *more) {
        std::string all;
        for (size_t i = 0; i < nr_plain; ++i)
            all += R"({"order": "50:0", "rule": [{"protocol": "tcp", "port": ")" +
                   std::to_string(i) + R"("}]},)";
        return told(check(protocol_with(all + more)));
    };
    const char *three = R"({"order": "50:0", "rule": [{"protocol": "tcp", "cts-port": "5000"},
        {"protocol": ["tcp", "udp", "ip"]}]})";
    const char *first = R"({"order": "50:0", "rule": [{"protocol": ["tcp", "udp", "ip"]},
        {"protocol": ["tcp", "udp"]}]})";
    const std::string too_many =
        "too-many: more than 1199 rules, each counted for every protocol that it names -> leave "
        "some of them to another protocol";
    EXPECT_EQ(rules(1196, three), "nearly-full: 1197 rules of 1199 -> begin another protocol for "
                                  "what is still to come");
    EXPECT_EQ(rules(1197, three), too_many);
    EXPECT_EQ(rules(1196, first).find("too-many"), std::string::npos);
    EXPECT_NE(rules(1197, first).find(too_many), std::string::npos);
    EXPECT_EQ(rules(1199, three), "too-many: more than 1199 rules -> leave 1199 of them");
}

// A matcher has 32768 entries at most: one for each piece of a value in each of its orders.
TEST(Rules, FillAMatcher)
{
    std::vector<std::string> values;
    for (int i = 0; i < 66; ++i)
        values.push_back(std::to_string(i) + "([a-p][a-p])..*x"); // 256 orders of two pieces
    std::map<uint32_t, std::string> said;                         // by rule
    for (const finding_t &finding : check(rules_with(values)).findings)
        if (finding.id == FINDING_NEARLY_FULL || finding.id == FINDING_TOO_MANY)
            said[finding.rule] += finding.message;
    const std::string matcher = "with this value the matcher of http:uri has ";
    EXPECT_EQ(said, (std::map<uint32_t, std::string>{
                        {52, matcher + "26624 of 32768 entries"}, // 51 take 26112, 80 % are 26215
                        {65, matcher + "more than 32768 entries"}}));
}

TEST(Rules, TextsWithTheirLastByteOfZero)
{
    EXPECT_EQ(
        told(check(rules_with({std::string("(a\0", 3)}))),
        "bad-expression: a '(' that is not closed -> write ')' behind the group, or \"\\\\(\" "
        "for the byte");
}

// Pieces that stand anywhere are as deep as an automaton, and a matcher has so many entries.
TEST(Rules, ValuesThatNoMatcherTakes)
{
    const char *too_many =
        "too-many: the value has more or longer pieces than a matcher -> write it shorter: a piece "
        "that may stand anywhere has 1024 bytes at most";
    EXPECT_EQ(told(check(rules_with({".*" + std::string(1024, 'a') + ".*"}))), "");
    EXPECT_EQ(told(check(rules_with({".*" + std::string(1025, 'a') + ".*"}))), too_many);
    std::string pieces = "([a-p][a-p])";
    for (int i = 0; i < 128; ++i)
        pieces += ".*" + std::to_string(i);
    EXPECT_EQ(told(check(rules_with({pieces}))), too_many) << "256 orders of 129 pieces";
}

// Long values are judged as short ones are, however many there were.
TEST(Rules, LongValues)
{
    std::vector<std::string> values;
    for (int i = 0; i < 20; ++i)
        values.push_back(std::to_string(i) + std::string(60000, 'a') + ".*");
    values.push_back("(a");
    std::string text = rules_with(values); // rules with a fault are not proved
    for (size_t at = 0; (at = text.find("50:1", at)) != text.npos;)
        text.replace(at, 4, "50");
    const lint_result_t result = check(text);
    EXPECT_EQ(std::ranges::count(result.findings, FINDING_BAD_EXPRESSION, &finding_t::id), 1);
    EXPECT_EQ(std::ranges::count(result.findings, FINDING_TOO_MANY, &finding_t::id), 0);
}

TEST(Rules, NamesInWhatDoesNotRead)
{
    for (const char *end : {R"("name")", R"("name": )", R"("name": "t)", R"("name": two)"})
        EXPECT_EQ(shown(check(R"({"p": [{"name": "a", "id": 16777301, "rules": [{"order": "50:0",
            "path": ["two", "a"], "rule": [{"protocol": "tcp", "port": "80"}]}]}, {"name" "b"}, )" +
                              std::string(end)))
                      .find("unknown-protocol"),
                  0U)
            << end;
}

TEST(Rules, BlanksInListsOfNumbers)
{
    EXPECT_EQ(shown(check(rule_with(R"("protocol": "tcp", "port": "80,\n443")"))),
              "bad-number: write \"80,443\"");
}

} // namespace
