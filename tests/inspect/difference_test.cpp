// What two pdbs say differently, and which texts of values are equal for traffic.
#include <gtest/gtest.h>

#include <random>

#include "description_generator.h"
#include "pdb_difference.h"
#include "random_description.h"
#include "serialize_fixture.h"
#include "value_form.h"

namespace
{

class difference : public serialize_fixture
{
protected:
    std::vector<uint8_t> compile(const std::string &text)
    {
        std::string came_to;
        (void)stderr_of([&] { came_to = run(text); }); // warnings of directions
        EXPECT_EQ(came_to, "0") << text;
        std::vector<uint8_t> file;
        for (const pdb_t &one : pdb) {
            if (one.pdb_type == PDB_TYPE_END)
                break;
            file.insert(file.end(), one.pdb_tlv->begin(), one.pdb_tlv->end());
        }
        return file;
    }

    /// Whether both files were read.
    static bool compare_files(const std::vector<uint8_t> &before, const std::vector<uint8_t> &after,
                              pdb_difference_t &out)
    {
        pdb_view_t old_view;
        pdb_view_t new_view;
        view_error_t error;
        return pdb_view_open(before, old_view, error) && pdb_view_open(after, new_view, error) &&
               pdb_difference(old_view, new_view, out, error);
    }

    pdb_difference_t compare(const std::string &before, const std::string &after)
    {
        pdb_difference_t out;
        EXPECT_TRUE(compare_files(compile(before), compile(after), out));
        for (protocol_difference_t &protocol : out.protocols)
            protocol.name = {}; // it points into a file that is gone
        return out;
    }

    void expect_equal_to_itself(const std::string &text)
    {
        const pdb_difference_t out = compare(text, text);
        EXPECT_TRUE(out.is_empty()) << text;
        for (const auto &totals : {out.totals.protocols, out.totals.rules, out.totals.values})
            EXPECT_EQ(totals[0] + totals[1] + totals[2], 0U);
    }
};

TEST_F(difference, random_descriptions_are_equal_to_themselves)
{
    for (uint32_t seed = 1; seed <= 300 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        expect_equal_to_itself(make_random_description(seed, {}).json);
    }
}

TEST_F(difference, random_descriptions_with_aliases_are_equal_to_themselves)
{
    configure_aliases(random_aliases_json);
    for (uint32_t seed = 1001; seed <= 1200 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        expect_equal_to_itself(make_random_description(seed, random_aliases).json);
    }
}

TEST_F(difference, large_descriptions_of_different_seeds_lose_all_and_gain_all)
{
    description_shape_t shape;
    shape.protocols = 200;
    shape.rules = 1000;
    const std::string before = generate_description(shape);
    shape.first_protocol = 5000;
    shape.seed += 1;
    const std::string after = generate_description(shape);
    expect_equal_to_itself(before);
    const pdb_difference_t out = compare(before, after);
    EXPECT_EQ(out.totals.protocols[DIFFERENCE_ADDED], 200U);
    EXPECT_EQ(out.totals.protocols[DIFFERENCE_REMOVED], 200U);
}

/// Whatever is changed in a file, comparing it ends: it is refused, or says something.
TEST_F(difference, damaged_files_are_compared_without_harm)
{
    std::mt19937 random(7);
    const std::vector<uint8_t> file = compile(make_random_description(14, {}).json);
    for (int round = 0; round < 500; ++round) {
        std::vector<uint8_t> damaged = file;
        for (auto n = 1 + random() % 4; n != 0; --n)
            damaged[random() % damaged.size()] ^= static_cast<uint8_t>(1U << random() % 8);
        pdb_difference_t same;
        pdb_difference_t there;
        pdb_difference_t back;
        if (!compare_files(damaged, damaged, same))
            continue;
        EXPECT_TRUE(same.is_empty());
        EXPECT_TRUE(compare_files(file, damaged, there) && compare_files(damaged, file, back));
        EXPECT_EQ(there.is_empty(), back.is_empty());
    }
}

TEST_F(difference, aliases_of_one_side_are_named)
{
    const std::string text = R"({"p": [{"name": "a", "id": 1, "rules": []}]})";
    const std::vector<uint8_t> plain = compile(text);
    configure_aliases(random_aliases_json);
    const std::vector<uint8_t> aliased = compile(text);
    pdb_difference_t out;
    ASSERT_TRUE(compare_files(plain, aliased, out));
    EXPECT_FALSE(out.is_empty());
    EXPECT_EQ(out.aliases.removed.size(), 0U);
    const std::string_view aliases = random_aliases_json;
    size_t nr_alias = 0;
    for (size_t at = 0; (at = aliases.find("\"alias\":", at)) != aliases.npos; ++at)
        ++nr_alias;
    EXPECT_EQ(out.aliases.added.size(), nr_alias);
}

/// Texts of an attribute that find the same data, and others that look alike and do not.
TEST(value_forms, are_what_texts_compile_to)
{
    const auto form = [](const char *protocol, const char *attribute, std::string_view text) {
        return value_form(protocol, attribute, false, text);
    };
    EXPECT_EQ(form("tcp", "stream", "aq"), form("tcp", "stream", "\\x61q"));
    EXPECT_EQ(form("tcp", "stream", "a(b|c)"), form("tcp", "stream", "a[cb]"));
    EXPECT_EQ(form("tcp", "stream", "(ab|ab)"), form("tcp", "stream", "ab"));
    EXPECT_NE(form("tcp", "stream", "ab"), form("tcp", "stream", "Ab"));
    EXPECT_NE(form("tcp", "stream", "ab"), form("tcp", "stream", "ab.*"));
    EXPECT_NE(form("tcp", "stream", "ab.*cd"), form("tcp", "stream", "abcd"));
    EXPECT_EQ(form("ssl", "common_name", "Example"), form("ssl", "common_name", "eXAMPLE"));
    EXPECT_EQ(form("tcp", "port", "80,443"), form("tcp", "port", "443,0080-80"));
    EXPECT_NE(form("tcp", "port", "80,443"), form("tcp", "port", "80-443"));
    EXPECT_EQ(form("ip", "address", "10.0.0.0/8"),
              form("ip", "address", "10.0.0.0-10.255.255.255"));
    EXPECT_NE(form("ip", "address", "10.0.0.0/8"), form("ip", "address", "10.0.0.0/9"));
    EXPECT_EQ(form("ip6", "address", "fd00::/16"), form("ip6", "address", "fd00:0::/16"));
    EXPECT_EQ(value_form("tcp", "stream", true, "\\x41."), value_form("tcp", "stream", true, "A."));
    EXPECT_NE(value_form("tcp", "stream", true, "A."), value_form("tcp", "stream", true, "AB"));
    EXPECT_NE(form("no", "attribute", "80"), form("no", "attribute", "080"));
    EXPECT_NE(form("tcp", "port", "80-90,85"), form("tcp", "port", "85,80-90"))
        << "where ranges overlap their order counts";
}

/// A text of which no form is known stands for itself, behind a "t".
TEST(value_forms, of_texts_that_prove_nothing_are_the_texts)
{
    std::string pieces; // 256 of them
    for (int i = 0; i < 256; ++i)
        pieces += "a.*";
    const std::string longest(1024, '8');
    EXPECT_EQ(value_form("tcp", "stream", false, ".*"), "t.*");
    EXPECT_EQ(value_form("tcp", "stream", false, "a[^b]"), "ta[^b]");
    EXPECT_EQ(value_form("tcp", "stream", false, "a("), "ta(");
    EXPECT_EQ(value_form("tcp", "stream", false, pieces), "t" + pieces);
    EXPECT_EQ(value_form("tcp", "stream", false, pieces.substr(3))[0], 'p');
    EXPECT_EQ(value_form("tcp", "stream", true, "\\xZZ"), "t\\xZZ");
    EXPECT_EQ(value_form("tcp", "port", false, "x"), "tx");
    EXPECT_EQ(value_form("tcp", "stream", false, longest)[0], 'p');
    EXPECT_EQ(value_form("tcp", "stream", false, longest + "8"), "t" + longest + "8");
}

TEST_F(difference, a_value_that_came_is_one_that_no_other_lacks)
{
    const auto text = [](const char *ports) {
        return std::string(R"({"p": [{"name": "a", "id": 1, "rules": [{"order": "1:1",
            "rule": [{"protocol": "tcp", "port": )") +
               ports + "}]}]}]}";
    };
    const pdb_difference_t came = compare(text(R"("80")"), text(R"(["80", "81"])"));
    ASSERT_EQ(came.protocols.at(0).rules.size(), 1U);
    EXPECT_TRUE(came.protocols[0].rules[0].fields.empty());
    EXPECT_TRUE(came.protocols[0].rules[0].removed.empty());
    EXPECT_EQ(came.protocols[0].rules[0].added.size(), 1U);
}

/// An order that is left out is made of the lengths of texts: a text of another length is another.
TEST_F(difference, equal_forms_are_no_difference_where_the_order_is_written)
{
    const auto text = [](const char *order, const char *value) {
        return std::string(R"({"p": [{"name": "a", "id": 1, "rules": [{"order": ")") + order +
               R"(", "rule": [{"protocol": "tcp", "cts-mindata": 4, "cts-stream": ")" + value +
               R"(.*"}]}]}]})";
    };
    EXPECT_TRUE(compare(text("1:1", "aq"), text("1:1", "\\\\x61q")).is_empty());
    EXPECT_FALSE(compare(text("1:0", "aq"), text("1:0", "\\\\x61q")).is_empty());
}

} // namespace
