#include <gtest/gtest.h>

#include <memory>

#include "bytes.h"
#include "captured.h"
#include "document_test.h"
#include "failing_alloc.h"
#include "json_error.h"
#include "json_tools.h"
#include "protodesc_group.h"

namespace
{

class protodesc_group : public document_test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(hstring_init(&main_strings, 0), 0);
        group.main_hstring = &main_strings;
    }

    /// Sets the text, in memory of exactly its size, and sizes its group; gives the outcome.
    std::string size(const std::string &text)
    {
        pragmar_err_clear();
        exact.reset(new char[text.size()]);
        text.copy(exact.get(), text.size());
        group.json_text = {exact.get(), text.size()};
        return outcome(protodesc_json_get_tlv_size(&group, &group_size));
    }

    /// Sizes and writes the group of a text.
    std::vector<uint8_t> serialized(const std::string &text)
    {
        EXPECT_EQ(size(text), "0");
        std::vector<uint8_t> buf(group_size);
        size_t written = 0;
        EXPECT_EQ(outcome(protodesc_json_serialize(&group, buf, &written)), "0");
        EXPECT_EQ(written, group_size);
        return buf;
    }

    std::vector<std::string> main_texts()
    {
        std::vector<std::string> out;
        for (const hs_elt &elt : main_strings.hb_tab)
            out.emplace_back(elt.hse_str, elt.hse_len);
        return out;
    }

    std::unique_ptr<char[]> exact;
    size_t group_size = 0;
    hstring_build_t main_strings;
    protodesc_group_t group;
};

constexpr const char *NO_VALUE =
    OUTCOME_PRAGMAR ": parse failure on line: 1\n"
                    "Expecting 'STRING', 'NUMBER', 'NULL', 'TRUE', 'FALSE', '{', '[', got 'EOF'.\n";

TEST_F(protodesc_group, a_group_is_the_list_of_protocols_and_their_strings)
{
    const std::vector<uint8_t> one = serialized(R"({"protocols": [{"name": "a", "id": 7}]})");
    EXPECT_EQ(one, bytes("01000014"
                         "01000013"
                         "0100000A 00000007 00000000 00000004 00000000 00000001 00000000"
                         "         00000000 00000000 00000000 00000000"
                         "02000000 03000000 06000000 04000001 00000008 05000000"
                         "08000000 07000000"
                         "02000008 0001 'a 00 0001 0000"
                         "0015 'S'e'e' 'a't'l'a's' 'f'o'r' 'd'e't'a'i'l's 00"));
}

TEST_F(protodesc_group, protocols_share_their_string_table)
{
    const std::vector<uint8_t> two =
        serialized(R"({"x": [{"name": "a", "id": 7}, {"name": "b", "id": 8}]})");
    EXPECT_EQ(std::vector<uint8_t>(two.begin(), two.begin() + 4), bytes("01000028"));
    EXPECT_EQ(std::vector<uint8_t>(two.begin() + 84, two.begin() + 104),
              bytes("01000013 0100000A 00000008 00000020 00000004"))
        << "the second protocol: its name behind the first one's strings, its port among them";
    EXPECT_EQ(std::vector<uint8_t>(two.begin() + 164, two.begin() + 168), bytes("02000009"));
    EXPECT_EQ(std::vector<uint8_t>(two.end() - 4, two.end()), bytes("0001 'b 00"));
}

TEST_F(protodesc_group, whatever_the_key_says_is_accepted)
{
    const std::vector<uint8_t> named = serialized(R"({"protocols":[{"name":"a"}]})");
    EXPECT_EQ(serialized(R"({"":[{"name":"a"}]})"), named);
    EXPECT_EQ(serialized("\n{ \"a\\\"b\"\n:\t[ {\"name\":\"a\"} ] }"), named);
}

TEST_F(protodesc_group, up_to_three_bytes_may_follow_the_list)
{
    for (const char *tail : {"", "}", "}\n", "}\n\n", "xyz"})
        EXPECT_EQ(size(std::string(R"({"p":[{"name":"a"}])") + tail), "0") << tail;
    for (const char *tail : {"}\n\n\n", "    ", ",\"q\":[]}"})
        EXPECT_EQ(size(std::string(R"({"p":[{"name":"a"}])") + tail), OUTCOME_JSON_BAD_SYNTAX)
            << "no message";
}

TEST_F(protodesc_group, behind_a_protocol_stands_a_comma_or_the_end_of_the_list)
{
    for (const char *text :
         {R"({"p":[{"name":"a"} {"name":"b"}]})", R"({"p":[{"name":"a"})",
          R"({"p":[{"name":"a"}}])", R"({"p":[{"name":"a"}:]})", R"({"p":[{"name":"a"}x]})"})
        EXPECT_EQ(size(text), OUTCOME_JSON_BAD_SYNTAX) << text;
    EXPECT_EQ(size(R"({"p":[{"name":"a"},)"), NO_VALUE);
    EXPECT_EQ(size(R"({"p":[{"name":"a"},]})"), OUTCOME_PRAGMAR
              ": parse failure on line: 1\n"
              "]\n"
              "^\n"
              "Expecting 'STRING', 'NUMBER', 'NULL', 'TRUE', 'FALSE', '{', '[', got ']'.\n");
}

TEST_F(protodesc_group, a_list_needs_a_protocol)
{
    EXPECT_EQ(size(R"({"p":[]})"), OUTCOME_PRAGMAR
              ": parse failure on line: 1\n"
              "]\n"
              "^\n"
              "Expecting 'STRING', 'NUMBER', 'NULL', 'TRUE', 'FALSE', '{', '[', got ']'.\n");
    EXPECT_EQ(size(""), NO_VALUE);
    EXPECT_EQ(size("{"), NO_VALUE);
}

TEST_F(protodesc_group, a_text_that_begins_otherwise_fails_in_its_first_protocol)
{
    EXPECT_EQ(size(R"({"name":"a"})"), OUTCOME_ENGINE ": Empty string in protocol .")
        << "what follows the colon is no list, and no protocol either";
    EXPECT_EQ(size(R"([{"name":"a"}])"), OUTCOME_JSON_BAD_SYNTAX)
        << "a list of one, taken for a protocol";
    EXPECT_EQ(size(R"("p")"), OUTCOME_ENGINE ": Empty string in protocol .");
}

TEST_F(protodesc_group, the_failure_of_a_protocol_is_that_of_the_group)
{
    EXPECT_EQ(size(R"({"p":[{"name":"a"},{"name":1}]})"), OUTCOME_JSON_BAD_SEMANTIC ": ");
    EXPECT_EQ(size(R"({"p":[{"name":"a"},{"name":"b","altname":""}]})"),
              OUTCOME_ENGINE ": Empty string in protocol b.");
    EXPECT_EQ(size(R"({"p":[{"name":"a","rules":[{"order":"1:1","rule":
                       [{"protocol":"tcp","nothing":"x"}]}]}]})"),
              OUTCOME_PROTODESC_ATTR ": unknown WAY for tcp:nothing");
}

TEST_F(protodesc_group, strings_enter_in_the_order_of_their_words_and_rule_tags_the_main_table)
{
    uint32_t offset;
    ASSERT_EQ(hstring_get_offset(&main_strings, csa_str("before"), &offset), 0);
    const std::vector<uint8_t> buf = serialized(
        R"({"p":[{"name":"a","rules":[{"order":"1:1","rule-tags":["t1","t2"],
               "rule":[{"protocol":"tcp","port":"80"}]}]},
                 {"name":"b","rules":[{"order":"1:1","rule-tags":["t2","t3"],
               "rule":[{"protocol":"udp","port":"53"}]}]}]})");
    EXPECT_EQ(main_texts(), (std::vector<std::string>{"before", "t1", "t2", "t3"}));
    const std::string blob(buf.end() - 60, buf.end());
    EXPECT_NE(blob.find(std::string("\0\3tcp\0\0\4port\0\2"
                                    "80\0\1b\0\0\3udp\0\0\2"
                                    "53",
                                    30)),
              std::string::npos);
}

TEST_F(protodesc_group, warnings_appear_once_in_each_pass)
{
    const std::string text = R"({"p":[{"name":"web","rules":[{"order":"1:1","rule":
                               [{"protocol":"http","uri":["x","y"]}]}]}]})";
    const std::string warning = "[WARNING][#][protodesc_add_attr_name] protocol web attribute "
                                "http:uri user way both forced to property cts\n";
    EXPECT_EQ(mask_lines(stderr_of([&] { EXPECT_EQ(size(text), "0"); })), warning);
    EXPECT_EQ(mask_lines(stderr_of([&] { serialized(text); })), warning + warning);
}

TEST_F(protodesc_group, paths_are_checked_in_the_write_pass)
{
    const std::string text = R"({"p":[{"name":"web","rules":[{"order":"1:1","path":"ip","rule":
                               [{"protocol":"tcp","port":"80"}]}]}]})";
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(size(text), "0"); }), "");
    std::vector<uint8_t> buf(group_size);
    size_t written = 0;
    EXPECT_EQ(stderr_of([&] {
                  EXPECT_EQ(outcome(protodesc_json_serialize(&group, buf, &written)),
                            OUTCOME_INVALID_ARGUMENT);
              }),
              "Signature: <web> : path must be contain two elements at least.\n");
}

/// A protocol that is warned about, with a path.
std::string warned(const std::string &name, const std::string &path)
{
    return R"({"name":")" + name + R"(","rules":[{"order":"1:1","path":)" + path +
           R"(,"rule":[{"protocol":"http","uri":"x"}]}]})";
}

std::string warning_of(const std::string &name)
{
    return "[WARNING][#][protodesc_add_attr_name] protocol " + name +
           " attribute http:uri user way both forced to property cts\n";
}

TEST_F(protodesc_group, the_second_pass_ends_at_the_first_wrong_path)
{
    const std::string text = R"({"p":[)" + warned("a", R"(["ip","a"])") + "," +
                             warned("b", R"(["ip","tcp"])") + "," + warned("c", R"("ip")") + "]}";
    const std::string first = mask_lines(stderr_of([&] { EXPECT_EQ(size(text), "0"); }));
    EXPECT_EQ(first, warning_of("a") + warning_of("b") + warning_of("c"));
    std::vector<uint8_t> buf(group_size);
    size_t written = 0;
    const std::string second = mask_lines(stderr_of([&] {
        EXPECT_EQ(outcome(protodesc_json_serialize(&group, buf, &written)),
                  OUTCOME_INVALID_ARGUMENT);
    }));
    EXPECT_EQ(second, warning_of("a") + warning_of("b") +
                          "Signature <b>: Last element of the path <(tcp)> must be the protocol "
                          "itself.\n");
}

TEST_F(protodesc_group, a_later_failure_of_the_first_pass_comes_before_a_wrong_path)
{
    const std::string text = R"({"p":[)" + warned("a", R"("ip")") + R"(,{"name":1}]})";
    EXPECT_EQ(mask_lines(stderr_of([&] { EXPECT_EQ(size(text), OUTCOME_JSON_BAD_SEMANTIC ": "); })),
              warning_of("a"));
}

TEST_F(protodesc_group, a_message_that_fails_nothing_is_recorded_in_each_pass)
{
    const auto full = [](const std::string &name, const std::string &path) {
        std::string pairs;
        for (int i = 0; i < 9; ++i) // one value more than an attribute holds
            pairs += R"(,"stream_offset":{"offset":1,"pattern":"x"})";
        return R"({"name":")" + name + R"(","rules":[{"order":"1:1","path":)" + path +
               R"(,"rule":[{"protocol":"tcp")" + pairs + "}]}]}";
    };
    const std::string text =
        R"({"p":[)" + full("a", R"("ip")") + "," + full("b", R"(["ip","b"])") + "]}";
    EXPECT_EQ(size(text),
              "0 (recorded 100): Maximum number of attribute value (8) has been reached b.");
    std::vector<uint8_t> buf(group_size);
    size_t written = 0;
    stderr_of([&] {
        EXPECT_EQ(outcome(protodesc_json_serialize(&group, buf, &written)),
                  "2 (recorded 100): Maximum number of attribute value (8) has been reached a.");
    });
}

TEST_F(protodesc_group, each_pass_begins_with_a_fresh_record)
{
    // The first sub-rule leaves its scope and version identifier in the slot; the one without
    // attributes shows them, and in the second pass the very first slot is clean again.
    const std::string text = R"({"p":[{"name":"a","rules":[{"rule":[{"protocol":"x"}]}]},
                                      {"name":"b","virtual_id":5,"rules":[{"order":"1:1",
                                       "scope":"ssl","rule":[{"protocol":"tcp","port":"80"}]}]},
                                      {"name":"c","rules":[{"rule":[{"protocol":"x"}]}]}]})";
    EXPECT_EQ(serialized(text), serialized(text));
    EXPECT_EQ(serialized(text), serialized(text));
}

TEST_F(protodesc_group, a_group_that_does_not_fit_is_status_2)
{
    const std::string text = R"({"p":[{"name":"web","rules":[{"order":"1:1","rule":
                               [{"protocol":"tcp","port":"80"}]}]}]})";
    EXPECT_EQ(size(text), "0");
    for (size_t len = 0; len < group_size; ++len) {
        std::vector<uint8_t> buf(len);
        size_t written = 0;
        EXPECT_EQ(outcome(protodesc_json_serialize(&group, buf, &written)),
                  OUTCOME_INVALID_ARGUMENT)
            << len;
        EXPECT_EQ(written, group_size) << len;
    }
}

TEST_F(protodesc_group, protocols_are_rewritten_by_the_aliases)
{
    const alias_pair_t pair = {{csa_str("http"), csa_str("user_agent"), ATTR_WAY_CTS},
                               {csa_str("quic"), csa_str("user_agent"), ATTR_WAY_BOTH}};
    const std::string text = R"({"p":[{"name":"web","rules":[{"order":"1:1","rule":
                               [{"protocol":"http","cts-user_agent":"x"}]}]}]})";
    const std::vector<uint8_t> plain = serialized(text);
    ASSERT_EQ(outcome(matcher_alias_make_alias_keys(&group.aliases, {&pair, 1})), "0");
    const std::vector<uint8_t> rewritten = serialized(text);
    const std::string blob(rewritten.begin(), rewritten.end());
    EXPECT_NE(blob.find(std::string("\0\4quic\0\4http", 12)), std::string::npos)
        << "the protocol of the sub-rule, then the bottom protocol as it was written";
    EXPECT_NE(plain, rewritten);
}

TEST_F(protodesc_group, the_headers_around_a_group_state_its_length)
{
    constexpr size_t most = size_t{TLV_LEN_FIELD_MAX} * 4;
    const auto closed = [](size_t size) {
        tlv_sink_t sink = tlv_sink_counting();
        const protodesc_headers_t headers = protodesc_open_root(sink);
        (void)tlv_sink_take(sink, size);
        return outcome(protodesc_close_root(sink, headers));
    };
    const std::string limit = " is superior to internal limit 16777215";
    EXPECT_EQ(closed(most - 4), "0");
    EXPECT_EQ(closed(most), OUTCOME_OVERFLOW ": tlv len 1" + limit) << "the root has a word more";
    EXPECT_EQ(closed(most + 4), OUTCOME_OVERFLOW ": tlv len 1" + limit);
    std::vector<uint8_t> buf(12);
    tlv_sink_t sink = tlv_sink_writing(buf);
    const protodesc_headers_t headers = protodesc_open_root(sink);
    tlv_sink_put_word(sink, 0x77);
    ASSERT_EQ(outcome(protodesc_close_root(sink, headers)), "0");
    EXPECT_EQ(buf, bytes("01000002 01000001 00000077"));
}

TEST_F(protodesc_group, a_group_for_which_there_is_no_memory_is_a_status)
{
    const std::string text = R"({"p":[{"name":"web","rules":[{"order":"1:1","rule":
                               [{"protocol":"tcp","port":"80"}]}]}]})";
    ASSERT_EQ(size(text), "0");
    size_t nr_sink = 0;
    failing_alloc_sweep(
        [&] {
            csa_buf_t().swap(group.value); // its memory as well
            try {
                return static_cast<int>(protodesc_json_get_tlv_size(&group, &group_size));
            } catch (const std::bad_alloc &) {
                return static_cast<int>(PDATA_ERR_NO_MEMORY);
            }
        },
        [&](int code) {
            EXPECT_NE(code, PDATA_SUCCESS);
            nr_sink += group.value.empty() ? 1 : 0;
        });
    EXPECT_NE(nr_sink, 0U);
}

} // namespace
