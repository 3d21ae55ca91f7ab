/// The protocol map: one row per rule.
#include <random>

#include "builder_fixture.h"
#include "bytes.h"
#include "failing_alloc.h"
#include "pdb_protocol_map.h"

namespace
{

/// A map with the limits of every compile, and rules to add to it.
struct map_t {
    protocol_build_map_t map;
    string_pool names;
    std::vector<uint8_t> path_words;

    explicit map_t(uint32_t nr_rule)
    {
        clear_status_slot();
        EXPECT_EQ(outcome(pdb_protocol_map_init(&map, nr_rule, 4, 2)), "0");
    }

    std::string add(uint32_t rule_id, const pdb_protocol_map_names_t &rule_names,
                    const std::vector<std::string> &path = {}, uint32_t vid = VID_NONE)
    {
        ruledesc_t rule{};
        path_words = stored(description_writer::strings_of(names, path));
        rule.rule_path = path_words.data();
        rule.rule_nr_path = static_cast<uint32_t>(path.size());
        rule.rule_vid = vid;
        return outcome(pdb_protocol_map_add(&map, rule_id, rule_names, rule, names.view()));
    }

    std::vector<uint8_t> serialized() const
    {
        std::vector<uint8_t> out(pdb_protocol_map_get_size(map));
        tlv_sink_t sink = tlv_sink_writing(out);
        pdb_protocol_map_emit(map, sink);
        EXPECT_FALSE(sink.failed);
        EXPECT_EQ(sink.offset, out.size());
        return out;
    }

    std::vector<std::string> strings() const
    {
        std::vector<std::string> out;
        for (const hs_elt &elt : map.map_hstring.hb_tab)
            out.emplace_back(elt.hse_str, elt.hse_len);
        return out;
    }
};

pdb_protocol_map_names_t one_sub_rule(const char *name, const char *bottom, const char *real)
{
    return {csa_str(name), {csa_str(bottom), {}}, {csa_str(real), {}}};
}

TEST(protocol_map, a_rule_without_a_path_has_its_own_protocol_in_the_first_cell)
{
    map_t map(1);
    EXPECT_EQ(map.add(1, one_sub_rule("web", "tcp", "ip")), "0");
    // "web" at 0, "tcp" at 6, "ip" at 12
    EXPECT_EQ(map.serialized(), bytes("00000000 FFFFFFFF FFFFFFFF FFFFFFFF" // path
                                      "00000006 FFFFFFFF"                   // bottoms
                                      "0000000C FFFFFFFF"));                // real bottoms
    EXPECT_EQ(map.strings(), (std::vector<std::string>{"web", "tcp", "ip"}));
}

TEST(protocol_map, the_second_sub_rule_comes_first)
{
    map_t map(1);
    const pdb_protocol_map_names_t names = {
        csa_str("web"), {csa_str("tcp"), csa_str("http")}, {csa_str("ip"), csa_str("ip6")}};
    EXPECT_EQ(map.add(1, names), "0");
    EXPECT_EQ(map.strings(), (std::vector<std::string>{"web", "http", "tcp", "ip6", "ip"}));
    // "web" at 0, "http" at 6, "tcp" at 12, "ip6" at 18, "ip" at 24
    EXPECT_EQ(map.serialized(), bytes("00000000 FFFFFFFF FFFFFFFF FFFFFFFF"
                                      "00000006 0000000C"
                                      "00000012 00000018"));
}

TEST(protocol_map, a_path_takes_the_cells_in_its_order)
{
    map_t map(2);
    EXPECT_EQ(map.add(2, one_sub_rule("web", "tcp", "tcp"), {"tcp", "http", "web"}), "0");
    EXPECT_EQ(map.strings(), (std::vector<std::string>{"tcp", "http", "web"}));
    // "tcp" at 0, "http" at 6, "web" at 12; row 0 was not added
    EXPECT_EQ(map.serialized(), bytes("FFFFFFFF FFFFFFFF FFFFFFFF FFFFFFFF"
                                      "00000000 00000006 0000000C FFFFFFFF"
                                      "FFFFFFFF FFFFFFFF  00000000 FFFFFFFF"
                                      "FFFFFFFF FFFFFFFF  00000000 FFFFFFFF"));
    memory_log_t log;
    pdb_protocol_map_print(map.map, log.file);
    EXPECT_EQ(log.str(), "1:;;;\n"
                         "2: 0 6 12; 0; 0;\n");
}

TEST(protocol_map, a_path_of_four_fits_and_one_of_five_does_not)
{
    map_t map(1);
    const auto names = one_sub_rule("e", "b", "b");
    EXPECT_EQ(map.add(1, names, {"a", "b", "c", "e"}), "0");
    EXPECT_EQ(map.add(1, names, {"a", "b", "c", "d", "e"}),
              OUTCOME_OVERFLOW ": maximum protocol id number (4) reached --> (5)");
}

TEST(protocol_map, vids_are_written_once_a_rule_has_one)
{
    map_t map(2);
    EXPECT_EQ(map.add(1, one_sub_rule("a", "b", "b")), "0");
    EXPECT_EQ(map.serialized().size(), 2 * 8 * 4U);
    EXPECT_EQ(map.map.map_vid_used, 0U);
    EXPECT_EQ(map.add(2, one_sub_rule("a", "b", "b"), {}, 0x123), "0");
    EXPECT_EQ(map.map.map_vid_used, 1U);
    EXPECT_EQ(map.serialized(), bytes("00000000 FFFFFFFF FFFFFFFF FFFFFFFF"
                                      "00000000 FFFFFFFF FFFFFFFF FFFFFFFF"
                                      "00000004 FFFFFFFF  00000004 FFFFFFFF"
                                      "00000004 FFFFFFFF  00000004 FFFFFFFF"
                                      "FFFFFFFF 00000123"));
}

TEST(protocol_map, a_vid_of_zero_is_one)
{
    map_t map(1);
    EXPECT_EQ(map.add(1, one_sub_rule("a", "b", "b"), {}, 0), "0");
    EXPECT_EQ(map.map.map_vid_used, 1U);
    EXPECT_EQ(map.serialized().size(), 9 * 4U);
}

TEST(protocol_map, a_rule_beyond_the_rows_is_found_out_behind_its_path)
{
    map_t map(1);
    EXPECT_EQ(map.add(2, one_sub_rule("web", "tcp", "ip")), OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(map.strings(), std::vector<std::string>{"web"}); // the bottoms were not reached
    EXPECT_EQ(map.add(2, one_sub_rule("x", "y", "y"), {"a", "b", "c", "d", "e"}),
              OUTCOME_OVERFLOW ": maximum protocol id number (4) reached --> (5)");
    EXPECT_EQ(map.serialized(), bytes("FFFFFFFF FFFFFFFF FFFFFFFF FFFFFFFF"
                                      "FFFFFFFF FFFFFFFF  FFFFFFFF FFFFFFFF"));
}

TEST(protocol_map, a_name_that_the_string_table_refuses_is_a_status)
{
    map_t map(1);
    EXPECT_EQ(map.add(1, one_sub_rule("", "tcp", "ip")), OUTCOME_ENGINE);
    EXPECT_EQ(map.add(1, one_sub_rule("web", "", "ip")), OUTCOME_ENGINE);
    EXPECT_EQ(map.add(1, one_sub_rule("web", "tcp", "")), OUTCOME_ENGINE);
}

TEST(protocol_map, a_path_that_cannot_be_read_is_a_status)
{
    map_t map(1);
    const std::vector<uint8_t> far = stored({1000, 1000});
    ruledesc_t rule{};
    rule.rule_path = far.data();
    rule.rule_nr_path = 2;
    EXPECT_EQ(outcome(pdb_protocol_map_add(&map.map, 1, one_sub_rule("a", "b", "b"), rule,
                                           map.names.view())),
              OUTCOME_ENGINE);
}

// Overlapping names could otherwise take more room than their offsets can tell apart.
TEST(protocol_map, names_are_bounded_by_what_a_record_can_hold)
{
    constexpr uint16_t length = 60000;
    map_t map(1);
    std::mt19937 random(1);
    std::string text; // a name begins at each of its bytes
    while (text.size() < length + 2000U)
        text.push_back(static_cast<char>('a' + random() % 26));
    std::string came_to = "0";
    uint32_t nr_added = 0;
    for (; came_to == "0" && nr_added < 2000; ++nr_added) {
        pdb_protocol_map_names_t names = one_sub_rule("web", "tcp", "tcp");
        names.proto_name = {length, text.data() + nr_added};
        came_to = outcome(pdb_protocol_map_add(&map.map, 1, names, ruledesc_t{}, map.names.view()));
    }
    EXPECT_EQ(came_to, OUTCOME_OVERFLOW ": protocol map: more than 67108860 bytes of names\n");
    EXPECT_EQ(nr_added, 67108860U / (length + 2) + 1);
}

TEST(protocol_map, without_rules_nothing_is_written)
{
    EXPECT_EQ(map_t(0).serialized(), std::vector<uint8_t>());
}

TEST(protocol_map, a_failed_allocation_leaves_it_empty)
{
    failing_alloc_sweep(
        [] {
            protocol_build_map_t map;
            const pdata_status_t status = pdb_protocol_map_init(&map, 3, 4, 2);
            if (status != PDATA_SUCCESS) {
                EXPECT_TRUE(map.map_proto_id.empty());
                EXPECT_EQ(map.map_nr_rule, 0U);
            }
            return static_cast<int>(status);
        },
        [](int status) { EXPECT_EQ(status, PDATA_ERR_NO_MEMORY); });
}

} // namespace
