// Texts of which not everything can be read: which protocols are, and what is said of the others.
#include "lint_text.h"

#include <gtest/gtest.h>

#include "lint_expression.h"
#include "lint_places.h"
#include "lint_pointer.h"
#include "lint_words.h"
#include "module_error.h"

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

/// Reads a text with a '@' in front of each byte that a fault is expected at, and expects those.
reading_t read_marked(std::string_view marked)
{
    std::string text;
    std::vector<size_t> expected;
    for (const char c : marked)
        if (c == '@')
            expected.push_back(text.size());
        else
            text += c;
    reading_t reading = read(text);
    std::vector<size_t> found;
    for (const finding_t &finding : reading.findings)
        found.push_back(finding.place.begin);
    EXPECT_EQ(found, expected) << marked;
    return reading;
}

names_t hints_of(const reading_t &reading)
{
    names_t hints;
    for (const finding_t &finding : reading.findings)
        hints.push_back(finding.hint);
    return hints;
}

// Several faults of one protocol; the next one is read in any case.
TEST(Text, WhatIsMeantIsPlain)
{
    struct row_t {
        const char *marked;
        names_t hints;
    };
    const std::string quotes = "write '\"' around a text";
    const std::string comma = "write ',' in front of it";
    const std::string colon = "write ':' in front of it";
    const std::string no_comma = "leave the ',' in front of it out";
    const std::string digits = "write a number in digits alone";
    const row_t rows[] = {
        {R"("name": "a" @"id": 1 @"x": ["y" @"z" @["z"] @{}])",
         {comma, comma, comma, comma, comma}},
        {R"("name" @"a", "id" @1, "x" @[], "y" @{}, "z" @true)",
         {colon, colon, colon, colon, colon}},
        {R"("name": "a",@, "x": ["y",@, "z"], "z": {@, "y": 1})",
         {"leave it out", "leave it out", ""}},
        {R"("name": "a", "x": {"y": 1,@}, "z": ["y",@])", {no_comma, no_comma}},
        {R"("name": "a", "x": {"y": 1@], "z": {"v": ["y"@}, "w" @1)",
         {"write '}' in front of it", "write ']' in front of it", colon}},
        {R"("name": "a", "x": [{"y": 1, @{"y": 2}], "w" @1)", {"write '}' in front of it", colon}},
        {R"("name": @, "x": @, "y"@, "z"@)", {"", "", "", ""}},
        {R"("name": @: 1, "x" @= 1, "y": [@:])", {"", "", ""}},
        {R"("name": @'a, b', "x": @`y`, "z": @'open, "y" @1)", {quotes, quotes, quotes, colon}},
        {"\"name\": @'a\n, \"x\": @\xe2\x80\x9cx y\xe2\x80\x9d, \"y\" @1", {quotes, quotes, colon}},
        {R"("name": 0@x1F, "x": 1@.5, "y": @-1, "z": @abc def)",
         {digits, digits, digits, "write '\"' in front of the text and behind it"}},
        {R"(@'name': "a", "x": {@y: 1})",
         {quotes, "write '\"' in front of the text and behind it"}},
        {R"("name": "a", "x": @True, "y": @False, "z": @?)", {"write true", "write false", ""}},
        {R"("name": "a" @"b": 1 @"c": 1 @"d": 1 @"e": 1 @"f": 1 @"g": 1 @"h": 1 @"i": 1 "j": 1)",
         names_t(8, comma)},
    };
    for (const row_t &row : rows) {
        const reading_t reading =
            read_marked("{\"p\": [{" + std::string(row.marked) + "}, {\"name\": \"last\"}]}");
        EXPECT_EQ(hints_of(reading), row.hints) << row.marked;
        EXPECT_EQ(reading.protocols, names_t{"\"last\""}) << row.marked;
    }
}

// Behind these nobody knows what is meant, and what would be told follows from them.
TEST(Text, NothingIsToldWhereTextsAreOutOfStep)
{
    for (const char *marked : {
             R"("name": "a, "@x": 1 "y": 2)",
             "\"name\": \"a,\n\" @x\": 1 \"y\": 2",
             R"("name": "a" @"x": "b, "y": 2, "z" 1)",
             R"("name": "a" @5, "x" 1)",
             R"("name": "a", "x": ["y" @: 1], "z" 1)",
             R"("name": "a", @[1], "x" 1)",
             R"("name": "a", @{"x" 1})",
             R"("name": "a", "x": {"y": 1, @{"y" 1}})",
         })
        EXPECT_EQ(
            read_marked("{\"p\": [{" + std::string(marked) + "}, {\"name\": \"last\"}]}").protocols,
            names_t{"\"last\""})
            << marked;
    EXPECT_TRUE(read_marked(R"({"p": [{"name": "a" @"x": 1)").protocols.empty()) << "the end, cut";
    EXPECT_TRUE(read_marked(R"({"p": [{"name": @"a)").protocols.empty()) << "no end of a text";
}

// Of two tokens that lack, both are told, whichever they are.
TEST(Text, EveryPairOfCommasIsMissed)
{
    const std::string text =
        R"({"p": [{"name": "a", "x": ["y", {"z": 1, "w": 2}, 3], "v": true}]})";
    std::vector<size_t> commas;
    for (size_t at = text.find(','); at != text.npos; at = text.find(',', at + 1))
        commas.push_back(at);
    for (const size_t one : commas)
        for (const size_t other : commas) {
            if (one >= other)
                continue;
            std::string marked = text;
            marked[one] = marked[other] = ' ';
            marked.insert(other + 2, "@");
            marked.insert(one + 2, "@");
            (void)read_marked(marked);
        }
}

TEST(Text, ProtocolIsKnownWithoutItsQuotes)
{
    EXPECT_EQ(read_marked(
                  R"({"p": [{"name": "a" @"x": 1}, {@name: "b"}, {@'name': "c"}, {"name": "d"}]})")
                  .protocols,
              names_t{"\"d\""});
    EXPECT_EQ(
        read_marked(R"({"p": [{"name": "a" @"x": "see {name: it}"}, {"name": "b"}]})").protocols,
        names_t{"\"b\""});
    for (const char *end : {"{", "{n", "{\"name", "{\"name\"", "{name", "{name "})
        EXPECT_EQ(read(R"({"p": [{"name" "a"}, )" + std::string(end)).findings.size(), 1U) << end;
}

// A protocol lacks its end where another one begins, wherever that one ends.
TEST(Text, ProtocolsWithinOneAnother)
{
    const auto closing = [](const reading_t &reading) {
        names_t texts;
        for (const finding_t &finding : reading.findings)
            texts.push_back(finding.message + " (" + finding.hint + ")");
        return texts;
    };
    const std::string brace =
        "expected '}': a protocol begins within another one (close what was opened with '}')";
    const std::string bracket =
        "expected ']': a protocol begins within another one (close what was opened with ']')";
    reading_t reading = read_marked(
        R"({"p": [{"name": "a", "id": 1, "x": {"y": [1, {}], "z": @{"name": "b", "id": 2, "rules": [@{"name": "c", "id": 3}]})");
    EXPECT_EQ(reading.protocols, names_t{"\"c\""});
    EXPECT_EQ(closing(reading), (names_t{brace, bracket}));
    reading = read_marked(
        R"({"p": [{"name": "a", "id": 1, "x": [@{"name": "b", "id" @2}, {"name": "c", "id": 3}@]}, {"name": "d"}]})");
    EXPECT_EQ(reading.protocols, (names_t{"\"c\"", "\"d\""}));
}

TEST(Text, FrameAndWhatStandsBetweenProtocols)
{
    struct row_t {
        const char *marked;
        names_t protocols;
        names_t hints;
    };
    const std::string begin = "begin with {\"protocols\": [";
    const std::string trailing = "write \"]}\" in place of the last ','";
    const row_t rows[] = {
        {R"(@[{"name": "a"}]})", {"\"a\""}, {begin}},
        {R"({@p: [{"name": "a"}]})", {"\"a\""}, {begin}},
        {R"({"p" @[{"name": "a"}]})", {"\"a\""}, {begin}},
        {R"({"p": @1, "q": [{"name": "a"}]})", {"\"a\""}, {begin}},
        {R"({"p\"": [{"name": "a"}]})", {"\"a\""}, {}},
        {R"({"p": [{"name": "a"}@}, {"name": "b"}]})", {"\"a\"", "\"b\""}, {"leave the '}' out"}},
        {R"({"p": [{"name": "a"} @{"name": "b"}]})",
         {"\"a\"", "\"b\""},
         {"write ',' in front of it"}},
        {R"({"p": [{"name": "a"} @5, {"name": "b"}]})",
         {"\"a\"", "\"b\""},
         {"write ',' in front of it"}},
        {R"({"p": [{"name": "a"}@], {"name": "b"}]})", {"\"a\"", "\"b\""}, {"write ',' here"}},
        {R"({"p": [{"name": "a"}, @5, {"name": "b"}]})", {"\"a\"", "\"b\""}, {""}},
        {R"({"p": [{"name": "a"},@]})", {"\"a\""}, {"leave the ',' in front of it out"}},
        {R"({"p": [{"name": "a"}@})", {"\"a\""}, {"write ']' in front of it"}},
        {R"({"p": [{"name": "a"}@)", {"\"a\""}, {""}},
        {R"({"p": [{"name": "a"},@)", {"\"a\""}, {trailing}},
        {"{\"p\": [{\"name\": \"a\"}, \n@", {"\"a\""}, {trailing}},
    };
    for (const row_t &row : rows) {
        const reading_t reading = read_marked(row.marked);
        EXPECT_EQ(reading.protocols, row.protocols) << row.marked;
        EXPECT_EQ(hints_of(reading), row.hints) << row.marked;
    }
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
