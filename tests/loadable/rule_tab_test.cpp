/// The rule table: items by rule, and the order of its chains.
#include "builder_fixture.h"

namespace
{

struct table_t {
    pdb_rule_tab_t tab;
    uint32_t nr_rule = 0;

    explicit table_t(uint32_t nr_line = 0)
    {
        clear_status_slot();
        pdb_rule_tab_init(&tab, nr_line);
    }
    std::string add(pdb_rule_key_t key, const pdb_rule_item_t &item, uint32_t rule_max_attr = 16)
    {
        return outcome(pdb_rule_tab_add(&tab, key, item, &nr_rule, rule_max_attr));
    }
    /// The complete table: per rule its key, the bytes of its values, and "item/referer/sub-rule".
    std::string text()
    {
        pdb_rule_tab_finalize(&tab);
        memory_log_t log;
        pdb_rule_tab_print(tab, log.file);
        return log.str();
    }
};

TEST(rule_tab, no_number_of_chains_means_1024)
{
    EXPECT_EQ(table_t().tab.rt_tab.size(), 1024U);
    EXPECT_EQ(table_t(8).tab.rt_tab.size(), 8U);
}

TEST(rule_tab, items_of_one_rule_are_kept_in_the_order_of_registration)
{
    table_t table;
    EXPECT_EQ(table.add({3, 1}, {10, 1, 0, 4}), "0");
    EXPECT_EQ(table.add({2, 0}, {5, 0, 0, 1}), "0"); // between them one of another rule
    EXPECT_EQ(table.add({3, 1}, {7, 0, 1, 0}), "0");
    EXPECT_EQ(table.nr_rule, 2U);
    EXPECT_EQ(table.text(), "2:0 1 5/0/0\n"
                            "3:1 4 10/1/0 7/0/1\n");
}

TEST(rule_tab, rules_are_told_apart_although_their_hashes_are_equal)
{
    table_t table;
    EXPECT_EQ(table.add({0, 4}, {1, 0, 0, 0}), "0");
    EXPECT_EQ(table.add({1, 0}, {2, 0, 0, 0}), "0");
    EXPECT_EQ(pdb_rule_tab_hash_key({0, 4}), pdb_rule_tab_hash_key({1, 0}));
    EXPECT_EQ(table.nr_rule, 2U);
    EXPECT_EQ(pdb_rule_tab_find_elt(table.tab, {0, 0}), nullptr);
    EXPECT_EQ(pdb_rule_tab_find_elt(table.tab, {2, 0}), nullptr);
    EXPECT_EQ(pdb_rule_tab_find_elt(table.tab, {1, 0})->re_key.rk_proto_idx, 1U);
    EXPECT_EQ(table.text(), "1:0 0 2/0/0\n" // of one chain, the newest rule first
                            "0:4 0 1/0/0\n");
}

TEST(rule_tab, the_hash_is_four_times_the_protocol_plus_the_rule)
{
    EXPECT_EQ(pdb_rule_tab_hash_key({5, 2}), 22U);
    EXPECT_EQ(pdb_rule_tab_hash_key({0x40000000, 1}), 1U);
}

TEST(rule_tab, a_full_rule_takes_no_more_items)
{
    table_t table;
    for (uint32_t i = 1; i <= 16; ++i)
        EXPECT_EQ(table.add({0, 0}, {i, 0, 0, 2}), "0");
    EXPECT_EQ(table.add({0, 0}, {17, 0, 0, 2}), OUTCOME_OVERFLOW ": maximum item id reached 16.");
    EXPECT_EQ(pdb_rule_tab_find_elt(table.tab, {0, 0})->re_nr_item, 16U);
    EXPECT_EQ(pdb_rule_tab_find_elt(table.tab, {0, 0})->re_sum_attr_len, 32U);
}

TEST(rule_tab, cleaning_empties_it)
{
    table_t table;
    EXPECT_EQ(table.add({0, 0}, {1, 0, 0, 0}), "0");
    pdb_rule_tab_clean(&table.tab);
    EXPECT_EQ(pdb_rule_tab_find_elt(table.tab, {0, 0}), nullptr);
}

TEST(rule_tab, only_a_rule_that_was_filed_is_found)
{
    table_t table;
    EXPECT_EQ(table.add({3, 1}, {10, 1, 0, 4}), "0");
    for (uint32_t protocol = 0; protocol < 5; ++protocol)
        for (uint32_t rule = 0; rule < 3; ++rule)
            EXPECT_EQ(pdb_rule_tab_find_elt(table.tab, {protocol, rule}) != nullptr,
                      protocol == 3 && rule == 1);
}

} // namespace
