#include <gtest/gtest.h>

#include <cstring>

#include "bytes.h"
#include "outcome.h"
#include "tlv_description.h"

namespace
{

class tlv_description : public testing::Test
{
protected:
    void SetUp() override { clear_status_slot(); }
};

struct searched_t {
    pdata_status_t status;
    std::ptrdiff_t position; ///< bytes from the start of the area
    uint32_t len;
};

searched_t search(uint32_t type, const std::vector<uint8_t> &area)
{
    const uint8_t *at = area.data();
    uint32_t len = 0;
    const pdata_status_t status =
        tlv_type_search(type, area.data(), static_cast<uint32_t>(area.size()), &at, &len);
    return {status, at - area.data(), len};
}

/// The bytes that the two searches of careful readers give; "none" for none.
std::string found(uint32_t type, const std::vector<uint8_t> &area, bool whole)
{
    std::span<const uint8_t> bytes_found;
    const pdata_status_t status = whole ? tlv_record_search(type, area, &bytes_found)
                                        : tlv_value_search(type, area, &bytes_found);
    if (status != PDATA_SUCCESS)
        return status == PDATA_ERR_TLV_NOT_FOUND ? "none" : "another status";
    const auto at = static_cast<size_t>(bytes_found.data() - area.data());
    return std::to_string(at) + "+" + std::to_string(bytes_found.size());
}

TEST_F(tlv_description, words_are_stored_most_significant_byte_first)
{
    std::vector<uint8_t> buf(4);
    tlv_set(buf.data(), 0x01020304);
    EXPECT_EQ(buf, bytes("01 02 03 04"));
    EXPECT_EQ(tlv_get(buf.data()), 0x01020304U);
}

TEST_F(tlv_description, pushes_advance_the_word_offset)
{
    std::vector<uint8_t> buf(16);
    uint32_t offset = 1;
    EXPECT_EQ(outcome(tlv_push_type_len(5, 2, buf.data(), &offset)), "0");
    EXPECT_EQ(tlv_push_val(0xA1B2C3D4, buf.data(), &offset), PDATA_SUCCESS);
    EXPECT_EQ(tlv_direct_push_val(0x11223344, buf.data(), &offset), PDATA_SUCCESS);
    EXPECT_EQ(offset, 4U);
    const uint32_t in_host_order = 0x11223344;
    std::vector<uint8_t> expected = bytes("00000000 05000002 A1B2C3D4 00000000");
    std::memcpy(expected.data() + 12, &in_host_order, 4);
    EXPECT_EQ(buf, expected);
}

TEST_F(tlv_description, a_header_reads_as_type_and_length)
{
    const std::vector<uint8_t> buf = bytes("0100000A FF123456");
    uint32_t offset = 0;
    uint32_t type = 0;
    uint32_t len = 0;
    EXPECT_EQ(tlv_pop_type_len(buf.data(), &offset, &type, &len), PDATA_SUCCESS);
    EXPECT_EQ(type, 1U);
    EXPECT_EQ(len, 10U);
    EXPECT_EQ(tlv_pop_type_len(buf.data(), &offset, &type, &len), PDATA_SUCCESS);
    EXPECT_EQ(type, 255U);
    EXPECT_EQ(len, 0x123456U);
    EXPECT_EQ(offset, 2U);
}

TEST_F(tlv_description, popped_words_stand_in_host_order)
{
    std::vector<uint8_t> buf = bytes("01020304 05060708 090A0B0C");
    uint32_t offset = 0;
    EXPECT_EQ(tlv_pop_val(buf.data(), &offset), 0x01020304U);
    EXPECT_EQ(tlv_pop_nval(buf.data(), &offset, 2), buf.data());
    EXPECT_EQ(offset, 3U);
    uint32_t host[3];
    std::memcpy(host, buf.data(), sizeof(host));
    EXPECT_EQ(host[0], 0x01020304U);
    EXPECT_EQ(host[1], 0x05060708U);
    EXPECT_EQ(host[2], 0x090A0B0CU);
    EXPECT_EQ(tlv_pop_nval(buf.data(), &offset, 0), buf.data());
    EXPECT_EQ(offset, 3U);
}

/// Pushes a header into one word; gives the outcome and what the word holds.
std::string pushed(uint32_t type, uint32_t len)
{
    uint8_t buf[4] = {0xEE, 0xEE, 0xEE, 0xEE};
    uint32_t offset = 0;
    const std::string text = outcome(tlv_push_type_len(type, len, buf, &offset));
    char word[16];
    std::snprintf(word, sizeof(word), " %08X+%u", tlv_get(buf), offset);
    return text + word;
}

TEST_F(tlv_description, a_type_beyond_255_is_refused)
{
    EXPECT_EQ(pushed(255, 0), "0 FF000000+1");
    EXPECT_EQ(pushed(256, 0),
              OUTCOME_OVERFLOW ": tlv type 256 is superior to internal limit 255 EEEEEEEE+0");
}

TEST_F(tlv_description, a_length_beyond_the_limit_is_refused_with_the_type_in_the_message)
{
    const char *message =
        OUTCOME_OVERFLOW ": tlv len 5 is superior to internal limit 33554431 EEEEEEEE+0";
    EXPECT_EQ(pushed(5, 33554432), message);
    EXPECT_EQ(pushed(5, 0xFFFFFFFF), message);
    EXPECT_EQ(pushed(256, 33554432),
              OUTCOME_OVERFLOW ": tlv len 256 is superior to internal limit 33554431 EEEEEEEE+0")
        << "the length is checked first";
}

TEST_F(tlv_description, a_length_of_25_bits_spills_into_the_stored_type)
{
    EXPECT_EQ(pushed(4, 16777215), "0 04FFFFFF+1");
    EXPECT_EQ(pushed(4, 16777216), "0 05000000+1");
    EXPECT_EQ(pushed(4, 33554431), "0 05FFFFFF+1");
    EXPECT_EQ(pushed(5, 16777216), "0 05000000+1");
}

TEST_F(tlv_description, a_search_finds_the_first_sibling_of_a_type)
{
    const std::vector<uint8_t> area =
        bytes("01000001 03000000 03000000 02000002 0A0A0A0A 0B0B0B0B 03000001 0C0C0C0C");
    const searched_t one = search(1, area);
    EXPECT_EQ(one.status, PDATA_SUCCESS);
    EXPECT_EQ(one.position, 4);
    EXPECT_EQ(one.len, 4U);
    const searched_t three = search(3, area);
    EXPECT_EQ(three.position, 12) << "behind the value that looks like a record, of length 0";
    EXPECT_EQ(three.len, 0U);
    EXPECT_EQ(search(2, area).position, 16);
    EXPECT_EQ(search(2, area).len, 8U);
    EXPECT_EQ(outcome(search(4, area).status), OUTCOME_TLV_NOT_FOUND) << "no message";
}

TEST_F(tlv_description, an_area_without_a_whole_word_holds_nothing)
{
    EXPECT_EQ(search(0, {}).status, PDATA_ERR_TLV_NOT_FOUND);
    EXPECT_EQ(search(1, bytes("010000")).status, PDATA_ERR_TLV_NOT_FOUND);
    EXPECT_EQ(search(1, bytes("01000000 0200")).status, PDATA_SUCCESS);
    EXPECT_EQ(search(2, bytes("01000000 0200")).status, PDATA_ERR_TLV_NOT_FOUND);
}

TEST_F(tlv_description, a_header_that_claims_more_than_the_whole_area_ends_the_search)
{
    const std::vector<uint8_t> area = bytes("01000004 02000000 02000000");
    EXPECT_EQ(search(2, area).status, PDATA_ERR_TLV_NOT_FOUND);
    EXPECT_EQ(search(1, area).status, PDATA_ERR_TLV_NOT_FOUND);
    EXPECT_EQ(search(1, bytes("01FFFFFF")).status, PDATA_ERR_TLV_NOT_FOUND);
}

TEST_F(tlv_description, a_record_that_claims_more_than_what_remains_is_taken)
{
    const std::vector<uint8_t> area = bytes("01000001 00000000 02000004 00000000");
    const searched_t two = search(2, area);
    EXPECT_EQ(two.status, PDATA_SUCCESS);
    EXPECT_EQ(two.position, 12);
    EXPECT_EQ(two.len, 16U);
    EXPECT_EQ(search(3, area).status, PDATA_ERR_TLV_NOT_FOUND) << "the walk ends behind it";
}

TEST_F(tlv_description, careful_readers_take_only_records_that_end_within_the_area)
{
    const std::vector<uint8_t> area = bytes("01000001 AAAAAAAA 02000000 03000002 BBBBBBBB");
    EXPECT_EQ(found(1, area, false), "4+4");
    EXPECT_EQ(found(1, area, true), "0+8");
    EXPECT_EQ(found(2, area, false), "12+0");
    EXPECT_EQ(found(2, area, true), "8+4");
    EXPECT_EQ(found(3, area, false), "none");
    EXPECT_EQ(found(3, area, true), "none");
    EXPECT_EQ(found(4, area, true), "none");
    EXPECT_EQ(found(1, {}, true), "none");
    EXPECT_EQ(found(1, bytes("0100 0001 CCCC"), true), "none") << "half a value";
}

TEST_F(tlv_description, every_root_type_is_available_in_order)
{
    for (uint32_t i = 0; i < 13; ++i)
        EXPECT_EQ(pdb_root_tlv_type_available[i], i);
    EXPECT_EQ(sizeof(pdb_root_tlv_type_available) / sizeof(uint32_t), 13U);
}

TEST_F(tlv_description, the_root_types_in_use)
{
    EXPECT_EQ(TLV_TYPE_ROOT_PROTODESCS, 1U);
    EXPECT_EQ(TLV_TYPE_ROOT_STRING, 3U);
    EXPECT_EQ(TLV_TYPE_ROOT_MATCHERS, 4U);
    EXPECT_EQ(TLV_TYPE_ROOT_RULES, 5U);
    EXPECT_EQ(TLV_TYPE_ROOT_VERSION, 6U);
    EXPECT_EQ(TLV_TYPE_ROOT_DEFAULT_LOADED, 7U);
    EXPECT_EQ(TLV_TYPE_ROOT_TAGS, 9U);
    EXPECT_EQ(TLV_TYPE_ROOT_MATCHER_ALIAS, 10U);
    EXPECT_EQ(TLV_TYPE_ROOT_CFG, 11U);
    EXPECT_EQ(TLV_TYPE_ROOT_LOAD, 12U);
}

/// Emits a record that holds a record and three bytes.
pdata_status_t emit_nested(tlv_sink_t &sink)
{
    const size_t outer = tlv_open_record(sink);
    const size_t inner = tlv_open_record(sink);
    tlv_sink_put(sink, 0xABCDEF, 3);
    const pdata_status_t status = tlv_close_record(sink, inner, 2);
    return status == PDATA_SUCCESS ? tlv_close_record(sink, outer, 1) : status;
}

TEST_F(tlv_description, a_record_is_sized_and_written_by_the_same_function)
{
    tlv_sink_t counting = tlv_sink_counting();
    EXPECT_EQ(emit_nested(counting), PDATA_SUCCESS);
    EXPECT_EQ(counting.offset, 12U);
    std::vector<uint8_t> buf(counting.offset);
    tlv_sink_t writing = tlv_sink_writing(buf);
    EXPECT_EQ(emit_nested(writing), PDATA_SUCCESS);
    EXPECT_FALSE(writing.failed);
    EXPECT_EQ(buf, bytes("01000002 02000001 ABCDEF00"));
}

TEST_F(tlv_description, a_record_that_does_not_fit_writes_nothing_outside_its_buffer)
{
    for (size_t size = 0; size < 12; ++size) {
        std::vector<uint8_t> buf(size);
        tlv_sink_t sink = tlv_sink_writing(buf);
        EXPECT_EQ(emit_nested(sink), PDATA_SUCCESS);
        EXPECT_TRUE(sink.failed) << size;
    }
}

TEST_F(tlv_description, a_record_of_more_than_24_bits_of_words_is_refused_while_counting)
{
    for (const size_t words : {0xFFFFFFUL, 0x1000000UL}) {
        tlv_sink_t sink = tlv_sink_counting();
        const size_t header = tlv_open_record(sink);
        (void)tlv_sink_take(sink, words * 4); // counted only
        EXPECT_EQ(outcome(tlv_close_record(sink, header, 7)),
                  words == 0xFFFFFF ? "0"
                                    : OUTCOME_OVERFLOW
                      ": tlv len 7 is superior to internal limit 16777215");
    }
}

} // namespace
