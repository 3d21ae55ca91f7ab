#include <gtest/gtest.h>

#include "bytes.h"
#include "captured.h"
#include "document_test.h"
#include "failing_alloc.h"
#include "json_text.h"
#include "json_tools.h"
#include "string_pool.h"
#include "tag_table_serialize.h"
#include "visitor_tag_table.h"

namespace
{

class tag_table : public document_test
{
protected:
    /// Reads a document; gives its tags as "name=id name=id", or "none" with what is recorded.
    std::string read(const std::string &text, std::string_view rules = {}, bool ignore_sem = false)
    {
        pragmar_err_clear();
        const std::optional<tag_table_build> table =
            json_to_tag_table(text, rules, &pool.table, ignore_sem);
        if (!table)
            return std::string("none, ") + outcome(PDATA_ERR_NO_MEMORY);
        EXPECT_EQ(table->hstring, &pool.table);
        build = *table;
        std::string out;
        for (uint32_t i = 0; i < table->nr_tag_ids; ++i) {
            out += i == 0 ? "" : " ";
            out += csa_str_view(table->slots[i].name);
            out += '=';
            out += std::to_string(table->slots[i].id);
        }
        return out;
    }

    /// Writes the table into `buf` and returns the bytes written.
    uint32_t written(std::span<uint8_t> buf)
    {
        uint32_t size = 0;
        EXPECT_EQ(tag_table_serialize(build, buf, &size), PDATA_SUCCESS);
        return size;
    }

    /// The stored table, in memory of exactly its size.
    std::vector<uint8_t> serialized()
    {
        std::vector<uint8_t> buf(tag_table_get_tlv_size(build));
        EXPECT_EQ(written(buf), buf.size());
        return buf;
    }

    string_pool pool;
    tag_table_build build;
};

/// A document of `nr` tags.
std::string document(uint32_t nr)
{
    std::string text = R"({"tag_table": {)";
    for (uint32_t i = 0; i < nr; ++i) {
        text += i == 0 ? "\"" : ", \"";
        text += std::to_string(i) + "th\": " + std::to_string(i + 1000);
    }
    return text += "}}";
}

TEST_F(tag_table, members_of_the_table_are_tags_in_document_order)
{
    EXPECT_EQ(read(R"({"tag_table": {"video": 12, "audio": 3, "web": 0, "x\ty": 4294967295}})"),
              "video=12 audio=3 web=0 x\ty=4294967295");
    EXPECT_EQ(build.slots.size(), 4U);
}

TEST_F(tag_table, members_outside_the_table_are_no_tags)
{
    EXPECT_EQ(read(R"({"before": 1, "tag_table": {"a": 2}, "after": {"b": 3, "tag_table": {"c": 4}},
                       "tag_tables": {"d": 5}, "Tag_table": {"e": 6}})"),
              "a=2");
    EXPECT_EQ(read(R"({"other": 1})"), "");
    EXPECT_EQ(read(R"({"tag_table": {"a": 1}, "x": 5, "tag_table": {"b": 2}})"), "a=1 b=2");
}

TEST_F(tag_table, only_numbers_complete_a_tag)
{
    EXPECT_EQ(read(R"({"tag_table": {"a": "1", "b": true, "c": null, "d": [], "e": 5}})"), "e=5");
    EXPECT_EQ(read(R"({"tag_table": {"outer": {"inner": 7}, "next": 8}})"), "inner=7 next=8")
        << "deeper members are members";
    EXPECT_EQ(read(R"({"tag_table": {"a": [1, 2]}})"), "a=1 =2") << "the second has no name";
    EXPECT_EQ(read(R"({"tag_table": 9})"), "tag_table=9");
}

TEST_F(tag_table, an_id_that_repeats_ends_the_adding_without_a_report)
{
    EXPECT_EQ(read(R"({"tag_table": {"a": 1, "b": 2, "c": 1, "d": 4}})"), "a=1 b=2");
    EXPECT_EQ(outcome(PDATA_SUCCESS), "0");
    EXPECT_EQ(tag_table_get_tlv_size(build), 16U);
    EXPECT_EQ(read(R"({"tag_table": {"a": 1, "a": 2, "a": 3}})"), "a=1 a=2 a=3")
        << "a name may repeat";
}

TEST_F(tag_table, adding)
{
    build = tag_table_create(2, &pool.table);
    EXPECT_EQ(outcome(tag_table_add(&build, csa_str("a"), 1)), "0");
    EXPECT_EQ(outcome(tag_table_add(&build, csa_str("b"), 1)), OUTCOME_PROTODESC_TAG)
        << "no message";
    EXPECT_EQ(outcome(tag_table_add(&build, csa_str("a"), 2)), "0");
    EXPECT_EQ(outcome(tag_table_add(&build, csa_str("c"), 3)), OUTCOME_NO_MEMORY) << "no message";
    EXPECT_EQ(outcome(tag_table_add(&build, csa_str("c"), 1)), OUTCOME_NO_MEMORY)
        << "full comes first";
    ASSERT_NE(tag_table_lookup_id(build, 2), nullptr);
    EXPECT_EQ(csa_str_view(tag_table_lookup_id(build, 2)->name), "a");
    EXPECT_EQ(tag_table_lookup_id(build, 3), nullptr);
    tag_table_destroy(&build);
    EXPECT_EQ(tag_table_get_tlv_size(build), 0U);
    EXPECT_EQ(outcome(tag_table_add(&build, csa_str("a"), 1)), OUTCOME_NO_MEMORY);
}

TEST_F(tag_table, a_stored_tag_is_the_offset_of_its_name_and_its_id)
{
    pool.put("ab");
    EXPECT_EQ(read(R"({"tag_table": {"video": 12, "ab": 3, "x": 16909060}})"),
              "video=12 ab=3 x=16909060");
    EXPECT_EQ(serialized(), bytes("00000004 0000000C 00000000 00000003 0000000C 01020304"));
    EXPECT_EQ(pool.strings(), (std::vector<std::string>{"ab", "video", "x"}));
}

TEST_F(tag_table, an_empty_table_is_stored_as_nothing)
{
    EXPECT_EQ(read(R"({"tag_table": {}})"), "");
    EXPECT_TRUE(serialized().empty());
}

TEST_F(tag_table, a_tag_whose_name_cannot_be_pooled_is_left_out)
{
    EXPECT_EQ(read(R"({"tag_table": {"a": 1, "": 2, "b": 3}})"), "a=1 =2 b=3");
    std::vector<uint8_t> buf(24);
    EXPECT_EQ(tag_table_get_tlv_size(build), 24U);
    EXPECT_EQ(written(buf), 16U);
    EXPECT_EQ(buf, bytes("00000000 00000001 00000004 00000003 00000000 00000000"));
}

TEST_F(tag_table, a_tag_is_not_left_out_when_memory_runs_out)
{
    EXPECT_EQ(read(R"({"tag_table": {"a": 1, "b": 2}})"), "a=1 b=2");
    uint32_t nr_failed = 0;
    failing_alloc_sweep(
        [&] {
            hstring_build_t empty;
            if (hstring_init(&empty, 0) != 0)
                return static_cast<int>(PDATA_ERR_NO_MEMORY);
            build.hstring = &empty;
            uint8_t buf[16];
            uint32_t size = 0;
            return static_cast<int>(tag_table_serialize(build, buf, &size));
        },
        [&](int code) {
            ++nr_failed;
            EXPECT_EQ(code, PDATA_ERR_NO_MEMORY) << "allocation " << nr_failed;
        });
    EXPECT_GT(nr_failed, 0U);
}

TEST_F(tag_table, a_document_holds_128_tags)
{
    EXPECT_EQ(stderr_of([&] { (void)read(document(128)); }), "");
    EXPECT_EQ(build.nr_tag_ids, 128U);
    EXPECT_EQ(csa_str_view(build.slots[127].name), "127th");
    EXPECT_EQ(build.slots[127].id, 1127U);
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(read(document(129)), "none, 1: "); }),
              "Error: TAG_TABLE_DIM.\n"
              "json_to_tag_table: ")
        << "the front end has nothing to say";
}

TEST_F(tag_table, a_document_that_does_not_parse_gives_no_table)
{
    EXPECT_EQ(stderr_of([&] {
                  EXPECT_EQ(read("{]}"), "none, 1: parse failure on line: 1\n"
                                         "{]\n"
                                         "-^\n"
                                         "Expecting 'STRING', got ']'.\n");
              }),
              "")
        << "only a walk that stops prints";
    EXPECT_EQ(outcome(PDATA_SUCCESS), "0");
    const std::optional<tag_table_build> none = json_to_tag_table({}, {}, &pool.table, false);
    EXPECT_FALSE(none.has_value()) << "no document";
    clear_status_slot();
}

TEST_F(tag_table, a_document_is_checked_against_its_rules)
{
    const char *rules = R"({"nodes": [{}, {}], "transitions":
                            [{"from": 0, "to": 1, "trans": "{"}]})";
    EXPECT_EQ(read(R"({"tag_table": {}})", rules), "none, 1: Bad semantic.\n"
                                                   "Context: { \n"
                                                   "Unexpected type 'STRING': \"tag_table\".\n"
                                                   "Expected:\n");
    EXPECT_EQ(read(R"({"tag_table": {"a": 1}})", rules, true), "a=1");
}

TEST_F(tag_table, a_dump_has_two_lines_for_every_tag)
{
    json_text json(R"({"tag_table": {"video": 12, "audio": [3, 4]}})");
    ASSERT_EQ(json.parse(), 0);
    tag_table_t container;
    visitor_tag_table_t visitor;
    visitor_tag_table_init(&visitor, &container);
    ASSERT_EQ(json_visit(json.json, &visitor.visitor), 0);
    visitor_tag_table_cleanup(&visitor);
    EXPECT_EQ(stdout_of([&] { tag_table_dump(container); }),
              "name: video\nvalue: 12\nname: audio\nvalue: 3\nvalue: 4\n");
}

TEST_F(tag_table, the_states_of_the_visitor)
{
    EXPECT_EQ(TAG_TABLE_STATE_ROOT, 0U);
    EXPECT_EQ(TAG_TABLE_STATE_TAGS, 1U);
    EXPECT_EQ(TAG_TABLE_STATE_UNKNOWN, 2U);
}

} // namespace
