// A text that was decompiled compiles to the bytes that it came from.
#include <gtest/gtest.h>

#include <random>

#include "decompile.h"
#include "description_generator.h"
#include "random_description.h"
#include "serialize_fixture.h"
#include "verified.h"

namespace
{

class decompile : public serialize_fixture
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

    static std::string decompiled(const std::vector<uint8_t> &file, decompiled_t &out)
    {
        pdb_view_t view;
        view_error_t error;
        const bool read = pdb_view_open(file, view, error) && decompile_pdb(view, out, error);
        return read ? "" : error.text;
    }

    /// What a verification says, but for protocols that were drawn with one id.
    static std::string faults_of(const std::vector<uint8_t> &file)
    {
        std::string faults;
        for (const found_fault_t &found : verify_faults(file))
            if (found.text.find(": its id ") == found.text.npos)
                faults += found.text + '\n';
        return faults;
    }

    void check(const std::string &text)
    {
        const std::vector<uint8_t> first = compile(text);
        EXPECT_EQ(faults_of(first), "") << text;
        decompiled_t out;
        ASSERT_EQ(decompiled(first, out), "") << text;
        EXPECT_EQ(out.lost.first, std::vector<std::string>()) << text;
        ASSERT_EQ(compile(out.text), first) << text << out.text;
    }
};

TEST_F(decompile, random_descriptions_without_aliases)
{
    for (uint32_t seed = 1; seed <= 300 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        check(make_random_description(seed, {}).json);
    }
}

TEST_F(decompile, random_descriptions_with_aliases_and_tags)
{
    configure_aliases(random_aliases_json);
    configure_tags(R"({"tag_table": {"video": 1, "audio": 2, "http": 3}})");
    for (uint32_t seed = 1001; seed <= 1300 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        check(make_random_description(seed, random_aliases).json);
    }
}

TEST_F(decompile, a_large_generated_description)
{
    description_shape_t shape;
    shape.protocols = 400;
    shape.rules = 2500;
    check(generate_description(shape));
}

/// Whatever is changed in a file, decompiling it ends, with a text or with a reason.
TEST_F(decompile, damaged_files_are_read_without_harm)
{
    std::mt19937 random(11);
    for (const uint32_t seed : {3U, 14U, 15U, 92U}) {
        const std::vector<uint8_t> file = compile(make_random_description(seed, {}).json);
        for (int round = 0; round < 300; ++round) {
            std::vector<uint8_t> damaged = file;
            for (auto n = 1 + random() % 6; n != 0; --n)
                damaged[random() % damaged.size()] = static_cast<uint8_t>(random());
            decompiled_t out;
            const std::string reason = decompiled(damaged, out);
            EXPECT_TRUE(!reason.empty() || !out.text.empty());
        }
    }
}

/// The text says of ten cases what it lacks, and how many there are more; the list has them all.
TEST_F(decompile, many_cases_are_said_in_short)
{
    for (const int nr : {10, 12}) {
        std::string rules;
        for (int i = 1; i <= nr; ++i)
            rules += std::string(i == 1 ? "" : ",") + R"({"order": "1:)" + std::to_string(i) +
                     R"(", "rule-tags": "x", "rule": [{"protocol": "tcp", "port": "80"}]})";
        (void)compile(R"({"p": [{"name": "a", "id": 1, "rules": [)" + rules + "]}]}");
        decompiled_t out;
        ASSERT_EQ(decompiled(part(PDB_TYPE_PROTOCOL_DESCRIPTION), out), "");
        EXPECT_EQ(out.lost.first.size(), static_cast<size_t>(nr));
        EXPECT_NE(out.text.find("rule 10: its tags"), std::string::npos);
        EXPECT_EQ(out.text.find("rule 11: its tags"), std::string::npos);
        EXPECT_EQ(out.text.find(" more") != std::string::npos, nr > 10);
        EXPECT_EQ(out.text.find("; and 2 more\"") != std::string::npos, nr == 12);
    }
}

/// A rule tag of a pdb without main strings has no name, and the text says less.
TEST_F(decompile, what_has_no_name_is_listed)
{
    (void)compile(R"({"p": [{"name": "a", "id": 1, "rules": [{"order": "1:2", "rule-tags": "x",
        "rule": [{"protocol": "tcp", "port": "80"}]}]}]})");
    decompiled_t out;
    ASSERT_EQ(decompiled(part(PDB_TYPE_PROTOCOL_DESCRIPTION), out), "");
    EXPECT_EQ(out.lost.first,
              std::vector<std::string>({"protocol a: rule 1: its tags, which no main string "
                                        "names"}));
    EXPECT_EQ(out.text.find("rule-tags"), std::string::npos);
    EXPECT_NE(
        out.text.find("\"description\": {\"en\": \"not in this text: rule 1: its tags, which no "
                      "main string names\"}"),
        std::string::npos)
        << out.text;
}

} // namespace
