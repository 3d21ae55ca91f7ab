#include <gtest/gtest.h>

#include <random>
#include <set>

#include <sys/mman.h>

#include "depfile.h"
#include "description_layout.h"
#include "description_text.h"
#include "import_numbers.h"
#include "import_values.h"
#include "schema.h"
#include "schema_words.h"
#include "text_reader.h"
#include "vocabulary.h"

namespace
{

using texts = std::vector<std::string>;

texts values_of(bool ports, std::string_view list, number_kind_t kind)
{
    number_import_t numbers;
    import_numbers_read(ports, "list", list, numbers);
    EXPECT_TRUE(numbers.findings.empty());
    import_numbers_merge(numbers.ranges[kind]);
    texts values;
    for (const import_value_t &value : import_number_values(kind, numbers.ranges[kind], false))
        values.push_back(value.text);
    return values;
}

TEST(DepfileTest, escapes_what_make_takes_specially)
{
    const texts inputs = {"a b", "c$d", "e#f", "g\\h", "i\\ j", "k\nl", "m\tn", "plain"};
    EXPECT_EQ(depfile_text("o t", inputs), "o\\ t: \\\n"
                                           "  a\\ b \\\n"
                                           "  c$$d \\\n"
                                           "  e\\#f \\\n"
                                           "  g\\h \\\n"
                                           "  i\\\\\\ j \\\n"
                                           "  m\\\tn \\\n"
                                           "  plain\n");
    EXPECT_EQ(depfile_text("out", {}), "out:\n");
    EXPECT_EQ(depfile_text(" out", {}), "\\ out:\n") << "nothing stands in front of it";
}

TEST(DescriptionTextTest, tells_lines_and_characters)
{
    const std::string_view text = "ab\nc\xc3\xa9"
                                  "d\n\n";
    const std::vector<std::pair<size_t, size_t>> places = {{1, 1}, {1, 2}, {1, 3}, {2, 1}, {2, 2},
                                                           {2, 3}, {2, 3}, {2, 4}, {3, 1}, {4, 1}};
    for (size_t offset = 0; offset < places.size(); ++offset) {
        const text_place_t place = text_place(text, offset);
        EXPECT_EQ(std::pair(place.line, place.column), places[offset]) << offset;
    }
}

/// The first fault of a text, as "OFFSET: TEXT", or nothing.
std::string fault_of(std::string_view text)
{
    description_text_t description;
    text_fault_t fault;
    return description_text_read(text, description, fault)
               ? ""
               : std::to_string(fault.offset) + ": " + fault.text;
}

TEST(DescriptionTextTest, says_the_first_fault_and_where)
{
    struct row_t {
        const char *text;
        const char *fault;
    };
    constexpr row_t rows[] = {
        {"{\"p\": [{}]}", ""},
        {"{\"p\":\t[{\"a\\\"\": [1, true, null, false, \"x\"], \"b\": {}}]}", ""},
        {"", "0: expected '{', found the end"},
        {"[", "0: expected '{'"},
        {"{,", "1: expected a key in quotes or '}'"},
        {"{\"a\",", "4: expected ':'"},
        {"{\"a\":}", "5: expected a value"},
        {"{\"a\":,", "5: expected a value"},
        {"{\"a\":[}", "6: expected a value or ']'"},
        {"{\"a\":[1}", "7: expected ',' or ']'"},
        {"{\"a\":[1,]", "8: expected a value"},
        {"{\"a\":1]", "6: expected ',' or '}'"},
        {"{\"a\":1,}", "7: expected a key in quotes"},
        {"{\"a\":[{}]} {", "11: expected no more"},
        {"{\"a\":[{}]", "9: expected ',' or '}', found the end"},
        {"{\"a\":\"\\", "5: a string without an end"},
        {"{\"a\":tru", "5: a word that is none of true, false, null"},
        {"{\"a\":x", "5: a word that is none of true, false, null"},
        {"{ // c", "2: a comment: descriptions have none"},
        {"{ /* c", "2: a comment: descriptions have none"},
        {"{ # c", "2: a comment: descriptions have none"},
        {"{ / c", "2: nothing begins with this"},
        {"{\"a\":-1", "5: a number is digits only"},
        {"{\"a\":+1", "5: a number is digits only"},
        {"{\"a\":.1", "5: a number is digits only"},
        {"{ ~", "2: nothing begins with this"},
        {"{ A", "2: nothing begins with this"},
        {"\xef\xbb\xbf{", "0: a byte order mark"},
        {"{\r", "1: a carriage return: lines end in a line feed alone"},
        {"{}", "1: expected one key with an array of protocols"},
        {"{\"a\":1}", "5: expected one key with an array of protocols"},
        {"{\"a\":1,\"b\":2}", "5: expected one key with an array of protocols"},
        {"{\"a\":[{}],\"b\":2}", "9: expected '}' behind the protocols"},
        {"{\"a\":[{},5]}", "9: expected a protocol, an object"},
        {"{\"a\":[]}", "6: expected a protocol"},
    };
    for (const row_t &row : rows)
        EXPECT_EQ(fault_of(row.text), row.fault) << row.text;
}

/// The faults of an object, as long as reading goes on behind them.
texts faults_of_object(std::string_view text)
{
    texts faults;
    description_text_t description = {text, {}};
    text_fault_t fault;
    text_reader_t reader = {description, fault};
    while (!text_reader_read(reader, false)) {
        faults.push_back(std::to_string(fault.offset) + ": " + fault.text);
        if (!text_reader_in_step(reader) || !text_reader_pass(reader))
            break;
    }
    return faults;
}

TEST(TextReaderTest, goes_on_behind_a_fault)
{
    EXPECT_EQ(faults_of_object("{\"a\": 1]"), texts{"7: expected ',' or '}'"});
    EXPECT_EQ(faults_of_object("{]"),
              (texts{"1: expected a key in quotes or '}'", "1: expected ',' or '}'"}));
    EXPECT_EQ(faults_of_object("{\"a\": [{\"b\": 1, {\"c\": 2}]}"),
              texts{"16: expected a key in quotes"});
    EXPECT_EQ(faults_of_object("{\"a\": {\"b\": 1, {\"c\": 2}}}"),
              texts{"15: expected a key in quotes"})
        << "what it was meant for is not known";
    EXPECT_EQ(faults_of_object("{\"a\" "), texts{"5: expected ':', found the end"});
    EXPECT_EQ(faults_of_object("{\"a\"x"), texts{"4: a word that is none of true, false, null"})
        << "more of a text";
}

TEST(DescriptionTextTest, refuses_what_offsets_cannot_count)
{
    constexpr size_t size = DESCRIPTION_TEXT_MAX + 1; // nothing of it is touched
    void *pages =
        mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    EXPECT_EQ(fault_of({static_cast<const char *>(pages), size}),
              "2147483647: a text of more than 2147483647 bytes");
    munmap(pages, size);
}

TEST(DescriptionLayoutTest, keeps_what_is_odd)
{
    const std::string_view text = R"({"p":[{"names":["a)"
                                  "\n"
                                  R"(b"],"rules":[5,{"order":"1"},[]]}]})";
    description_text_t description;
    text_fault_t fault;
    ASSERT_TRUE(description_text_read(text, description, fault)) << fault.text;
    EXPECT_EQ(description_layout(description), "{\n"
                                               "  \"p\": [\n"
                                               "    {\n"
                                               "      \"names\": [\n"
                                               "        \"a\nb\"\n"
                                               "      ],\n"
                                               "      \"rules\": [\n"
                                               "        5,\n"
                                               "        {\n"
                                               "          \"order\": \"1\"\n"
                                               "        },\n"
                                               "        []\n"
                                               "      ]\n"
                                               "    }\n"
                                               "  ]\n"
                                               "}\n");
}

TEST(ImportNumbersTest, merges_blocks_that_overlap_or_touch)
{
    EXPECT_EQ(values_of(false, "10.0.0.0/25 10.0.0.128/25", NUMBER_IP), texts{"10.0.0.0/24"});
    EXPECT_EQ(values_of(false, "10.0.0.5 10.0.0.1-10.0.0.4", NUMBER_IP),
              texts{"10.0.0.1-10.0.0.5"});
    EXPECT_EQ(values_of(false, "0.0.0.0/1 128.0.0.0/1", NUMBER_IP),
              texts{"0.0.0.0-255.255.255.255"});
    EXPECT_EQ(values_of(true, "80 81/tcp 83/tcp", NUMBER_TCP_PORT), (texts{"80-81", "83"}));
}

TEST(ImportNumbersTest, whole_space_of_ipv6_is_two_blocks)
{
    EXPECT_EQ(values_of(false, "::/0", NUMBER_IP6), (texts{"0:0:0:0:0:0:0:0/1", "8000::/1"}));
}

/// The fewest aligned blocks that make up numbers below `size`, a power of two: all of it, or the
/// fewest of both halves.
size_t fewest_blocks(const std::set<uint32_t> &numbers, uint32_t begin, uint32_t size)
{
    const auto first = numbers.lower_bound(begin);
    const auto last = numbers.lower_bound(begin + size);
    const auto count = static_cast<uint32_t>(std::distance(first, last));
    if (count == 0 || count == size)
        return count == 0 ? 0 : 1;
    return fewest_blocks(numbers, begin, size / 2) +
           fewest_blocks(numbers, begin + size / 2, size / 2);
}

TEST(ImportNumbersTest, ipv6_ranges_become_the_fewest_blocks)
{
    for (uint32_t seed = 0; seed < 50; ++seed) {
        std::mt19937 random(seed);
        std::set<uint32_t> numbers;
        std::string list;
        for (int i = 0; i < 8; ++i) {
            const auto first = static_cast<uint32_t>(random() % 1000);
            const auto last = first + static_cast<uint32_t>(random() % 24);
            char line[64];
            std::snprintf(line, sizeof(line), "2001:db8::%x-2001:db8::%x\n", first, last);
            list += line;
            for (uint32_t number = first; number <= last; ++number)
                numbers.insert(number);
        }
        EXPECT_EQ(values_of(false, list, NUMBER_IP6).size(), fewest_blocks(numbers, 0, 1024))
            << list;
    }
}

TEST(ImportValuesTest, expressions_that_a_value_can_say)
{
    EXPECT_EQ(import_expression("^a-b\\.c$"), "a-b\\.c");
    EXPECT_EQ(import_expression("a\\.c$"), ".*a\\.c");
    EXPECT_EQ(import_expression("(^|\\.)a.*b$"), "(.*\\.)?a.*b");
    EXPECT_EQ(import_expression("^a.+b"), "a.*.b.*");
    EXPECT_EQ(import_expression("^azAZ09-_$"), "azAZ09-_");
    for (const char *other :
         {"a*", "a|b", "[ab]",  "a{2}", "\\d", ".*", "",   "^$", "a.b", "a\\", "a\\.+",
          "a+", "a?",  "a\\.?", "a~",   "a@",  "a`", "a[", "a/", "a:",  "a{"})
        EXPECT_EQ(import_expression(other), std::nullopt) << other;
}

TEST(ImportValuesTest, texts_become_json)
{
    EXPECT_EQ(import_json("a\\.b"), R"("a\\.b")");
    EXPECT_EQ(import_json(R"(a"b)"), R"("a\"b")");
}

TEST(VocabularyTest, reads_tables_of_keys_and_no_others)
{
    const auto rows = vocabulary_read("## A part\n"
                                      "| key | value | meaning | limit |\n"
                                      "|---|---|---|---|\n"
                                      "| `a`, `b\\*` | number | what `a` is | 9 |\n"
                                      "| any other key | text | the rest | |\n"
                                      "\n"
                                      "| word | bit | other |\n"
                                      "|---|---|---|\n"
                                      "| `c` | 1 | 2 |\n"
                                      "| key of `a` | value | meaning |\n"
                                      "\n"
                                      "| key of `a`, `b` | value | meaning |\n"
                                      "|---|---|---|\n"
                                      "| `d` | string | within |\n");
    texts shown;
    for (const vocabulary_row_t &row : rows)
        shown.push_back(row.section + '/' + row.holder + '/' + row.key + '/' + row.value + '/' +
                        row.meaning);
    EXPECT_EQ(shown, (texts{"A part//a/number/what a is; limit: 9",
                            "A part//b\\*/number/what a is; limit: 9", "A part//*/text/the rest",
                            "A part/a/d/string/within", "A part/b/d/string/within"}));
}

TEST(VocabularyTest, tables_may_be_odd)
{
    const auto rows = vocabulary_read("## A `part` of\\*\n"
                                      "| key | value |\n" // of two columns
                                      "\n"
                                      "| key | value | meaning | limit |\n"
                                      "|---|---|---|---|\n"
                                      "| `a`, `b | text | | 9 |\n"
                                      "| no key | text | of none | |\n"
                                      "| `c` | text\\ | at the end |\n"
                                      "| `d` | | |\n"
                                      "not a row\n"
                                      "| `e` | text | of another table |\n");
    texts shown;
    for (const vocabulary_row_t &row : rows)
        shown.push_back(row.section + '/' + row.key + '/' + row.value + '/' + row.meaning);
    EXPECT_EQ(shown,
              (texts{"A part of*/a/text/9", "A part of*/c/text\\/at the end", "A part of*/d//"}));
    EXPECT_TRUE(vocabulary_paper("pdd.md").starts_with("# "));
    EXPECT_EQ(vocabulary_paper("none.md").data(), nullptr);
}

TEST(SchemaTest, words_are_those_of_the_place)
{
    const vocabulary_row_t of_rule = {"A rule", "", "k", "text", ""};
    const vocabulary_row_t below = {"A rule", "tags", "k", "list", "of tags"};
    const vocabulary_row_t of_protocol = {"A protocol", "", "k", "number", "counts"};
    const vocabulary_row_t any = {"A rule", "", "*", "text", "other"};
    const schema_vocabulary_t all = {{of_rule, below, of_protocol, any}, ""};
    const schema_vocabulary_t part = {{below, of_protocol, of_rule, any}, "A rule"};
    const auto words = [](const schema_vocabulary_t &vocabulary, const char *holder,
                          const char *key) {
        schema_json_t schema = schema_json_t::object();
        schema_add_words(vocabulary, holder, key, schema);
        return schema.value("title", "") + '/' + schema.value("description", "");
    };
    EXPECT_EQ(words(all, "", "k"), "k/number: counts");
    EXPECT_EQ(words(all, "rules", "k"), "k/text");
    EXPECT_EQ(words(all, "tags", "k"), "k/list: of tags");
    EXPECT_EQ(words(all, "rules", "*"), "any other key/text: other");
    EXPECT_EQ(words(all, "rule", "k"), "/") << "of a sub-rule nothing is said";
    EXPECT_EQ(words(part, "", "k"), "k/text");
    EXPECT_EQ(words(part, "tags", "k"), "k/list: of tags");
    EXPECT_EQ(words(part, "other", "k"), "/");
}

/// The schema of a document whose rules have some nodes and transitions.
schema_json_t schema_of(const std::string &nodes, const std::string &transitions)
{
    std::string text;
    EXPECT_TRUE(
        schema_text(*schema_kind("tags"),
                    R"({"nodes": [)" + nodes + R"(], "transitions": [)" + transitions + "]}", text))
        << text;
    return schema_json_t::parse(text);
}

TEST(SchemaTest, transitions_to_the_start_or_beyond_the_machine_are_not_taken)
{
    const schema_json_t schema =
        schema_of(R"({"key": 0}, {"key": 1}, {"key": 2}, {"key": 3}, {"key": 4})",
                  R"({"from": 0, "to": 1, "trans": "{"}, {"from": 1, "to": 0, "trans": "a"},
           {"from": 1, "to": 128, "trans": "b"}, {"from": 1, "to": 127, "trans": "c"},
           {"from": 1, "to": 2, "trans": "d"}, {"from": 2, "to": 3, "trans": "x"},
           {"from": 3, "to": 4, "trans": "}"}, {"from": 3, "to": 5, "trans": ","},
           {"from": 5, "to": 2, "trans": "d"})");
    const schema_json_t nothing = {{"not", schema_json_t::object()}};
    const schema_json_t properties = {
        {"a", nothing}, {"b", nothing}, {"c", nothing}, {"d", {{"enum", {"x"}}}}};
    EXPECT_EQ(schema["properties"], properties) << "and a key of two nodes is there once";
    EXPECT_EQ(schema["additionalProperties"], false);
    EXPECT_EQ(schema["minProperties"], 1);
}

TEST(SchemaTest, a_key_is_required_where_every_count_asks_for_it)
{
    // Node 1 stands in front of keys, 2 in front of the value of "a", 3 behind a value, 4 at the
    // end.
    struct row_t {
        const char *range;       ///< of node 2
        const char *check;       ///< of node 4
        const char *transitions; ///< more of them
        bool required;
    };
    constexpr row_t rows[] = {
        {R"("range": {"min": 1},)", "2", "", true},
        {R"("range": {"min": 1},)", "", "", false},
        {R"("range": {"min": 0, "max": 1},)", "2", "", false},
        {R"("range": {"max": 1},)", "2", "", false},
        {"", "2", "", false},
        {R"("range": {"min": 1},)", "128, 2", "", true}, // there is no node 128
        {R"("range": {"min": 1},)", "6, 2", "", true},   // with a range
        {R"("range": {"min": 1},)", "5, 2", "", false},  // without one, which ends the check
        {R"("range": {"min": 1},)", "2", R"(,{"from": 1, "to": 7, "trans": "}"})", false},
        {R"("range": {"min": 1},)", "2", R"(,{"from": 1, "to": 2, "trans": "*"})", false},
        {R"("range": {"min": 1},)", "2", R"(,{"from": 1, "to": 8, "trans": "b"},
            {"from": 8, "to": 3, "trans": "*"})",
         true},
        {R"("range": {"min": 1},)", "2", R"(,{"from": 1, "to": 1, "trans": "b"})", false},
        // An object within itself counts for the one around it.
        {R"("range": {"min": 1},)", "2", R"(,{"from": 1, "to": 8, "trans": "b"},
            {"from": 8, "to": 1, "trans": "{"}, {"from": 4, "to": 4, "trans": "}"})",
         false},
        // And so does one of another kind below it that has the key, of which one may be without.
        {R"("range": {"min": 1},)", "2", R"(,{"from": 1, "to": 8, "trans": "b"},
            {"from": 8, "to": 9, "trans": "{"}, {"from": 9, "to": 2, "trans": "a"},
            {"from": 3, "to": 3, "trans": "}"})",
         false},
    };
    for (const row_t &row : rows) {
        const schema_json_t schema = schema_of(
            std::string(R"({"key": 0}, {"key": 1}, {)") + row.range + R"("key": 2}, {"key": 3},
                {"key": 4, "check": [)" +
                row.check + R"(]}, {"key": 5},
                {"key": 6, "range": {"max": 9}}, {"key": 7}, {"key": 8}, {"key": 9})",
            std::string(R"({"from": 0, "to": 1, "trans": "{"}, {"from": 1, "to": 2, "trans": "a"},
                {"from": 2, "to": 3, "trans": "*"}, {"from": 3, "to": 1, "trans": ","},
                {"from": 3, "to": 4, "trans": "}"})") +
                row.transitions);
        const bool required =
            schema.contains("required") && schema["required"] == schema_json_t::array({"a"});
        EXPECT_EQ(required, row.required) << row.range << row.check << row.transitions;
    }
}

TEST(SchemaTest, rules_that_do_not_read_are_said)
{
    std::string text;
    EXPECT_FALSE(schema_text(*schema_kind("tags"), "{", text));
    EXPECT_NE(text.find("failure on line: 1"), text.npos) << text;
    EXPECT_EQ(schema_kind("tag"), nullptr);
}

TEST(SchemaTest, rules_without_transitions_allow_nothing)
{
    std::string text;
    EXPECT_TRUE(
        schema_text(*schema_kind("tags"), R"({"nodes": [{"key": 0}], "transitions": []})", text));
    EXPECT_NE(text.find("\"not\": {}"), text.npos) << text;
}

} // namespace
