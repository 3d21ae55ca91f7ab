/// The matcher table: values filed under protocol, attribute and direction.
#include "builder_fixture.h"
#include "failing_alloc.h"
#include "pdb_matcher_tab.h"

namespace
{

matcher_key_t key_of(std::string_view proto, std::string_view attr, uint32_t way)
{
    return {csa_str(proto), csa_str(attr), way};
}

struct table_t {
    pdb_matcher_tab_t tab;

    table_t()
    {
        clear_status_slot();
        pdb_matcher_tab_init(&tab);
    }
    std::string add(const matcher_key_t &key, std::string_view val, uint32_t min_data = 0,
                    uint32_t pattern_offset = 0)
    {
        return outcome(
            pdb_matcher_tab_add(&tab, key, {{1, 2}, csa_str(val), min_data, 1, pattern_offset}));
    }
    /// The list of a key, which must be there.
    const pdb_matcher_list_t &list(const matcher_key_t &key) const
    {
        return *pdb_matcher_tab_find(tab, key);
    }
    const pdb_matcher_elt &oldest(const matcher_key_t &key) const
    {
        return list(key).matcher_elts.front();
    }
    /// The values of a list as they are built: newest first.
    std::string values(const matcher_key_t &key)
    {
        const pdb_matcher_list_t *list = pdb_matcher_tab_find(tab, key);
        if (list == nullptr)
            return "no list";
        std::string text;
        for (auto elt = list->matcher_elts.rbegin(); elt != list->matcher_elts.rend(); ++elt)
            text += std::string(csa_str_view(elt->matcher_elt_val)) + " ";
        return text;
    }
};

TEST(matcher_tab, values_of_one_key_share_a_list)
{
    table_t table;
    EXPECT_EQ(table.add(key_of("tcp", "port", ATTR_WAY_CTS), "80"), "0");
    EXPECT_EQ(table.add(key_of("tcp", "port", ATTR_WAY_CTS), "443"), "0");
    EXPECT_EQ(pdb_matcher_tab_get_nr(table.list(key_of("tcp", "port", ATTR_WAY_CTS))), 2U);
    EXPECT_EQ(printed(table.tab), "tcp port 1\n"
                                  "  1:2 443\n"
                                  "  1:2 80\n");
}

TEST(matcher_tab, directions_attributes_and_protocols_have_lists_of_their_own)
{
    table_t table;
    EXPECT_EQ(table.add(key_of("tcp", "port", ATTR_WAY_CTS), "1"), "0");
    EXPECT_EQ(table.add(key_of("tcp", "port", ATTR_WAY_STC), "2"), "0");
    EXPECT_EQ(table.add(key_of("udp", "port", ATTR_WAY_CTS), "3"), "0");
    EXPECT_EQ(table.add(key_of("tcp", "payload_len", ATTR_WAY_CTS), "4"), "0");
    EXPECT_EQ(printed(table.tab), "tcp payload_len 1\n  1:2 4\n"
                                  "udp port 1\n  1:2 3\n"
                                  "tcp port 2\n  1:2 2\n"
                                  "tcp port 1\n  1:2 1\n");
    EXPECT_EQ(table.values(key_of("tcp", "port", ATTR_WAY_STC)), "2 ");
    // Only together do the names differ here.
    EXPECT_EQ(table.values(key_of("tcpp", "ort", ATTR_WAY_CTS)), "no list");
}

TEST(matcher_tab, a_value_of_both_directions_is_filed_twice_and_its_copies_know_each_other)
{
    table_t table;
    EXPECT_EQ(table.add(key_of("tcp", "port", ATTR_WAY_BOTH), "80"), "0");
    // The list of the client's direction is the older one: it is built second.
    EXPECT_EQ(printed(table.tab), "tcp port 2\n  1:2 80\n"
                                  "tcp port 1\n  1:2 80\n");
    const pdb_matcher_elt &cts = table.oldest(key_of("tcp", "port", ATTR_WAY_CTS));
    const pdb_matcher_elt &stc = table.oldest(key_of("tcp", "port", ATTR_WAY_STC));
    EXPECT_EQ(cts.matcher_elt_force, &stc);
    EXPECT_EQ(stc.matcher_elt_force, &cts);
    EXPECT_EQ(cts.matcher_elt_force_id, 0U);
    EXPECT_EQ(table.values(key_of("tcp", "port", ATTR_WAY_BOTH)), "no list");
}

TEST(matcher_tab, a_value_of_one_direction_has_no_twin)
{
    table_t table;
    EXPECT_EQ(table.add(key_of("tcp", "port", ATTR_WAY_STC), "80"), "0");
    const pdb_matcher_elt &elt = table.oldest(key_of("tcp", "port", ATTR_WAY_STC));
    EXPECT_EQ(elt.matcher_elt_force, nullptr);
    EXPECT_EQ(elt.matcher_elt_idx.item_proto_idx, 1U);
    EXPECT_EQ(elt.matcher_elt_idx.item_rule_idx, 2U);
    EXPECT_EQ(elt.srule_id, 1U);
}

TEST(matcher_tab, another_direction_files_nothing_and_succeeds)
{
    table_t table;
    EXPECT_EQ(table.add(key_of("tcp", "port", ATTR_WAY_UNKNOWN), "80"), "0");
    EXPECT_EQ(table.add(key_of("tcp", "port", 4), "80"), "0");
    EXPECT_EQ(printed(table.tab), "");
}

TEST(matcher_tab, the_largest_minimum_and_the_largest_offset_are_kept)
{
    table_t table;
    const matcher_key_t both = key_of("tcp", "stream", ATTR_WAY_BOTH);
    EXPECT_EQ(table.add(both, "a", 10, 3), "0");
    EXPECT_EQ(table.add(key_of("tcp", "stream", ATTR_WAY_CTS), "b", 40, 1), "0");
    EXPECT_EQ(table.add(both, "c", 20, 7), "0");
    const pdb_matcher_list_t &cts = table.list(key_of("tcp", "stream", ATTR_WAY_CTS));
    const pdb_matcher_list_t &stc = table.list(key_of("tcp", "stream", ATTR_WAY_STC));
    EXPECT_EQ(cts.matcher_list_min_data, 40U);
    EXPECT_EQ(cts.matcher_list_offset, 7U);
    EXPECT_EQ(stc.matcher_list_min_data, 20U);
    EXPECT_EQ(stc.matcher_list_offset, 7U);
    EXPECT_EQ(cts.matcher_elts[1].matcher_elt_pattern_offset, 1U);
}

TEST(matcher_tab, names_are_compared_by_length_and_then_up_to_a_zero_byte)
{
    using namespace std::string_view_literals;
    table_t table;
    EXPECT_EQ(table.add(key_of("t\0ab"sv, "port", ATTR_WAY_CTS), "1"), "0");
    EXPECT_EQ(table.add(key_of("t\0cd"sv, "port", ATTR_WAY_CTS), "2"), "0");
    EXPECT_EQ(table.add(key_of("t\0c"sv, "port", ATTR_WAY_CTS), "3"), "0");
    EXPECT_EQ(table.add(key_of("T\0cd"sv, "port", ATTR_WAY_CTS), "4"), "0");
    EXPECT_EQ(printed(table.tab), "T port 1\n  1:2 4\n"
                                  "t port 1\n  1:2 3\n"
                                  "t port 1\n  1:2 2\n  1:2 1\n");
    EXPECT_EQ(table.values(key_of("t\0xx"sv, "port", ATTR_WAY_CTS)), "2 1 ");
}

TEST(matcher_tab, a_failed_allocation_is_a_status_and_the_table_stays_usable)
{
    const matcher_key_t both = key_of("tcp", "port", ATTR_WAY_BOTH);
    bool failed = true;
    for (size_t nth = 1; failed; ++nth) {
        table_t table;
        failing_alloc_arm(nth);
        const pdata_status_t status =
            pdb_matcher_tab_add(&table.tab, both, {{0, 0}, csa_str("80"), 0, 0, 0});
        failed = failing_alloc_disarm();
        EXPECT_EQ(status, failed ? PDATA_ERR_NO_MEMORY : PDATA_SUCCESS);
        EXPECT_EQ(table.add(both, "81"), "0");
        const std::string values = table.values(key_of("tcp", "port", ATTR_WAY_STC));
        EXPECT_EQ(values.substr(0, 3), "81 ");
    }
}

TEST(matcher_tab, a_build_counts_the_values_that_it_files)
{
    clear_status_slot();
    pdb_build_t build;
    const pdb_config_t config = {32, 100, 16, 2, 4};
    EXPECT_EQ(outcome(pdb_init(&build, &config)), "0");
    EXPECT_EQ(build.pdb_build_item_id, 1U);
    EXPECT_EQ(build.pdb_build_nr_rule, 0U);
    EXPECT_EQ(build.pdb_build_rule_tab.rt_tab.size(), 1024U);
    EXPECT_EQ(pdb_matcher_get_nr(build), 0U);
    const pdb_matcher_value_t value = {{0, 0}, csa_str("80"), 0, 0, 0};
    EXPECT_EQ(outcome(pdb_matcher_register(&build, key_of("tcp", "port", ATTR_WAY_BOTH), value)),
              "0");
    EXPECT_EQ(outcome(pdb_matcher_register(&build, key_of("tcp", "port", 9), value)), "0");
    EXPECT_EQ(pdb_matcher_get_nr(build), 2U); // one value, although filed twice, and one not filed
    pdb_clean(&build);
    EXPECT_EQ(printed(build.pdb_build_matcher_tab), "");
    EXPECT_EQ(printed(build.pdb_build_rule_tab), "");
}

TEST(matcher_tab, a_build_without_memory_is_a_status)
{
    const pdb_config_t config = {32, 100, 16, 2, 4};
    pdb_build_t build;
    failing_alloc_sweep([&] { return static_cast<int>(pdb_init(&build, &config)); },
                        [](int status) { EXPECT_EQ(status, PDATA_ERR_NO_MEMORY); });
}

TEST(matcher_tab, keys_differ_in_their_direction_and_in_either_name)
{
    const matcher_key_t key = key_of("http", "server", ATTR_WAY_CTS);
    EXPECT_TRUE(pdb_matcher_tab_key_cmp(key, key_of("http", "server", ATTR_WAY_CTS)));
    EXPECT_FALSE(pdb_matcher_tab_key_cmp(key, key_of("http", "server", ATTR_WAY_STC)));
    EXPECT_FALSE(pdb_matcher_tab_key_cmp(key, key_of("quic", "server", ATTR_WAY_CTS)));
    EXPECT_FALSE(pdb_matcher_tab_key_cmp(key, key_of("https", "server", ATTR_WAY_CTS)));
    EXPECT_FALSE(pdb_matcher_tab_key_cmp(key, key_of("http", "cookie", ATTR_WAY_CTS)));
}

} // namespace
