// Texts of which not everything can be read: which protocols are, and what is said of the others.
#include "lint_expression.h"
#include "lint_places.h"
#include "lint_pointer.h"
#include "lint_words.h"
#include "module_error.h"
#include "text_reading.h"

namespace
{

TEST(Text, EveryProtocolIsTaken)
{
    const reading_t reading = read(R"({"p": [{"name": "a"}, {"name": "b"}]})");
    EXPECT_EQ(reading.protocols, (names_t{"\"a\"", "\"b\""}));
    EXPECT_TRUE(reading.findings.empty());
}

TEST(Text, AFaultCostsItsProtocolAlone)
{
    const reading_t reading = read(
        R"({"p": [{"name": "a" "id": 1}, {"name": "b"}, {"name": "c", "id": }, {"name": "d"}]})");
    EXPECT_EQ(reading.protocols, (names_t{"\"b\"", "\"d\""}));
    ASSERT_EQ(reading.findings.size(), 2U);
    EXPECT_EQ(reading.findings[0].place.begin, 20U);
}

TEST(Text, AProtocolWithinAnotherOneEndsIt)
{
    const reading_t reading = read(
        R"({"p": [{"name": "a", "rules": [{"order": "1:1"}, {"name": "b", "id": 2}, {"name": "c"}]})");
    EXPECT_EQ(reading.protocols, (names_t{"\"b\"", "\"c\""}));
    ASSERT_EQ(reading.findings.size(), 1U);
    EXPECT_EQ(reading.findings[0].place.begin, 49U) << "where the other one begins";
    ASSERT_TRUE(reading.findings[0].related);
    EXPECT_EQ(reading.findings[0].related->place.begin, 30U) << "the bracket that is open";
}

TEST(Text, CommentsAndCarriageReturnsAreReadOver)
{
    const reading_t reading = read(
        "{\"p\": [ // one\r\n{\"name\": \"a//b\"}, /* {\"name\": \"x\"} */ {\"name\": \"c\"}]}");
    EXPECT_EQ(reading.protocols, (names_t{"\"a//b\"", "\"c\""}));
    ASSERT_EQ(reading.findings.size(), 2U);
    EXPECT_EQ(reading.findings[1].edits.size(), 2U) << "two comments, one finding";
}

// A comment that has no end is none, and one at the end of the text needs none.
TEST(Text, CommentsOfEveryKindAreReadOver)
{
    const auto begins = [](std::string_view text, names_t protocols) {
        const reading_t reading = read(text);
        EXPECT_EQ(reading.protocols, protocols) << text;
        std::vector<size_t> places;
        for (const finding_t &finding : reading.findings)
            for (const finding_edit_t &edit : finding.edits)
                places.insert(places.end(), {edit.place.begin, edit.place.end});
        return places;
    };
    using places_t = std::vector<size_t>;
    EXPECT_EQ(begins("{\"p\": [ # x\n{\"name\": \"a#b\"}]}", {"\"a#b\""}), (places_t{8, 11}));
    EXPECT_EQ(begins("{\"p\": [{\"name\": /* x\n\n */ \"a\"}]}", {"\"a\""}), (places_t{16, 25}));
    EXPECT_EQ(begins("{\"p\": [{\"name\": \"a\"}]}// x", {"\"a\""}), (places_t{22, 26}));
    EXPECT_EQ(begins("{\"p\": [{\"name\": \"a\"}/* ]}", {"\"a\""}), places_t{});
    EXPECT_EQ(begins("{\"p\": [{\"name\": \"a\"}/ ]}", {"\"a\""}), places_t{});
    EXPECT_EQ(begins("{\"p\": [{\"name\": \"a\\\"//b\"}]}", {"\"a\\\"//b\""}), places_t{});
}

// Each of so many is looked at once: to search the rest of the text for each takes hours.
TEST(Text, MarksOfCommentsThatNothingEndsAreReadOnce)
{
    std::string text = R"({"p": [{"name": "a"} /* one */, )";
    const size_t begin = text.size();
    for (int i = 0; i < 2000000; ++i)
        text += "/* ";
    const reading_t reading = read(text);
    EXPECT_EQ(reading.protocols, (names_t{"\"a\""}));
    ASSERT_EQ(reading.findings.size(), 2U);
    EXPECT_EQ(reading.findings[0].id, FINDING_COMMENT);
    EXPECT_EQ(reading.findings[0].edits.size(), 1U) << "the one that ends";
    EXPECT_EQ(reading.findings[1].place.begin, begin);
}

TEST(Text, NothingIsAText)
{
    for (const std::string_view text :
         {"", " ", "{", "[", "\"", "{\"p", "{\"p\\", "{\"p\"", "{\"p\":", "{\"p\": [", "]",
          "{\"p\": [x", "{\"p\": [{\"name\": ab"}) {
        const reading_t reading = read(text);
        EXPECT_TRUE(reading.protocols.empty()) << text;
        EXPECT_EQ(reading.findings.size(), 1U) << text;
    }
}

TEST(Text, MoreThanThreeBytesMayNotFollow)
{
    EXPECT_TRUE(read(R"({"p": [{"name": "a"}]abc)").findings.empty());
    EXPECT_EQ(read(R"({"p": [{"name": "a"}]abcd)").findings.size(), 1U);
    EXPECT_EQ(read(R"({"p": [{"name": "a"}], {"name": "b"}]})").protocols.size(), 2U);
}

TEST(Places, AreThoseOfEachByte)
{
    const std::string text = "a\xc3\xa9\n\n\xe2\x82\xac"
                             "bc\nd";
    std::vector<finding_t> findings;
    for (uint32_t i = 0; i <= text.size(); ++i) {
        findings.emplace_back().place = {0, i, i};
    }
    const std::vector<lint_file_t> files = {{"a", text}};
    const lint_places_t places = lint_places(files, findings);
    for (uint32_t i = 0; i <= text.size(); ++i) {
        const text_place_t expected = text_place(text, i);
        EXPECT_EQ(lint_place_of(places, 0, i).line, expected.line) << i;
        EXPECT_EQ(lint_place_of(places, 0, i).column, expected.column) << i;
    }
}

TEST(Pointer, LeadsToTheValue)
{
    const std::string text = R"({"p": [{"a/b": 1}, {"c": ["x", {"d~": "y"}]}]})";
    std::vector<finding_t> findings;
    for (const char *needle : {"\"a/b\"", "1", "{\"c\"", "\"x\"", "\"y\""})
        findings.emplace_back().place.begin = static_cast<uint32_t>(text.find(needle));
    const std::vector<lint_file_t> files = {{"a", text}};
    EXPECT_EQ(lint_pointers(files, findings),
              (names_t{"/p/0/a~1b", "/p/0/a~1b", "/p/1", "/p/1/c/0", "/p/1/c/1/d~0"}));
}

/// The pointer of a byte of a text.
std::string pointer_at(std::string_view text, size_t begin)
{
    const std::vector<lint_file_t> files = {{"a", text}};
    std::vector<finding_t> findings(1);
    findings[0].place.begin = static_cast<uint32_t>(begin);
    return lint_pointers(files, findings).front();
}

TEST(Pointer, LeadsAsFarAsATextReads)
{
    struct row_t {
        const char *text; ///< with a mark in front of the byte
        const char *pointer;
    };
    constexpr row_t rows[] = {
        {"@", ""},
        {"{\"p\": \"abc@", "/p"},
        {"{\"p\": \"abc\\@", "/p"},
        {"{\"p\": \"a\\\"b\", \"q\": @1}", "/q"},
        {"\"p\", {\"q\": @1}", "/q"}, // in no object
        {"}], {\"q\": @1}", "/q"},
        {"{\"p\": 1, @x: 2}", ""},
        {"{\"p\": 1, @", ""},
        {"[[1], [2, @3]]", "/1/1"},
        {"{\"p\": [1]@", "/p"},
    };
    for (const row_t &row : rows) {
        std::string text = row.text;
        const size_t at = text.find('@');
        EXPECT_EQ(pointer_at(text.erase(at, 1), at), row.pointer) << row.text;
    }
}

TEST(Pointer, EndsAtTheDepthOfDescriptions)
{
    std::string zeros;
    for (int i = 0; i < 32; ++i)
        zeros += "/0";
    const std::string open(33, '[');
    EXPECT_EQ(pointer_at(open, 32), zeros);
    EXPECT_EQ(pointer_at(open, 33), "");
    EXPECT_EQ(pointer_at(open + "{\"a\"", 34), "");
}

// A key of a megabyte above a million findings would be a terabyte of pointers.
TEST(Pointer, IsNoLongerThanItsBound)
{
    std::vector<finding_t> findings(1);
    for (const size_t size : {LINT_POINTER_MAX - 3, LINT_POINTER_MAX - 2, LINT_POINTER_MAX + 1}) {
        const std::string text = "{\"" + std::string(size, 'k') + "\": [1]}";
        const auto at = static_cast<uint32_t>(text.size() - 3);
        const std::vector<lint_file_t> files = {{"a", text}};
        findings[0].place = {0, at, at + 1};
        EXPECT_EQ(lint_pointers(files, findings)[0].size(),
                  size + 3 <= LINT_POINTER_MAX ? size + 3 : 0U)
            << size;
    }
}

TEST(Pointer, BeginsAnewInEachFile)
{
    const std::vector<lint_file_t> files = {{"a", R"({"p": [1, 2]})"}, {"b", R"({"q": [3]})"}};
    std::vector<finding_t> findings(3);
    findings[0].place = {0, 7, 8};
    findings[1].place = {0, 10, 11};
    findings[2].place = {1, 7, 8};
    EXPECT_EQ(lint_pointers(files, findings), (names_t{"/p/0", "/p/1", "/q/0"}));
}

TEST(Expression, WhatIsTooLargeIsSaid)
{
    EXPECT_EQ(lint_expression_fault("a", MODULE_ERR_NO_MEMORY).hint, "write it as several values");
    EXPECT_EQ(lint_expression_fault("", MODULE_ERR_INVALID).hint, "write something into it");
}

// Of words that are as near, the first is meant; one with other ends is not.
TEST(Words, NearestIsTheFirstOfThoseThatAreAsNear)
{
    const auto nearest = [](std::string_view word, std::vector<std::string_view> words) {
        return lint_nearest(word, words);
    };
    EXPECT_EQ(nearest("serve", {"server", "serves"}), "server");
    EXPECT_EQ(nearest("serve", {"sevres", "server", "serves"}), "server");
    EXPECT_EQ(nearest("serve", {"uri", "host"}), "");
    EXPECT_EQ(nearest("hots", {"host", "uri"}), "host");
}

} // namespace
