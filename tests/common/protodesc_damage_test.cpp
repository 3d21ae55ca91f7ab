#include <gtest/gtest.h>

#include <random>
#include <set>

#include "description_reader.h"
#include "outcome.h"
#include "rounds.h"
#include "string_pool.h"
#include "words.h"

namespace
{

/// A stored description in which every record of the format stands at least once.
struct sample_t {
    string_pool pool;
    std::vector<uint8_t> buf;
    hstring_t strings;

    sample_t()
    {
        const uint32_t http = pool.put("http");
        const uint32_t ip = pool.put("ip");
        const uint32_t tcp = pool.put("tcp");
        const uint32_t text = pool.put("See atlas for details");
        const word_list stream = record(6, {2, text, http, tcp, 0, 40});
        const word_list port = record(2, {19, tcp, ip, text});
        const word_list sub_rules = rule_part(
            {record(4, {tcp, tcp, 8, 9}), record(3, {0, 7}), record(2, join({stream, port}))});
        const word_list old_sub_rules =
            rule_part({record(1, {ip, 1, 2}), record(3, {0}), record(2, record(1, {3, ip, tcp}))});
        const word_list rules[] = {
            record(1, join({record(8, {5, 0, 0x802, 7, 1, 1, 2, ip, http, 1, text}), sub_rules})),
            record(2, join({record(7, {5, 0, 0x802, 0, 0, 0, 0}), sub_rules})),
            record(2, join({record(6, {5, 0, 1, 1, 1, ip, 1, tcp}), old_sub_rules})),
            record(2, join({record(5, {5, 1, 2, ip, http, 0}), old_sub_rules})),
            record(2, join({record(4, {5, 0, 1, text}), old_sub_rules})),
            record(2, join({record(1, {5, ip, http}), old_sub_rules})),
        };
        word_list offsets;
        word_list list;
        for (const word_list &rule : rules) {
            offsets.push_back(static_cast<uint32_t>(list.size()));
            list = join({list, rule});
        }
        buf = stored(
            join({record(1, {0x01000043, http, text, 1, 1, 0, 1, 2, 3, 0}), record(2, {text, http}),
                  record(3, {ip, text}), record(6, {text}), record(4, {text}),
                  record(5, {http, ip}), record(8, offsets), record(7, list)}));
        strings = pool.view();
    }

    /// Offset list and list of the one sub-rule whose records these are.
    static word_list rule_part(std::initializer_list<word_list> records)
    {
        return join({record(3, {0}), record(2, record(2, join(records)))});
    }
};

/// Reads a description from memory of exactly its size; the status must be one that reading knows.
pdata_status_t walk(const std::vector<uint8_t> &buf, const hstring_t &strings)
{
    static const std::set<pdata_status_t> known = {PDATA_SUCCESS, PDATA_ERR_INVALID_ARGUMENT,
                                                   PDATA_ERR_PROTODESC_ATTR,
                                                   PDATA_ERR_TLV_NOT_FOUND, PDATA_ERR_ENGINE};
    const std::vector<uint8_t> exact(buf);
    protocol_model protocol;
    const pdata_status_t status = read_protocol(exact, strings, strings, &protocol);
    EXPECT_TRUE(known.contains(status)) << status;
    return status;
}

TEST(protodesc_damage, the_sample_reads_whole)
{
    const sample_t sample;
    protocol_model protocol;
    EXPECT_EQ(outcome(read_protocol(sample.buf, sample.strings, sample.strings, &protocol)), "0");
    ASSERT_EQ(protocol.rules.size(), 6U);
    for (uint32_t i = 0; i < 6; ++i) {
        EXPECT_EQ(protocol.rules[i].meta_version, 6 - i);
        ASSERT_EQ(protocol.rules[i].sub_rules.size(), 1U) << i;
        EXPECT_EQ(protocol.rules[i].sub_rules[0].attrs.size(), i < 2 ? 2U : 1U);
    }
    EXPECT_EQ(protocol.rules[5].path, (std::vector<std::string>{"ip", "http"}));
    EXPECT_EQ(protocol.rules[0].sub_rules[0].attrs[0].values[1].second, 40U);
}

TEST(protodesc_damage, cut_at_every_length)
{
    const sample_t sample;
    // Behind these records, and with what is left of a word behind them, a description is whole.
    std::set<size_t> whole;
    for (size_t at = 0; at < sample.buf.size();
         at += (size_t{sample.buf[at + 3]} + size_t{sample.buf[at + 2]} * 256 + 1) * 4)
        for (size_t rest = 0; rest < 4; ++rest)
            whole.insert(at + rest);
    for (size_t len = 0; len < sample.buf.size(); ++len) {
        const std::vector<uint8_t> cut(sample.buf.begin(),
                                       sample.buf.begin() + static_cast<long>(len));
        const pdata_status_t status = walk(cut, sample.strings);
        if (!whole.contains(len)) {
            EXPECT_EQ(status, PDATA_ERR_INVALID_ARGUMENT) << len;
        }
    }
    clear_status_slot();
}

TEST(protodesc_damage, every_bit_flipped)
{
    const sample_t sample;
    for (size_t bit = 0; bit < sample.buf.size() * 8; ++bit) {
        std::vector<uint8_t> flipped = sample.buf;
        flipped[bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
        (void)walk(flipped, sample.strings); // only how it reads matters
    }
    clear_status_slot();
}

TEST(protodesc_damage, bytes_overwritten_at_random)
{
    const sample_t sample;
    std::mt19937 random(20240607);
    for (uint32_t round = 0; round < rounds(20000); ++round) {
        std::vector<uint8_t> damaged = sample.buf;
        for (auto n = 1 + random() % 8; n != 0; --n)
            damaged[random() % damaged.size()] = static_cast<uint8_t>(random() >> random() % 25);
        (void)walk(damaged, sample.strings); // only how it reads matters
    }
    clear_status_slot();
}

TEST(protodesc_damage, words_replaced_by_large_and_small_numbers)
{
    const sample_t sample;
    const uint32_t numbers[] = {0,          1,          2,          8,          0xFF,
                                0x3FFFFFFF, 0x40000000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF,
                                0x01FFFFFF, 0x02FFFFFF, 0x08FFFFFF, 0x07000000};
    for (size_t at = 0; at < sample.buf.size(); at += 4) {
        for (const uint32_t number : numbers) {
            std::vector<uint8_t> damaged = sample.buf;
            for (size_t byte = 0; byte < 4; ++byte)
                damaged[at + byte] = static_cast<uint8_t>(number >> (24 - 8 * byte));
            (void)walk(damaged, sample.strings); // only how it reads matters
        }
    }
    clear_status_slot();
}

TEST(protodesc_damage, string_tables_cut_and_flipped)
{
    const sample_t sample;
    for (uint32_t len = 0; len <= sample.strings.hs_len; ++len) {
        const std::vector<uint8_t> cut(sample.strings.hs_str, sample.strings.hs_str + len);
        (void)walk(sample.buf, {cut.data(), len}); // only how it reads matters
    }
    std::vector<uint8_t> table(sample.strings.hs_str,
                               sample.strings.hs_str + sample.strings.hs_len);
    for (uint8_t &byte : table) {
        const uint8_t before = byte;
        byte = 0xFF;
        (void)walk(sample.buf, {table.data(), sample.strings.hs_len}); // as above
        byte = before;
    }
    clear_status_slot();
}

} // namespace
