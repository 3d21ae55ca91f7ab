// Rule files other than the shipped one, which a configuration may hold.
#include "lint_shape.h"

#include <gtest/gtest.h>

#include "pragmar.h"

namespace
{

/// The nodes of a rule file, and its transitions.
struct rules_t {
    const char *nodes;
    const char *transitions;
};

using lines_t = std::vector<std::string>;

/// What a rule file says of an object: the bytes that are blamed, and why.
lines_t said_of(const rules_t &rules, std::string_view object)
{
    const std::string text =
        std::string(R"({"nodes": [{"key": 0, "name": "s", "category": "start"})") + rules.nodes +
        R"(], "transitions": [)" + rules.transitions + "]}";
    pragmar_rules_t loaded;
    EXPECT_EQ(pragmar_rules_load(&loaded, text), 0);
    const std::string document = R"({"p":[)" + std::string(object) + "]}";
    description_text_t whole;
    text_fault_t fault;
    EXPECT_TRUE(description_text_read(document, whole, fault)) << fault.text;
    description_text_t tokens = {document, {whole.tokens.begin() + 4, whole.tokens.end() - 2}};
    for (text_token_t &token : tokens.tokens)
        token.mate -= token.mate == 0 ? 0 : 4;
    std::vector<finding_t> findings;
    lint_shape_check(*loaded.semantic, tokens, 0, findings);
    lines_t lines;
    for (const finding_t &finding : findings)
        lines.push_back(
            document.substr(finding.place.begin, finding.place.end - finding.place.begin) + " | " +
            finding.message);
    pragmar_rules_clean(&loaded);
    return lines;
}

TEST(Shape, RuleFileMayTakeNothing)
{
    const lines_t nothing = {"{ | the rule file of the configuration takes no protocol"};
    EXPECT_EQ(said_of({"", ""}, R"({"a": 1})"), nothing);
    EXPECT_EQ(
        said_of({R"(, {"key": 1, "name": "o"})", R"({"from": 0, "to": 0, "trans": "{"})"}, "{}"),
        nothing);
    EXPECT_EQ(
        said_of({R"(, {"key": 1, "name": "o"})", R"({"from": 0, "to": 128, "trans": "{"})"}, "{}"),
        nothing);
}

/// One key "a", of arrays in arrays of scalars; the object has no end.
const rules_t nested = {
    R"(, {"key": 1, "name": "o"}, {"key": 2, "name": "a"}, {"key": 3, "name": "l"},
        {"key": 4, "name": "m"}, {"key": 5, "name": "v"})",
    R"({"from": 0, "to": 1, "trans": "{"}, {"from": 1, "to": 2, "trans": "a"},
       {"from": 2, "to": 3, "trans": "["}, {"from": 3, "to": 4, "trans": "["},
       {"from": 4, "to": 5, "trans": "*"}, {"from": 5, "to": 5, "trans": "]"})"};

TEST(Shape, KeyOfAValueIsThatOfItsOutermostArray)
{
    EXPECT_EQ(said_of(nested, R"({"a": [[{}]]})"),
              (lines_t{"{ | \"a\" takes a text in quotes, and this is an object"}));
}

/// One key "a" of a scalar, behind which nothing may stand. The end of the object checks `check`.
lines_t said_of_a(const char *check, std::string_view object)
{
    const std::string nodes = std::string(R"(, {"key": 1, "name": "o", "range": {"min": 2}},
        {"key": 2, "name": "a", "range": {"min": 1, "max": 1}}, {"key": 3, "name": "v"},
        {"key": 4, "name": "e", "category": "end", "check": )") +
                              check + "}";
    return said_of({nodes.c_str(),
                    R"({"from": 0, "to": 1, "trans": "{"}, {"from": 1, "to": 2, "trans": "a"},
                       {"from": 2, "to": 3, "trans": "*"}, {"from": 3, "to": 4, "trans": "}"},
                       {"from": 1, "to": 4, "trans": "}"})"},
                   object);
}

TEST(Shape, EndOfAnObjectChecksCounts)
{
    EXPECT_EQ(said_of_a("[2]", R"({"a": 1})"), lines_t{});
    EXPECT_EQ(said_of_a("[2]", "{}"), (lines_t{"{ | \"a\" is missing"}));
    EXPECT_EQ(said_of_a("[128, 2]", "{}"), (lines_t{"{ | \"a\" is missing"})) << "no such node";
    EXPECT_EQ(said_of_a("[3, 2]", "{}"), lines_t{}) << "ends at a node without a range";
    EXPECT_EQ(said_of_a("[1]", "{}"), (lines_t{"{ | \"\" is missing"})) << "a node without a key";
}

TEST(Shape, NothingMayFollow)
{
    EXPECT_EQ(said_of_a("[]", R"({"a": 1, "b": 2})"), (lines_t{"\"b\" | there is no key \"b\""}));
    EXPECT_EQ(said_of({R"(, {"key": 1, "name": "o"}, {"key": 2, "name": "a"})",
                       R"({"from": 0, "to": 1, "trans": "{"}, {"from": 1, "to": 2, "trans": "a"},
                          {"from": 1, "to": 2, "trans": "}"})"},
                      R"({"a": 1})"),
              (lines_t{"1 | \"a\" takes nothing, and this is a number"}));
}

} // namespace
