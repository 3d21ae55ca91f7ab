// Texts of which not everything can be read: which protocols are, and what is said of the others.
#include "lint_text.h"

#include <gtest/gtest.h>

#include "lint_places.h"
#include "lint_pointer.h"
#include "lint_words.h"

namespace
{

struct reading_t {
    std::vector<std::string> protocols; ///< the first value of each
    std::vector<finding_t> findings;
};

reading_t read(std::string_view text)
{
    reading_t reading;
    std::unique_ptr<std::string> mended;
    (void)lint_read_text(
        text, 0, mended,
        [&](const description_text_t &tokens) {
            reading.protocols.emplace_back(text_token_bytes(tokens, 3));
        },
        reading.findings);
    return reading;
}

using names_t = std::vector<std::string>;

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

TEST(Text, NothingIsAText)
{
    for (const std::string_view text :
         {"", " ", "{", "[", "\"", "{\"p\"", "{\"p\":", "{\"p\": [", "]"}) {
        const reading_t reading = read(text);
        EXPECT_TRUE(reading.protocols.empty()) << text;
        EXPECT_EQ(reading.findings.size(), 1U) << text;
    }
}

TEST(Text, NothingMayEndBehindAComma)
{
    const reading_t reading = read("{\"p\": [{\"name\": \"a\"}, \n");
    EXPECT_EQ(reading.protocols, names_t{"\"a\""});
    ASSERT_EQ(reading.findings.size(), 1U);
    EXPECT_EQ(reading.findings[0].place.begin, 23U);
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
