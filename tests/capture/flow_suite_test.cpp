#include <gtest/gtest.h>

#include "flow_suite.h"

namespace
{

using protocols = std::vector<std::string>;

suite_t read(std::string_view text)
{
    suite_t suite;
    suite_error_t error;
    EXPECT_TRUE(suite_read("s", text, suite, error)) << error.line << ": " << error.text;
    return suite;
}

std::string mistake(std::string_view text)
{
    suite_t suite;
    suite_error_t error;
    if (suite_read("s", text, suite, error))
        return "none";
    return std::to_string(error.line) + ":" + std::to_string(error.column) + ": " + error.text;
}

bool holds(const std::string &expectation, const protocols &got)
{
    return suite_case_holds(read(expectation + "\ttcp:port cts 1\n").cases[0], got);
}

} // namespace

TEST(flow_suite, has_comments_names_and_cases)
{
    const suite_t suite = read("# a comment\n\n[first]\na\ttcp:port cts 1\n- !b\tudp:port stc 2");
    ASSERT_EQ(suite.cases.size(), 2U);
    EXPECT_EQ(suite.cases[0].name, "first");
    EXPECT_EQ(suite.cases[0].expected, protocols{"a"});
    EXPECT_EQ(suite.cases[0].values[0].number, 1U);
    EXPECT_EQ(suite.cases[1].name, "s:5");
    EXPECT_EQ(suite.cases[1].expected, protocols{});
    EXPECT_EQ(suite.cases[1].excluded, protocols{"b"});
}

TEST(flow_suite, a_word_is_the_best_protocol_several_are_all)
{
    EXPECT_TRUE(holds("a", {"a"}));
    EXPECT_TRUE(holds("a", {"a", "b"}));
    EXPECT_FALSE(holds("a", {"b", "a"}));
    EXPECT_FALSE(holds("a", {}));
    EXPECT_TRUE(holds("a b", {"a", "b"}));
    EXPECT_FALSE(holds("a b", {"a"}));
    EXPECT_FALSE(holds("a b", {"a", "b", "c"}));
    EXPECT_TRUE(holds("-", {}));
    EXPECT_FALSE(holds("-", {"a"}));
    EXPECT_TRUE(holds("a !c", {"a", "b"}));
    EXPECT_FALSE(holds("a !b", {"a", "b"}));
}

TEST(flow_suite, a_mistake_is_named_with_line_and_column)
{
    EXPECT_EQ(mistake("a\ttcp:port cts 1\nb tcp:port cts 1\n"),
              "2:17: a case is what is expected, a tab, and a flow");
    EXPECT_EQ(mistake("a\ttcp:port both 1\n"), "1:12: a direction is cts or stc");
    EXPECT_EQ(mistake("\ttcp:port cts 1\n"),
              "1:1: what is expected is missing; - stands for nothing");
    EXPECT_EQ(mistake("[name]\n"), "1:1: a name is not followed by its case");
}

TEST(flow_suite, what_fires_now_is_accepted_and_the_rest_of_the_text_stays)
{
    suite_t suite = read("# why\na\ttcp:port cts 1\na b !c\ttcp:port cts 2\n");
    suite_accept(suite, 0, {"x", "y"});
    suite_accept(suite, 1, {"c", "d"});
    EXPECT_EQ(suite_text(suite), "# why\nx\ttcp:port cts 1\nc d\ttcp:port cts 2\n");
    suite_accept(suite, 0, {});
    EXPECT_EQ(suite_text(suite), "# why\n-\ttcp:port cts 1\nc d\ttcp:port cts 2\n");
}
