#include <gtest/gtest.h>

#include <random>

#include "flow.h"

namespace
{

using namespace std::string_literals;

flow_values_t read(std::string_view line)
{
    flow_values_t values;
    flow_error_t error;
    EXPECT_TRUE(flow_read(line, values, error)) << error.column << ": " << error.text;
    return values;
}

/// The column and text of what is wrong with a line.
std::string mistake(std::string_view line)
{
    flow_values_t values;
    flow_error_t error;
    if (flow_read(line, values, error))
        return "none";
    return std::to_string(error.column) + ": " + error.text;
}

flow_attr_t bytes_value(std::string bytes)
{
    flow_attr_t value;
    value.protocol = "tcp";
    value.attribute = "stream";
    value.way = FLOW_WAY_CTS;
    value.kind = FLOW_BYTES;
    value.bytes = std::move(bytes);
    return value;
}

} // namespace

TEST(flow, a_line_has_values_of_every_kind)
{
    const flow_values_t values = read("ip:address stc 192.0.2.7;ip6:address cts 2001:db8::1 ; "
                                      "tcp:port stc 443; has quic ;http:uri cts \"/a\"");
    ASSERT_EQ(values.size(), 5U);
    EXPECT_EQ(values[0].kind, FLOW_IP4);
    EXPECT_EQ(values[0].way, FLOW_WAY_STC);
    EXPECT_EQ(values[0].address[3], 7);
    EXPECT_EQ(values[1].kind, FLOW_IP6);
    EXPECT_EQ(values[1].address[15], 1);
    EXPECT_EQ(values[2].kind, FLOW_NUMBER);
    EXPECT_EQ(values[2].number, 443U);
    EXPECT_EQ(values[3].kind, FLOW_PROTOCOL);
    EXPECT_EQ(values[3].protocol, "quic");
    EXPECT_EQ(values[4].kind, FLOW_BYTES);
    EXPECT_EQ(values[4].protocol, "http");
    EXPECT_EQ(values[4].attribute, "uri");
    EXPECT_EQ(values[4].bytes, "/a");
}

TEST(flow, a_text_may_hold_every_byte)
{
    EXPECT_EQ(read("tcp:stream cts \"\\x00\\xfF;\\\\\\\"\"")[0].bytes, "\0\xff;\\\""s);
    EXPECT_EQ(read("tcp:stream cts \"\\x00\"*4+\"SMB\"")[0].bytes, "\0\0\0\0SMB"s);
    EXPECT_EQ(read("tcp:stream cts \"a\"*0+\"b\"*2")[0].bytes, "bb");
    EXPECT_EQ(read("tcp:stream cts \"\"*4294967295")[0].bytes, "");
}

TEST(flow, a_value_may_be_incomplete)
{
    EXPECT_TRUE(read("http:uri cts \"/a\"...")[0].incomplete);
    EXPECT_TRUE(read("http:uri cts \"/a\"*2+\"b\"...; has http")[0].incomplete);
    EXPECT_FALSE(read("http:uri cts \"/a\"")[0].incomplete);
}

TEST(flow, an_empty_line_has_no_values)
{
    EXPECT_TRUE(read("").empty());
    EXPECT_TRUE(read("   ").empty());
    EXPECT_EQ(read("tcp:port cts 1;").size(), 1U) << "a separator at the end is no value";
}

TEST(flow, a_mistake_is_named_with_its_column)
{
    EXPECT_EQ(mistake("tcp:port cts 1; :port cts 2"), "17: a protocol's name is missing");
    EXPECT_EQ(mistake("tcp: cts 2"), "5: an attribute's name is missing");
    EXPECT_EQ(mistake("tcp:port both 2"), "10: a direction is cts or stc");
    EXPECT_EQ(mistake("tcp:port cts"), "13: a value is a number, an address or a text in quotes");
    EXPECT_EQ(mistake("tcp:port cts 99999999999999999999"),
              "14: a value is a number, an address or a text in quotes");
    EXPECT_EQ(mistake("tcp:port cts -1"),
              "14: a value is a number, an address or a text in quotes");
    EXPECT_EQ(mistake("tcp:port cts 1 2"), "16: values stand apart by \";\"");
    EXPECT_EQ(mistake("quic"), "5: a protocol is followed by \":\" and an attribute");
    EXPECT_EQ(mistake("has "), "5: a protocol's name is missing");
    EXPECT_EQ(mistake("has quic tcp"), "10: values stand apart by \";\"");
    EXPECT_EQ(mistake("http:uri cts \"a\".."), "17: values stand apart by \";\"");
    EXPECT_EQ(mistake("tcp:stream cts \"a"), "16: the text has no closing quote");
    EXPECT_EQ(mistake("tcp:stream cts \"\\n\""), "17: a backslash is followed by \\, \" or xHH");
    EXPECT_EQ(mistake("tcp:stream cts \"\\x1\""), "17: a backslash is followed by \\, \" or xHH");
    EXPECT_EQ(mistake("tcp:stream cts \"\\x"), "17: a backslash is followed by \\, \" or xHH");
    EXPECT_EQ(mistake("tcp:stream cts \"a\"*b"), "19: * is followed by a number");
    EXPECT_EQ(mistake("tcp:stream cts \"a\"+b"), "20: a text begins with a quote");
}

TEST(flow, a_text_is_bounded)
{
    EXPECT_EQ(read("tcp:stream cts \"ab\"*524288")[0].bytes.size(), FLOW_TEXT_MAX);
    EXPECT_EQ(mistake("tcp:stream cts \"ab\"*524289"), "20: the text is longer than 1048576 bytes");
    EXPECT_EQ(mistake("tcp:stream cts \"" + std::string(FLOW_TEXT_MAX + 1, 'a') + '"'),
              "16: the text is longer than 1048576 bytes");
    EXPECT_EQ(mistake("tcp:stream cts \"ab\"*524288+\"c\""),
              "16: the text is longer than 1048576 bytes");
}

// Of a short line, which repetitions make long, too.
TEST(flow, the_texts_of_a_line_are_bounded)
{
    std::string line;
    for (int i = 0; i < 64; ++i)
        line += "tcp:stream cts \"a\"*1048576; ";
    EXPECT_EQ(read(line).size(), 64u);
    EXPECT_EQ(mistake(line + "tcp:stream cts \"\"; tcp:stream cts \"b\""),
              std::to_string(line.size() + 35) +
                  ": the texts of the flow are longer than 67108864 bytes");
}

TEST(flow, is_written_as_it_is_read)
{
    const std::string line = "ip:address stc 192.0.2.7; ip6:address cts 2001:db8::1; tcp:port stc "
                             "443; has quic; http:uri cts \"/\\\"\\\\\\x00\\xff\"...";
    EXPECT_EQ(flow_write(read(line)), line);
}

TEST(flow, every_text_survives_writing_and_reading)
{
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::string bytes(random() % 40, '\0');
        for (char &byte : bytes)
            byte = static_cast<char>(random() % 3 == 0 ? random() : 32 + random() % 96);
        const flow_values_t values = {bytes_value(bytes)};
        EXPECT_EQ(read(flow_write(values)), values);
    }
}

TEST(flow, values_differ_by_every_member)
{
    const flow_attr_t value = bytes_value("a");
    EXPECT_EQ(value, bytes_value("a"));
    const auto differs = [&value](auto flow_attr_t::*member, auto other) {
        flow_attr_t changed = value;
        changed.*member = other;
        return changed != value;
    };
    EXPECT_TRUE(differs(&flow_attr_t::protocol, "udp"));
    EXPECT_TRUE(differs(&flow_attr_t::attribute, "port"));
    EXPECT_TRUE(differs(&flow_attr_t::way, FLOW_WAY_STC));
    EXPECT_TRUE(differs(&flow_attr_t::kind, FLOW_NUMBER));
    EXPECT_TRUE(differs(&flow_attr_t::bytes, "b"));
    EXPECT_TRUE(differs(&flow_attr_t::number, 1U));
    EXPECT_TRUE(differs(&flow_attr_t::address, std::array<uint8_t, 16>{1}));
    EXPECT_TRUE(differs(&flow_attr_t::incomplete, true));
    EXPECT_EQ(flow_write_value({}), "") << "a protocol has no value";
}

TEST(flow, no_line_is_too_odd_to_be_read_or_refused)
{
    std::mt19937 random(2);
    const std::string alphabet = "a:; \"\\x0*+1.cts";
    for (int round = 0; round < 20000; ++round) {
        std::string line(random() % 30, ' ');
        for (char &c : line)
            c = alphabet[random() % alphabet.size()];
        flow_values_t values;
        flow_error_t error;
        if (!flow_read(line, values, error)) {
            EXPECT_GE(error.column, 1U);
            EXPECT_LE(error.column, line.size() + 1) << line;
        }
    }
}
