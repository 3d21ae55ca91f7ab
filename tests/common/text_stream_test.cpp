#include <gtest/gtest.h>

#include "outcome.h"
#include "text_stream.h"

namespace
{

TEST(text_stream, pieces_are_appended)
{
    clear_status_slot();
    text_stream_t stream = {{}, 100, false};
    EXPECT_EQ(text_stream_print(&stream, "size (%lu)\n", 40UL), PDATA_SUCCESS);
    EXPECT_EQ(text_stream_print(&stream, "%s %u,", "\n   ", 255U), PDATA_SUCCESS);
    EXPECT_EQ(text_stream_print(&stream, "%s", ""), PDATA_SUCCESS);
    EXPECT_EQ(stream.text, "size (40)\n\n    255,");
}

TEST(text_stream, a_piece_may_be_of_any_length)
{
    for (const size_t len : {255UL, 256UL, 257UL, 100000UL}) {
        const std::string piece(len, 'p');
        text_stream_t stream = {{}, len + 3, false};
        EXPECT_EQ(text_stream_print(&stream, "%s", "a"), PDATA_SUCCESS);
        EXPECT_EQ(text_stream_print(&stream, "%s%d", piece.c_str(), 7), PDATA_SUCCESS);
        EXPECT_EQ(stream.text, std::string("a") + piece + "7");
        EXPECT_EQ(outcome(text_stream_print(&stream, "%s", "x")), OUTCOME_IO);
    }
}

TEST(text_stream, one_byte_of_the_size_is_the_terminators)
{
    text_stream_t stream = {{}, 5, false};
    EXPECT_EQ(text_stream_print(&stream, "%s", "abcd"), PDATA_SUCCESS);
    EXPECT_EQ(stream.text, "abcd");
    EXPECT_EQ(stream.text.c_str()[4], '\0');
    stream = {{}, 4, false};
    EXPECT_EQ(outcome(text_stream_print(&stream, "%s", "abcd")), OUTCOME_IO) << "no message";
    EXPECT_EQ(stream.text, "");
}

TEST(text_stream, a_piece_that_does_not_fit_ends_the_text)
{
    text_stream_t stream = {{}, 8, false};
    EXPECT_EQ(text_stream_print(&stream, "%s", "abc"), PDATA_SUCCESS);
    EXPECT_EQ(outcome(text_stream_print(&stream, "%s", "defghi")), OUTCOME_IO);
    EXPECT_EQ(outcome(text_stream_print(&stream, "%s", "d")), OUTCOME_IO) << "it takes no more";
    EXPECT_EQ(stream.text, "abc");
}

TEST(text_stream, a_stream_without_size_takes_nothing)
{
    text_stream_t stream;
    EXPECT_EQ(outcome(text_stream_print(&stream, "%s", "")), OUTCOME_IO);
}

TEST(text_stream, a_byte_and_what_stands_around_it_have_32_bytes)
{
    const std::string before(20, '(');
    const std::string after(9, ')');
    text_stream_t stream = {{}, 100, false};
    EXPECT_EQ(text_stream_put_byte(&stream, before, 255, after), PDATA_SUCCESS);
    EXPECT_EQ(stream.text, before + "255" + after);
    EXPECT_EQ(outcome(text_stream_put_byte(&stream, before, 1, after + ")")), OUTCOME_IO);
    EXPECT_EQ(stream.text, before + "255" + after);
}

} // namespace
