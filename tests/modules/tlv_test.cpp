#include <gtest/gtest.h>

#include "bytes.h"
#include "tlv.h"
#include "tlv_sink.h"

namespace
{

TEST(tlv_write, stores_each_width_most_significant_byte_first)
{
    std::vector<uint8_t> buf(10, 0xEE);
    uint8_t *at = tlv_write(buf.data(), 0x12, 1);
    at = tlv_write(at, 0x3456, 2);
    at = tlv_write(at, 0x789ABC, 3);
    at = tlv_write(at, 0xDEF01234, 4);
    EXPECT_EQ(at, buf.data() + 10);
    EXPECT_EQ(buf, bytes("12 3456 789ABC DEF01234"));
}

TEST(tlv_write, cuts_one_and_two_byte_values)
{
    std::vector<uint8_t> buf(3);
    tlv_write(tlv_write(buf.data(), 0x1FF, 1), 0x12345, 2);
    EXPECT_EQ(buf, bytes("FF 2345"));
}

TEST(tlv_write, refuses_what_it_cannot_hold)
{
    std::vector<uint8_t> buf(4, 0xEE);
    EXPECT_EQ(tlv_write(buf.data(), 0x1000000, 3), nullptr);
    EXPECT_NE(tlv_write(buf.data(), 0xFFFFFF, 3), nullptr);
    EXPECT_EQ(tlv_write(nullptr, 1, 4), nullptr);
    EXPECT_EQ(tlv_write(buf.data(), 1, 0), nullptr);
    EXPECT_EQ(tlv_write(buf.data(), 1, 5), nullptr);
}

TEST(tlv_read, gives_each_width)
{
    auto buf = bytes("12 3456 789ABC DEF01234");
    uint32_t value = 0xAAAAAAAA;
    uint8_t *at = tlv_read(buf.data(), &value, 1);
    EXPECT_EQ(value, 0x12U);
    at = tlv_read(at, &value, 2);
    EXPECT_EQ(value, 0x3456U);
    at = tlv_read(at, &value, 3);
    EXPECT_EQ(value, 0x789ABCU);
    at = tlv_read(at, &value, 4);
    EXPECT_EQ(value, 0xDEF01234U);
    EXPECT_EQ(at, buf.data() + 10);
}

TEST(tlv_read, refuses_null_and_other_sizes)
{
    uint32_t value = 7;
    uint8_t byte = 1;
    EXPECT_EQ(tlv_read(nullptr, &value, 4), nullptr);
    EXPECT_EQ(tlv_read(&byte, &value, 0), nullptr);
    EXPECT_EQ(tlv_read(&byte, &value, 5), nullptr);
}

TEST(tlv_read, converts_in_place_but_for_three_bytes)
{
    auto buf = bytes("12 3456 789ABC DEF01234");
    uint8_t *at = tlv_read(buf.data(), nullptr, 1);
    at = tlv_read(at, nullptr, 2);
    at = tlv_read(at, nullptr, 3);
    at = tlv_read(at, nullptr, 4);
    EXPECT_EQ(at, buf.data() + 10);
    if (std::endian::native == std::endian::little)
        EXPECT_EQ(buf, bytes("12 5634 789ABC 3412F0DE"));
    else
        EXPECT_EQ(buf, bytes("12 3456 789ABC DEF01234"));
}

void emit_sample(tlv_sink_t &sink)
{
    const size_t blob = tlv_sink_open_blob(sink, 18);
    tlv_sink_put(sink, 0x0102, 2);
    tlv_sink_put_bytes(sink, "abc");
    tlv_sink_close_blob(sink, blob);
}

TEST(tlv_sink, counts_what_it_writes)
{
    tlv_sink_t counting = tlv_sink_counting();
    emit_sample(counting);
    EXPECT_EQ(counting.offset, 16U);

    std::vector<uint8_t> buf(counting.offset);
    tlv_sink_t writing = tlv_sink_writing(buf);
    emit_sample(writing);
    EXPECT_FALSE(writing.failed);
    EXPECT_EQ(writing.offset, counting.offset);
    EXPECT_EQ(buf, bytes("00000012 00000008 0102 'a'b'c 000000"));
}

TEST(tlv_sink, fails_where_the_buffer_ends)
{
    for (size_t size = 0; size < 16; ++size) {
        std::vector<uint8_t> buf(size);
        tlv_sink_t writing = tlv_sink_writing(buf);
        emit_sample(writing);
        EXPECT_TRUE(writing.failed) << size;
        EXPECT_EQ(writing.offset, 16U);
    }
}

TEST(tlv_sink, grows_with_the_output)
{
    for (size_t expected : {0U, 1U, 15U, 16U, 100U}) {
        csa_buf_t buf = {1, 2, 3};
        tlv_sink_t growing = tlv_sink_growing(buf, expected);
        csa_buf_t ten_samples;
        for (int i = 0; i < 10; ++i) {
            emit_sample(growing);
            const std::vector<uint8_t> sample = bytes("00000012 00000008 0102 'a'b'c 000000");
            ten_samples.insert(ten_samples.end(), sample.begin(), sample.end());
        }
        tlv_sink_finish(growing);
        EXPECT_EQ(buf, ten_samples) << expected;
    }
}

TEST(tlv_sink, counts_on_without_memory_to_grow)
{
    csa_buf_t buf;
    tlv_sink_t growing = tlv_sink_growing(buf, 0);
    emit_sample(growing);
    EXPECT_EQ(tlv_sink_take(growing, SIZE_MAX / 2 + 1), nullptr);
    EXPECT_TRUE(growing.failed);
    const size_t before = growing.offset;
    emit_sample(growing);
    EXPECT_EQ(growing.offset, before + 16);
    EXPECT_TRUE(buf.empty());
}

} // namespace
