/// The rule builder: registered rules, and the rule engine table.
#include <new>

#include "bytes.h"
#include "failing_alloc.h"
#include "loadable_fixture.h"
#include "rule_builder.h"

namespace
{

struct builder_t {
    rule_builder_t rules;
    uint32_t rule_id = 0;

    builder_t()
    {
        clear_status_slot();
        rule_builder_init(&rules);
    }
    /// Registers items, each with its referer mark and its sub-rule.
    std::string add(const word_list &items, const word_list &referers, const word_list &sub_rules,
                    uint32_t flags = 0, uint32_t priority = 0, uint32_t scope = 0)
    {
        std::vector<rule_registration_item_t> registered;
        for (size_t i = 0; i < items.size(); ++i)
            registered.push_back({items[i], referers[i], sub_rules[i]});
        return outcome(
            rule_builder_register(&rules, {registered, priority, flags, scope}, &rule_id));
    }
    std::vector<uint8_t> table() const
    {
        std::vector<uint8_t> out(rule_builder_get_size(rules));
        EXPECT_EQ(outcome(rule_builder_serialize(rules, out)), "0");
        return out;
    }
};

TEST(rule_builder, rule_ids_count_from_one_and_carry_the_flags)
{
    builder_t builder;
    EXPECT_EQ(builder.add({5}, {0}, {0}), "0");
    EXPECT_EQ(builder.rule_id, 1U);
    EXPECT_EQ(builder.add({6}, {0}, {0}, 8 | 3), "0");
    EXPECT_EQ(builder.rule_id, 2U);
    EXPECT_EQ(builder.rules.rules[0].id, 1U);
    EXPECT_EQ(builder.rules.rules[1].id, 0xB0000002U);
    EXPECT_EQ(builder.rules.nb_rules, 2U);
    EXPECT_EQ(builder.rules.nb_items, 7U);
}

TEST(rule_builder, items_of_the_first_sub_rule_get_the_low_bits)
{
    builder_t builder;
    EXPECT_EQ(builder.add({1, 2, 3, 4}, {0, 0, 0, 0}, {1, 0, 1, 0}), "0");
    EXPECT_EQ(builder.table(), bytes("01 000014"
                                     "00000000 00000000 00000000 00000000"
                                     "00000001 00000000 00000000 0002000F"
                                     "00000001 00000000 00000000 0000000F"
                                     "00000001 00000000 00000000 0003000F"
                                     "00000001 00000000 00000000 0001000F"));
}

TEST(rule_builder, a_referer_among_several_items_sets_the_top_bit)
{
    builder_t builder;
    EXPECT_EQ(builder.add({1, 2}, {0, 1}, {0, 0}), "0");
    EXPECT_EQ(builder.rules.rules[0].bitset_full, 0x80000003U);
    EXPECT_EQ(builder.add({3, 4}, {0, 1}, {0, 1}), "0");
    EXPECT_EQ(builder.rules.rules[1].bitset_full, 0x80000003U);
    EXPECT_EQ(builder.add({5}, {1}, {0}), "0");
    EXPECT_EQ(builder.rules.rules[2].bitset_full, 1U);
}

TEST(rule_builder, sixteen_items_register_and_seventeen_do_not)
{
    builder_t builder;
    word_list items;
    for (uint32_t i = 1; i <= 16; ++i)
        items.push_back(i);
    EXPECT_EQ(builder.add(items, word_list(16), word_list(16)), "0");
    EXPECT_EQ(builder.rules.rules[0].bitset_full, 0xFFFFU);
    items.push_back(17);
    EXPECT_EQ(builder.add(items, word_list(17), word_list(17)),
              OUTCOME_INVALID_ARGUMENT ": Too many items when registering rule 17 \n");
    EXPECT_EQ(builder.rules.nb_rules, 1U);
}

TEST(rule_builder, an_item_without_an_id_or_of_a_third_sub_rule_gets_no_bit)
{
    builder_t builder;
    EXPECT_EQ(builder.add({0, 2, 3}, {1, 0, 1}, {0, 2, 0}), "0");
    EXPECT_EQ(builder.rules.rules[0].nb_items, 3U);
    EXPECT_EQ(builder.table(), bytes("01 000010"
                                     "00000000 00000000 00000000 00000000"
                                     "00000000 00000000 00000000 00000000"
                                     "00000000 00000000 00000000 00000000"
                                     "00000001 00000000 00000000 80000001"));
}

TEST(rule_builder, the_table_has_a_slot_of_four_words_for_every_item_id)
{
    builder_t builder;
    EXPECT_EQ(builder.add({1, 3}, {0, 0}, {0, 0}, 8, 0x01020304, 0x800), "0");
    EXPECT_EQ(builder.table(), bytes("01 000010"                              // 16 words follow
                                     "00000000 00000000 00000000 00000000"    // item 0
                                     "80000001 01020304 00000800 00000003"    // item 1: bit 0
                                     "00000000 00000000 00000000 00000000"    // item 2: nobody's
                                     "80000001 01020304 00000800 00010003")); // item 3: bit 1
}

TEST(rule_builder, without_rules_the_table_is_a_header)
{
    EXPECT_EQ(builder_t().table(), bytes("01 000000"));
}

TEST(rule_builder, items_that_got_no_bit_write_nothing)
{
    builder_t builder;
    EXPECT_EQ(builder.add({0, 2, 1}, {0, 0, 0}, {0, 2, 0}), "0");
    EXPECT_EQ(builder.table(), bytes("01 000008"
                                     "00000000 00000000 00000000 00000000"
                                     "00000001 00000000 00000000 00000001"));
}

TEST(rule_builder, of_two_rules_with_one_item_the_older_keeps_the_slot)
{
    builder_t builder;
    EXPECT_EQ(builder.add({1}, {0}, {0}), "0");
    EXPECT_EQ(builder.add({1}, {0}, {0}), "0");
    EXPECT_EQ(builder.table(), bytes("01 000008"
                                     "00000000 00000000 00000000 00000000"
                                     "00000001 00000000 00000000 00000001"));
}

TEST(rule_builder, a_buffer_of_another_size_is_refused)
{
    builder_t builder;
    EXPECT_EQ(builder.add({1}, {0}, {0}), "0");
    std::vector<uint8_t> out(rule_builder_get_size(builder.rules) + 4);
    EXPECT_EQ(outcome(rule_builder_serialize(builder.rules, out)),
              OUTCOME_INVALID_ARGUMENT ": Rule builder len failure \n");
    EXPECT_EQ(outcome(rule_builder_serialize(builder.rules, std::span(out).subspan(8))),
              OUTCOME_INVALID_ARGUMENT ": Rule builder len failure \n");
}

TEST(rule_builder, an_item_beyond_the_table_is_refused)
{
    builder_t builder;
    EXPECT_EQ(builder.add({1, 2}, {0, 0}, {0, 0}), "0");
    builder.rules.nb_items = 2;
    std::vector<uint8_t> out(rule_builder_get_size(builder.rules));
    EXPECT_EQ(outcome(rule_builder_serialize(builder.rules, out)),
              OUTCOME_RULE_ENGINE ": Internal bug, bad item id.\n");
}

TEST(rule_builder, a_failed_allocation_is_a_status)
{
    const rule_registration_item_t one[] = {{1, 0, 0}};
    failing_alloc_sweep(
        [&] {
            uint32_t rule_id;
            try {
                rule_builder_t rules; // an empty queue may allocate as well
                return static_cast<int>(rule_builder_register(&rules, {one, 0, 0, 0}, &rule_id));
            } catch (const std::bad_alloc &) {
                return static_cast<int>(PDATA_ERR_NO_MEMORY);
            }
        },
        [](int status) { EXPECT_EQ(status, PDATA_ERR_NO_MEMORY); });
}

TEST(rule_builder, cleaning_starts_the_ids_again)
{
    builder_t builder;
    EXPECT_EQ(builder.add({9}, {0}, {0}), "0");
    rule_builder_clean(&builder.rules);
    EXPECT_EQ(builder.table(), bytes("01 000000"));
    EXPECT_EQ(builder.add({1}, {0}, {0}), "0");
    EXPECT_EQ(builder.rule_id, 1U);
}

} // namespace
