#include <gtest/gtest.h>

#include <random>
#include <set>

#include "depfile.h"
#include "description_text.h"
#include "import_numbers.h"
#include "import_values.h"
#include "schema.h"
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
    const texts inputs = {"a b", "c$d", "e#f", "g\\h", "i\\ j", "k\nl", "plain"};
    EXPECT_EQ(depfile_text("o t", inputs), "o\\ t: \\\n"
                                           "  a\\ b \\\n"
                                           "  c$$d \\\n"
                                           "  e\\#f \\\n"
                                           "  g\\h \\\n"
                                           "  i\\\\\\ j \\\n"
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
    for (const char *other :
         {"a*", "a|b", "[ab]", "a{2}", "\\d", ".*", "", "^$", "a.b", "a\\", "a\\.+"})
        EXPECT_EQ(import_expression(other), std::nullopt) << other;
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
