// Texts with syntax faults: which are told, with which hints, and which protocols are read.
#include "text_reading.h"

namespace
{

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
        {R"("name": "a", "x": 1@])", {"write '}' in front of it"}},
        {R"("name": "a", "x": {"y": 1,@], "z" @1)", {no_comma, colon}},
        {R"("name": @, "x": @, "y"@, "z"@)", {"", "", "", ""}},
        {R"("name": @: 1, "x" @= 1, "y": [@:])", {"", "", ""}},
        {R"("name": @'a, b', "x": @`y`, "z": @'open, "y" @1)", {quotes, quotes, quotes, colon}},
        {"\"name\": @'a\n, \"x\": @\xe2\x80\x9cx y\xe2\x80\x9d, \"y\" @1", {quotes, quotes, colon}},
        {R"("name": 0@x1F, "x": 1@.5, "y": @-1, "z": @abc def)",
         {digits, digits, digits, "write '\"' in front of the text and behind it"}},
        {R"(@'name': "a", "x": {@y: 1})",
         {quotes, "write '\"' in front of the text and behind it"}},
        {R"("name": "a", "x": @True, "y": @False, "z": @?, "w": @|x, "v": @^x)",
         {"write true", "write false", "", "", ""}},
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
    EXPECT_TRUE(read_marked(R"({"p": [{"name": "a"@)").protocols.empty()) << "behind a text";
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

} // namespace
