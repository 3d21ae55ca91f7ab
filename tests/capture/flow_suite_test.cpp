#include <gtest/gtest.h>

#include "suite_capture.h"

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
    const suite_t blanks = read("a  b \ttcp:port cts 1\n[c\ttcp:port cts 1\n");
    EXPECT_EQ(blanks.cases[0].expected, (protocols{"a", "b"}));
    EXPECT_EQ(blanks.cases[1].expected, protocols{"[c"}) << "no name without its bracket";
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

namespace
{

/// The flows of a capture, and protocols that fire in them beside the best.
suite_flows_t flows_of(std::map<std::string, uint64_t, std::less<>> best, protocols others = {})
{
    suite_flows_t flows = {std::move(best), {others.begin(), others.end()}};
    for (const auto &[protocol, number] : flows.best)
        flows.fired.insert(protocol);
    return flows;
}

bool capture_holds(const std::string &expectation, const suite_flows_t &flows)
{
    return suite_capture_holds(read(expectation + "\tcapture a.pcap\n").cases[0], flows);
}

} // namespace

TEST(suite_capture, words_are_what_the_flows_are)
{
    const suite_flows_t flows = flows_of({{"a", 2}, {"-", 1}}, {"b"});
    EXPECT_TRUE(capture_holds("a -", flows));
    EXPECT_TRUE(capture_holds("-  a*2 ", flows)) << "any blanks";
    EXPECT_FALSE(capture_holds("a*2", flows));
    EXPECT_FALSE(capture_holds("a*3 -", flows));
    EXPECT_FALSE(capture_holds("a - c", flows));
    EXPECT_FALSE(capture_holds("a - !b", flows));
    EXPECT_TRUE(capture_holds("a - !c", flows));
    EXPECT_TRUE(capture_holds("!c", flows));
    EXPECT_FALSE(capture_holds("!b", flows));
}

TEST(suite_capture, what_is_too_little_is_known)
{
    const suite_case_t one = read("a*2 c -\tcapture a.pcap\n").cases[0];
    const suite_flows_t flows = flows_of({{"a", 1}, {"-", 1}});
    EXPECT_TRUE(suite_capture_lacks(one, flows, "a"));
    EXPECT_TRUE(suite_capture_lacks(one, flows, "c"));
    EXPECT_FALSE(suite_capture_lacks(one, flows, "-"));
    EXPECT_FALSE(suite_capture_lacks(one, flows, "b"));
}

TEST(suite_capture, a_path_is_said_from_the_folder_of_the_suite)
{
    const suite_t suite = read("a\tcapture x/a b.pcap\r\na\tcapture /t/a.pcap");
    EXPECT_EQ(suite_capture_path("f/s.tsv", suite.cases[0]), "f/x/a b.pcap");
    EXPECT_EQ(suite_capture_path("s.tsv", suite.cases[0]), "x/a b.pcap");
    EXPECT_EQ(suite_capture_path("f/s.tsv", suite.cases[1]), "/t/a.pcap");
}

TEST(suite_capture, mistakes)
{
    const std::string words = "of a capture a word is a protocol, or a protocol, *, a number";
    EXPECT_EQ(mistake("a b*\tcapture x\n"), "1:3: " + words);
    EXPECT_EQ(mistake("*2\tcapture x\n"), "1:1: " + words);
    EXPECT_EQ(mistake("a*0\tcapture x\n"), "1:1: " + words);
    EXPECT_EQ(mistake("a*2x\tcapture x\n"), "1:1: " + words);
    EXPECT_EQ(mistake("a\tcapture \n"), "1:11: a capture is followed by its path");
}

TEST(suite_capture, what_the_flows_are_is_accepted)
{
    suite_t suite = read("a !b !c\tcapture x\na*2\tcapture y\n!b\tcapture z\n");
    const suite_flows_t flows = flows_of({{"d", 2}, {"-", 1}}, {"b"});
    for (size_t i = 0; i < 3; ++i)
        suite_capture_accept(suite, i, flows);
    EXPECT_EQ(suite_text(suite), "- d !c\tcapture x\n-*1 d*2\tcapture y\n- d\tcapture z\n");
}
