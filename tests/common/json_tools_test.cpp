#include <gtest/gtest.h>

#include <string>

#include "failing_alloc.h"
#include "json_text.h"
#include "json_tools.h"

namespace
{

class json_tools : public testing::Test
{
protected:
    void TearDown() override { string_list_clean(); }
};

/// Unescapes a text and checks the copy's terminator.
std::string unescaped(std::string_view text)
{
    size_t len = text.size();
    const char *copy = string_assign(text.data(), &len);
    EXPECT_EQ(copy[len], '\0');
    return {copy, len};
}

TEST_F(json_tools, a_backslash_and_the_character_behind_it_become_one_byte)
{
    EXPECT_EQ(unescaped(R"(a\tb)"), "a\tb");
    EXPECT_EQ(unescaped(R"(\b\f\n\r\t)"), std::string({8, 12, 10, 13, 9}));
    EXPECT_EQ(unescaped(R"(\"\\\/)"), "\"\\/");
    EXPECT_EQ(unescaped(R"(\\.)"), "\\.");
    EXPECT_EQ(unescaped(R"(\\\\n)"), "\\\\n");
    EXPECT_EQ(unescaped(R"(\\n)"), "\\n") << "an escaped backslash escapes nothing";
}

TEST_F(json_tools, any_other_character_behind_a_backslash_stands_for_itself)
{
    EXPECT_EQ(unescaped(R"(\u0041)"), "u0041");
    EXPECT_EQ(unescaped(R"(\x\0\B)"), "x0B");
    for (int c = 0; c < 256; ++c) {
        const char byte = static_cast<char>(c);
        if (std::string_view("bfnrt").find(byte) == std::string_view::npos) {
            EXPECT_EQ(char_escaped(byte), byte);
        }
    }
    EXPECT_EQ(char_escaped('b'), 8);
    EXPECT_EQ(char_escaped('f'), 12);
    EXPECT_EQ(char_escaped('n'), 10);
    EXPECT_EQ(char_escaped('r'), 13);
    EXPECT_EQ(char_escaped('t'), 9);
}

TEST_F(json_tools, a_text_without_escapes_is_copied)
{
    const std::string text("with a \0 byte and \xFF", 19);
    EXPECT_EQ(unescaped(text), text);
    EXPECT_EQ(unescaped(""), "");
    EXPECT_EQ(unescaped("\\"), "\\") << "nothing stands behind the backslash";
    EXPECT_EQ(unescaped("ab\\"), "ab\\");
}

TEST_F(json_tools, a_counted_text_keeps_its_length_modulo_65536)
{
    csa_str_t str;
    set_string_from_charstar(&str, "a\\nb", 4);
    EXPECT_EQ(csa_str_view(str), "a\nb");
    std::string text(65535, 'x');
    set_string_from_charstar(&str, text.data(), text.size());
    EXPECT_EQ(str.str_len, 65535);
    text += "yz";
    set_string_from_charstar(&str, text.data(), text.size());
    EXPECT_EQ(str.str_len, 1);
    EXPECT_EQ(csa_str_view(str), "x");
    text = "\\x" + text.substr(1); // 65538 bytes in the text, 65537 unescaped
    set_string_from_charstar(&str, text.data(), text.size());
    EXPECT_EQ(str.str_len, 1) << "what counts is the copy's length";
}

TEST_F(json_tools, a_null_source_gives_the_absent_text)
{
    csa_str_t str = csa_str("before");
    set_string_from_charstar(&str, nullptr, 3);
    EXPECT_EQ(str.str_buf, nullptr);
    EXPECT_EQ(str.str_len, 0);
    str = csa_str("before");
    set_string_from_json(&str, nullptr);
    EXPECT_EQ(str.str_buf, nullptr);
    EXPECT_EQ(str.str_len, 0);
}

TEST_F(json_tools, an_empty_text_is_present)
{
    csa_str_t str;
    set_string_from_charstar(&str, "", 0);
    EXPECT_NE(str.str_buf, nullptr);
    EXPECT_EQ(str.str_len, 0);
}

TEST_F(json_tools, values_of_nodes)
{
    json_text json(R"([ "a\/b", 4294967295, true, false, null ])");
    ASSERT_EQ(json.parse(), 0);
    json_node_t *string = json.value()->child;
    json_node_t *number = string->next;
    json_node_t *yes = number->next;
    csa_str_t str;
    set_string_from_json(&str, json_as_string(string));
    EXPECT_EQ(csa_str_view(str), "a/b");
    EXPECT_EQ(get_number_from_json(json_as_number(number)), 4294967295U);
    EXPECT_EQ(get_number_from_json(nullptr), 0U);
    EXPECT_EQ(get_boolean_from_json(json_as_atom(yes)), 1U);
    EXPECT_EQ(get_boolean_from_json(json_as_atom(yes->next)), 0U);
    EXPECT_EQ(get_boolean_from_json(json_as_atom(yes->next->next)), 0U);
    EXPECT_EQ(get_boolean_from_json(nullptr), 0U);
}

TEST_F(json_tools, texts_live_until_the_list_is_cleaned)
{
    std::vector<char *> texts;
    for (int i = 0; i < 1000; ++i) {
        texts.push_back(alloc_from_string_list(100));
        ASSERT_NE(texts.back(), nullptr);
        std::fill_n(texts.back(), 100, static_cast<char>(i));
    }
    for (size_t i = 0; i < texts.size(); ++i)
        for (int at = 0; at < 100; ++at)
            ASSERT_EQ(texts[i][at], static_cast<char>(i));
    string_list_clean();
    string_list_clean();
    EXPECT_NE(alloc_from_string_list(1), nullptr) << "the list is used again";
}

TEST_F(json_tools, no_memory_gives_the_absent_text_and_no_error)
{
    const std::string text(100000, 'x'); // more than the list has at hand
    csa_str_t str = csa_str("before");
    failing_alloc_arm(1);
    set_string_from_charstar(&str, text.data(), text.size());
    ASSERT_TRUE(failing_alloc_disarm());
    EXPECT_EQ(str.str_buf, nullptr);
    EXPECT_EQ(str.str_len, 0);
    size_t len = text.size();
    failing_alloc_arm(1);
    EXPECT_EQ(string_assign(text.data(), &len), nullptr);
    ASSERT_TRUE(failing_alloc_disarm());
}

} // namespace
