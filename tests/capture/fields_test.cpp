#include <gtest/gtest.h>

#include <random>
#include <set>

#include "capture_fields.h"
#include "certificate.h"
#include "field_transform.h"
#include "pdb_attr_properties.h"

namespace
{

using namespace std::string_literals;

std::string transformed(std::string_view transformation, std::string_view text,
                        std::string_view payload = {}, int64_t size = -1)
{
    std::string all;
    for (const flow_attr_t &value : field_transform(transformation, {text, payload, size}))
        all += (all.empty() ? "" : " ") + flow_write_value(value) + (value.incomplete ? " !" : "");
    return all;
}

TEST(fields_test, every_attribute_has_a_row_for_every_source_or_says_none)
{
    size_t attributes = 0;
    for (const pdb_attr_properties_t &row : pdb_attr_properties_table()) {
        if (row.proper_proto == nullptr)
            break;
        ++attributes;
        for (const std::string_view source : {"tshark", "eve", "zeek"}) {
            std::set<bool> has;
            for (const capture_field_t &field : capture_fields())
                if (row.proper_proto == std::string_view(field.protocol) &&
                    row.proper_attr == std::string_view(field.attribute) && source == field.source)
                    has.insert(std::string_view(field.field) != "none");
            EXPECT_EQ(has.size(), 1u)
                << row.proper_proto << ':' << row.proper_attr << ' ' << source;
        }
    }
    EXPECT_EQ(attributes, 50u);
}

TEST(fields_test, every_row_is_of_a_known_attribute_and_way)
{
    for (const capture_field_t &field : capture_fields()) {
        const csa_attr_way_t allowed =
            pdb_matcher_get_allowed_way(csa_str(field.protocol), csa_str(field.attribute));
        EXPECT_NE(allowed, ATTR_WAY_UNKNOWN) << field.protocol << ':' << field.attribute;
        const bool other = (field.direction == "cts"s && allowed == ATTR_WAY_STC) ||
                           (field.direction == "stc"s && allowed == ATTR_WAY_CTS);
        EXPECT_FALSE(other) << field.protocol << ':' << field.attribute;
    }
}

TEST(fields_test, numbers)
{
    EXPECT_EQ(transformed("number", "46"), "46");
    EXPECT_EQ(transformed("number", "0"), "0");
    EXPECT_EQ(transformed("number", ""), "");
    EXPECT_EQ(transformed("number", "-1"), "");
}

TEST(fields_test, hosts)
{
    EXPECT_EQ(transformed("host", "a.example:8080"), "\"a.example\"");
    EXPECT_EQ(transformed("host", "[2001:db8::1]:80"), "\"2001:db8::1\"");
    EXPECT_EQ(transformed("host", "2001:db8::1"), "\"2001:db8::1\"");
    EXPECT_EQ(transformed("host", "["), "\"\"");
    EXPECT_EQ(transformed("url_host", "rtsp://u@h.example:554/x"), "\"h.example\"");
    EXPECT_EQ(transformed("sip_host", "sip:bob@h.example:5060;transport=udp"), "\"h.example\"");
}

TEST(fields_test, headers)
{
    EXPECT_EQ(transformed("host_header:host", "Host: a.example:80\r\n"), "\"a.example\"");
    EXPECT_EQ(transformed("header:server", "server:  x y \r\n"), "\"x y\"");
    EXPECT_EQ(transformed("header:server", "Servers: x\r\n"), "");
    EXPECT_EQ(transformed("line", "A: b\r\n"), "\"A: b\"");
}

TEST(fields_test, headers_of_a_payload)
{
    // "A: b\r\nServer: x \r\n\r\nServer: y\r\n"
    const std::string payload = "413a20620d0a5365727665723a207820"
                                "0d0a0d0a5365727665723a20790d0a";
    EXPECT_EQ(transformed("payload_header:server", payload), "\"x\"");
    EXPECT_EQ(transformed("payload_header:serve", payload), "");
    EXPECT_EQ(transformed("payload_header:server", payload.substr(0, 30)), "\"x\" !");
    EXPECT_EQ(transformed("payload_header:server", "zz"), "");
}

TEST(fields_test, urls)
{
    EXPECT_EQ(transformed("sized_url:x", "http://a/", "", 9), "\"http://a/\"");
    EXPECT_EQ(transformed("sized_url:x", "http://a/", "", 10), "\"http://a/\" !");
    EXPECT_EQ(transformed("sized_url:x", "objectEncoding", "", 14), "");
}

TEST(fields_test, what_was_cut_or_replaced_is_incomplete)
{
    EXPECT_EQ(transformed("host_header:host", "Host: ab"), "\"ab\" !");
    EXPECT_EQ(transformed("header:server", "Server: x\xEF\xBF\xBDy\r\n"), "\"x\" !");
    EXPECT_EQ(transformed("text", "/a", "GET /a\0b"s), "\"/a\" !");
    EXPECT_EQ(transformed("text", "/a", "GET /a HTTP"), "\"/a\"");
    EXPECT_EQ(transformed("sized:x", "abc", "", 5), "\"abc\" !");
    EXPECT_EQ(transformed("sized:x", "abc", "", 3), "\"abc\"");
    const std::string replaced = "\xEF\xBF\xBD";
    EXPECT_EQ(transformed("text", "a" + replaced + "b"), "\"a\" !");
    EXPECT_EQ(transformed("sip_host", "sip:u@h" + replaced), "\"h\" !");
    EXPECT_EQ(transformed("sip_host", "sip:u@h;x" + replaced), "\"h\"") << "what was cut is behind";
    EXPECT_EQ(transformed("path", "/a" + replaced), "\"/a\" !");
    EXPECT_EQ(transformed("path", "/a?b" + replaced), "\"/a\"");
}

// A text and a frame of one letter are nearly alike everywhere: that takes no longer to tell.
TEST(fields_test, a_frame_may_repeat_its_text_nearly)
{
    const std::string text(1000000, 'a');
    const std::string frame = std::string(3000000, 'a') + "b\0"s;
    EXPECT_EQ(field_transform("text", {text, frame, -1}).front().incomplete, false);
    EXPECT_EQ(field_transform("text", {text, text + "\0"s, -1}).front().incomplete, true);
}

TEST(fields_test, names)
{
    EXPECT_EQ(name_part("C=US, O=Example, Inc., CN=w.example", "O"), "Example, Inc.");
    EXPECT_EQ(name_part("CN=w.example,O=Example\\, Inc.,C=US", "O"), "Example, Inc.");
    EXPECT_EQ(name_part("C=US, O=x", "CN"), "");
    EXPECT_EQ(name_part("CN=", "CN"), "");
    EXPECT_EQ(name_part("O=a,b", "O"), "a,b") << "no key behind the comma";
    EXPECT_EQ(name_part("O=a, =b,CN=c", "O"), "a, =b");
    EXPECT_EQ(name_part("O=a\\", "O"), "a\\") << "a backslash in front of nothing";
}

/// A DER element.
std::string der(uint8_t tag, const std::string &content)
{
    return static_cast<char>(tag) + std::string(1, static_cast<char>(content.size())) + content;
}

/// Tags of texts: of bytes, and of two bytes a character.
constexpr uint8_t UTF8_TEXT = 0x0C;
constexpr uint8_t BMP_TEXT = 0x1E;

std::string name_of(const std::string &oid, const std::string &text, uint8_t tag)
{
    return der(0x31, der(0x30, der(0x06, oid) + der(tag, text)));
}

std::string certificate(const std::string &name = "c.example", uint8_t tag = UTF8_TEXT)
{
    const std::string subject = der(0x30, name_of("\x55\x04\x0A", "Ex Inc", UTF8_TEXT) +
                                              name_of("\x55\x04\x03", name, tag));
    const std::string names = der(0x30, der(0x82, "a.example") + der(0x82, "b.example"));
    const std::string extension =
        der(0xA3, der(0x30, der(0x30, der(0x06, "\x55\x1D\x11") + der(0x04, names))));
    return der(0x30,
               der(0x30, der(0xA0, "\x02\x01\x02") + der(0x02, "\x01") + der(0x30, "") +
                             der(0x30, "") + der(0x30, "") + subject + der(0x30, "") + extension));
}

TEST(fields_test, certificates)
{
    const certificate_t read = certificate_read(certificate());
    EXPECT_EQ(read.common_names, std::vector<std::string>{"c.example"});
    EXPECT_EQ(read.organizations, std::vector<std::string>{"Ex Inc"});
    EXPECT_EQ(read.alt_names, (std::vector<std::string>{"a.example", "b.example"}));
}

// Of names of two bytes a character, those of ASCII are taken.
TEST(fields_test, certificates_with_names_of_two_bytes_a_character)
{
    using names_t = std::vector<std::string>;
    EXPECT_EQ(certificate_read(certificate("\0c\0.\0e"s, BMP_TEXT)).common_names, names_t{"c.e"});
    EXPECT_EQ(certificate_read(certificate("\0c\0.\0"s, BMP_TEXT)).common_names, names_t{"c."});
    EXPECT_EQ(certificate_read(certificate("\0c\x04\x3F"s, BMP_TEXT)).common_names, names_t{""});
}

TEST(fields_test, damaged_certificates_and_texts_lead_to_values_at_most)
{
    std::mt19937 random(3);
    const std::string whole = certificate();
    for (int round = 0; round < 20000; ++round) {
        std::string damaged = whole.substr(0, random() % (whole.size() + 1));
        for (uint32_t edit = random() % 4; edit > 0 && !damaged.empty(); --edit)
            damaged[random() % damaged.size()] = static_cast<char>(random() % 256);
        (void)certificate_read(damaged);
        for (const capture_field_t &field : capture_fields())
            if (round % 50 == 0)
                (void)field_transform(field.transformation, {damaged, whole, -1});
    }
}

TEST(fields_test, hexadecimal)
{
    EXPECT_EQ(hex_bytes("00fF"), "\0\xFF"s);
    EXPECT_EQ(hex_bytes("00:ff"), "\0\xFF"s);
    EXPECT_EQ(hex_bytes("0"), "");
    EXPECT_EQ(hex_bytes("0g"), "");
    EXPECT_EQ(hex_bytes("00:"), "");
}

} // namespace
