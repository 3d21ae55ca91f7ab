/// The matcher pass: which values become which items, in which order.
#include "builder_fixture.h"
#include "bytes.h"
#include "pdb_matcher_build.h"

namespace
{

/// A pdb of one protocol with these rules.
pdb_model model_of(const std::vector<rule_model> &rules)
{
    return {{protocol_of(7, "web", rules)}, {}};
}

pdb_model model_of(const std::string &bottom, const std::vector<attr_model> &attrs)
{
    return model_of({simple_rule(bottom, attrs)});
}

/// The items of a matcher that a number leads to, "1 2 ".
std::string items_of(const loadable_pdb_t &pdb, std::string_view proto, std::string_view attr,
                     uint32_t way, uint64_t number)
{
    const loadable_matcher_t *matcher = loadable_find_matcher(pdb, proto, attr, way);
    if (matcher == nullptr)
        return "no matcher";
    std::string text;
    for (const uint32_t id : number_reader_find(matcher->number, {number, {}})) {
        text += std::to_string(id);
        text += ' ';
    }
    return text;
}

/// The public ids of a matcher's second-level entries, "1 2 ".
std::string entries_of(const loadable_pdb_t &pdb, std::string_view proto, std::string_view attr,
                       uint32_t way)
{
    const loadable_matcher_t *matcher = loadable_find_matcher(pdb, proto, attr, way);
    if (matcher == nullptr)
        return "no matcher";
    std::string text;
    for (const loadable_entry_t &entry : matcher->second_level) {
        text += std::to_string(entry.pub_id);
        text += ' ';
    }
    return text;
}

/// The rule that owns each item from 1 on, "1 1 2 ".
std::string owners(const loadable_pdb_t &pdb)
{
    std::string text;
    for (size_t id = 1; id < pdb.slots.size(); ++id) {
        text += std::to_string(pdb.slots[id].rule_id);
        text += ' ';
    }
    return text;
}

TEST(matcher_pass, a_value_of_both_directions_is_one_item_in_two_matchers)
{
    const loaded_t loaded(
        model_of("tcp", {number_attr("port", {"80"}, MATCHER_TYPE_NUMBER_16, ATTR_WAY_BOTH)}));
    ASSERT_EQ(loaded.pdb.matchers.size(), 2U);
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_CTS, 80), "1 ");
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_STC, 80), "1 ");
    EXPECT_EQ(owners(loaded.pdb), "1 ");
    EXPECT_EQ(loaded.pdb.slots[1].bitset_full, 1U);
}

TEST(matcher_pass, the_numbers_of_a_comma_list_are_one_item)
{
    const loaded_t loaded(model_of("tcp", {number_attr("port", {"80,443"})}));
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_CTS, 80), "1 ");
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_CTS, 443), "1 ");
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_CTS, 81), "");
    EXPECT_EQ(owners(loaded.pdb), "1 ");
}

TEST(matcher_pass, a_comma_list_of_both_directions_is_one_item_in_two_matchers)
{
    const loaded_t loaded(
        model_of("tcp", {number_attr("port", {"80,443"}, MATCHER_TYPE_NUMBER_16, ATTR_WAY_BOTH),
                         number_attr("port", {"22"}, MATCHER_TYPE_NUMBER_16, ATTR_WAY_CTS)}));
    for (const uint32_t way : {ATTR_WAY_CTS, ATTR_WAY_STC}) {
        EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", way, 80), "1 ");
        EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", way, 443), "1 ");
    }
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_CTS, 22), "2 ");
    EXPECT_EQ(owners(loaded.pdb), "1 1 ");
}

TEST(matcher_pass, empty_pieces_of_a_comma_list_are_skipped)
{
    const loaded_t loaded(model_of({simple_rule("tcp", {number_attr("port", {",80,,443,"})}),
                                    simple_rule("tcp", {number_attr("port", {","})})}));
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_CTS, 443), "1 ");
    EXPECT_EQ(loaded.pdb.rules.size(), 1U); // a value of commas alone is no item
    EXPECT_EQ(loaded.pdb.slots.size(), 2U);
}

TEST(matcher_pass, a_stream_value_is_registered_whole_for_every_piece_between_commas)
{
    const loaded_t loaded(model_of("http", {stream_attr("server", {"ab,cd"})}));
    EXPECT_EQ(entries_of(loaded.pdb, "http", "server", ATTR_WAY_CTS), "1 2 ");
    EXPECT_EQ(owners(loaded.pdb), "1 1 ");
    EXPECT_EQ(loaded.pdb.slots[1].bitset_full, 3U);
    std::string error;
    std::vector<pattern_hit_t> hits;
    const std::vector<uint8_t> data = text_bytes("ab,cd");
    EXPECT_TRUE(pattern_reader_match(loaded.pdb.matchers[0].pattern, data, hits, error)) << error;
    EXPECT_EQ(hits.size(), 2U);
}

TEST(matcher_pass, the_twin_of_such_a_stream_value_is_registered_once_under_the_first_id)
{
    const loaded_t loaded(model_of("ssl", {stream_attr("common_name", {"ab,cd"}, ATTR_WAY_BOTH)}));
    // The server's direction is the newer list and is built first.
    EXPECT_EQ(entries_of(loaded.pdb, "ssl", "common_name", ATTR_WAY_STC), "1 2 ");
    EXPECT_EQ(entries_of(loaded.pdb, "ssl", "common_name", ATTR_WAY_CTS), "1 ");
    EXPECT_EQ(owners(loaded.pdb), "1 1 ");
}

TEST(matcher_pass, values_of_different_directions_land_in_different_matchers)
{
    const loaded_t loaded(
        model_of("tcp", {number_attr("port", {"1"}, MATCHER_TYPE_NUMBER_16, ATTR_WAY_CTS),
                         number_attr("port", {"2"}, MATCHER_TYPE_NUMBER_16, ATTR_WAY_STC)}));
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_STC, 2), "1 ");
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_CTS, 1), "2 ");
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_CTS, 2), "");
}

TEST(matcher_pass, lists_and_values_are_built_newest_first)
{
    const loaded_t loaded(
        model_of({simple_rule("tcp", {number_attr("port", {"1", "2"}),     // items 5 and 4
                                      number_attr("payload_len", {"3"})}), // item 2
                  simple_rule("udp", {number_attr("port", {"4"})}),        // item 1
                  simple_rule("tcp", {number_attr("port", {"5"})})}));     // item 3
    EXPECT_EQ(items_of(loaded.pdb, "udp", "port", ATTR_WAY_CTS, 4), "1 ");
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "payload_len", ATTR_WAY_CTS, 3), "2 ");
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_CTS, 5), "3 ");
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_CTS, 2), "4 ");
    EXPECT_EQ(items_of(loaded.pdb, "tcp", "port", ATTR_WAY_CTS, 1), "5 ");
    EXPECT_EQ(owners(loaded.pdb), "2 1 3 1 1 ");
    // In each rule the bits go to its items in the order of registration.
    EXPECT_EQ(loaded.pdb.slots[2].bitset_pos, 0U);
    EXPECT_EQ(loaded.pdb.slots[4].bitset_pos, 1U);
    EXPECT_EQ(loaded.pdb.slots[5].bitset_pos, 2U);
}

TEST(matcher_pass, addresses_go_through_their_transformers)
{
    const loaded_t loaded(model_of(
        {simple_rule("ip", {number_attr("address", {"10.0.0.0/8"}, MATCHER_TYPE_IP_4)}),
         simple_rule("ip6", {number_attr("address", {"2001:db8::/32"}, MATCHER_TYPE_IP_6)})}));
    EXPECT_EQ(items_of(loaded.pdb, "ip", "address", ATTR_WAY_CTS, 0x0A010203), "2 ");
    const loadable_matcher_t *six =
        loadable_find_matcher(loaded.pdb, "ip6", "address", ATTR_WAY_CTS);
    EXPECT_EQ(number_reader_find(six->number, {0, {0x20010db8, 7, 7, 7}}),
              std::vector<uint32_t>{1});
    EXPECT_TRUE(number_reader_find(six->number, {0, {0x20010db9, 0, 0, 0}}).empty());
}

TEST(matcher_pass, the_length_of_stream_values_counts_for_the_priority_and_that_of_numbers_does_not)
{
    const loaded_t loaded(model_of({simple_rule("tcp", {number_attr("port", {"65535"})}),
                                    simple_rule("http", {stream_attr("server", {"abcde"})})}));
    EXPECT_EQ(loaded.pdb.slots[2].priority, 16777215U - 4000);
    EXPECT_EQ(loaded.pdb.slots[1].priority, 16777215U - 4005);
}

TEST(matcher_pass, a_referer_among_several_items_is_marked)
{
    const loaded_t loaded(model_of(
        {simple_rule("http", {stream_attr("referer", {"ab"}), stream_attr("uri", {"cd"})}),
         simple_rule("http", {stream_attr("referer", {"ef"})}),
         simple_rule("http", {stream_attr("uri", {"gh"}), stream_attr("server", {"ij"})})}));
    for (size_t id = 1; id < loaded.pdb.slots.size(); ++id)
        EXPECT_EQ(loaded.pdb.slots[id].referer, loaded.pdb.slots[id].rule_id == 1) << id;
}

TEST(matcher_pass, a_value_that_the_transformer_refuses_is_shown_whole)
{
    const compiled_t bad = compile(model_of("tcp", {number_attr("port", {"80,x"})}));
    EXPECT_EQ(bad.outcome, OUTCOME_REGEX);
    EXPECT_EQ(bad.diagnostics,
              error_line("pdb_matcher_build_register",
                         "matcher_transformer failed (type:4) (elt_val:80,x)\n") +
                  error_line("pdb_builder_serialize", "pdb_builder_matcher_serialize.\n"));
    EXPECT_EQ(compile(model_of("tcp", {number_attr("port", {"70000"})})).outcome, OUTCOME_OVERFLOW);
    EXPECT_EQ(
        compile(model_of("ip", {number_attr("address", {"1.2.3"}, MATCHER_TYPE_IP_4)})).outcome,
        OUTCOME_REGEX);
}

TEST(matcher_pass, a_value_that_the_matcher_refuses_is_shown)
{
    const compiled_t bad = compile(model_of("http", {stream_attr("server", {"(ab"})}));
    EXPECT_EQ(bad.outcome, OUTCOME_REGEX);
    EXPECT_EQ(bad.diagnostics,
              error_line("pdb_matcher_build_register",
                         "matcher_register failed (type:1) (elt_val:(ab)\n") +
                  error_line("pdb_builder_serialize", "pdb_builder_matcher_serialize.\n"));
}

/// A value of `n` letters between two other texts.
std::string letters_between(std::string_view before, size_t n, std::string_view after)
{
    std::string text(before);
    text.append(n, 'a');
    text += after;
    return text;
}

TEST(matcher_pass, a_pattern_that_is_too_long_is_found_out_when_the_engines_are_finished)
{
    const auto compile_value = [](const std::string &value) {
        return compile(model_of("http", {stream_attr("server", {value})}));
    };
    EXPECT_EQ(compile_value(letters_between(".*", 1024, ".*")).outcome, "0");
    EXPECT_EQ(compile_value(letters_between("", 2000, "")).outcome, "0"); // no automaton
    const compiled_t too_long = compile_value(letters_between(".*", 1025, ".*"));
    EXPECT_EQ(too_long.outcome, OUTCOME_OVERFLOW);
    EXPECT_EQ(too_long.diagnostics,
              error_line("pdb_builder_serialize", "pdb_builder_matcher_serialize.\n"));
}

TEST(matcher_pass, a_rule_of_seventeen_items_is_refused)
{
    std::vector<std::string> ports;
    for (int i = 0; i < 16; ++i)
        ports.push_back(std::to_string(i));
    EXPECT_EQ(compile(model_of("tcp", {number_attr("port", ports)})).outcome, "0");
    ports.push_back("16");
    const compiled_t bad = compile(model_of("tcp", {number_attr("port", ports)}));
    EXPECT_EQ(bad.outcome, OUTCOME_OVERFLOW ": maximum item id reached 16.");
    EXPECT_EQ(bad.diagnostics,
              error_line("pdb_matcher_build_register", "pdb_rule_tab_add failed.\n") +
                  error_line("pdb_builder_serialize", "pdb_builder_matcher_serialize.\n"));
}

TEST(matcher_pass, with_fewer_items_per_rule_allowed_the_message_says_so)
{
    builder_run_t run(make_pdb(model_of("tcp", {number_attr("port", {"1", "2", "3"})})),
                      {32, 32768, 2, 2, 4});
    EXPECT_EQ(run.serialize(), OUTCOME_OVERFLOW ": maximum item id reached 2.");
}

TEST(matcher_pass, with_fewer_private_ids_allowed_the_message_says_so)
{
    builder_run_t run(make_pdb(model_of("http", {stream_attr("server", {"ab", "cd", "ef"})})),
                      {32, 2, 16, 2, 4});
    EXPECT_EQ(run.serialize(), OUTCOME_OVERFLOW ": increase max_prv_id (2)\n");
}

TEST(matcher_pass, with_fewer_permutations_allowed_the_value_is_stored_whole)
{
    builder_run_t run(make_pdb(model_of("http", {stream_attr("server", {"(ab|cd|ef)gh"})})),
                      {2, 100, 16, 2, 4});
    EXPECT_EQ(run.serialize(), "0");
    const csa_buf_t &entry = run.sections().matchers.tlv_list[0].matcher_tlv_entry;
    std::span<const uint8_t> data;
    std::span<const uint8_t> table;
    EXPECT_EQ(tlv_value_search(TLV_TYPE_PDB_MATCHER_DATA, std::span(entry).subspan(4), &data),
              PDATA_SUCCESS);
    EXPECT_EQ(tlv_value_search(TLV_TYPE_MATCHER_L2, data, &table), PDATA_SUCCESS);
    EXPECT_EQ(std::vector<uint8_t>(table.begin(), table.end()),
              bytes("00000001 00000000 00000000 00000000"));
}

TEST(matcher_pass, values_of_a_third_sub_rule_have_no_place_in_the_engine)
{
    const rule_model rule = rule_of({sub_rule_of("tcp", {number_attr("port", {"1"})}),
                                     sub_rule_of("tcp", {number_attr("port", {"2"})}),
                                     sub_rule_of("tcp", {number_attr("port", {"3"})})});
    const loaded_t loaded(compile(make_pdb(model_of({rule})), 1, nullptr, LOADABLE_FOREIGN));
    // Items 1, 2, 3 are the ports 3, 2, 1.
    EXPECT_EQ(owners(loaded.pdb), "0 1 1 ");
    EXPECT_EQ(loaded.pdb.slots[3].bitset_pos, 0U);
    EXPECT_EQ(loaded.pdb.slots[2].bitset_pos, 1U);
    EXPECT_EQ(loaded.pdb.slots[2].bitset_full, 3U);
    EXPECT_EQ(loaded.pdb.rules[0].bottoms.size(), 2U);
}

TEST(matcher_pass, preempt_values_of_the_wrong_shape_only_leave_a_warning)
{
    rule_model rule = rule_of(
        {sub_rule_of("tcp", {stream_attr("stream", {"ab"}), number_attr("port", {"1"})}, 10)});
    rule.preempt = 1;
    const compiled_t compiled = compile(model_of({rule}));
    EXPECT_EQ(compiled.outcome,
              "0 (recorded 103): Both attribute names should be the same (with different ways) to "
              "allow preempt matching.");
    EXPECT_FALSE(compiled.bytes.empty());
}

TEST(matcher_pass, a_section_that_no_header_can_hold_is_refused)
{
    clear_status_slot();
    pdb_build_t build;
    const pdb_config_t config = {32, 100, 16, 2, 4};
    EXPECT_EQ(outcome(pdb_init(&build, &config)), "0");
    build.pdb_build_tlv.matchers.root_len = 0xFFFFFF;
    build.pdb_build_tlv.matchers.pdb_len = 0x000123;
    EXPECT_EQ(outcome(pdb_matcher_build_serialize_header(&build)), "0");
    EXPECT_EQ(build.pdb_build_tlv.matchers.root_tlv, 0x04FFFFFFU);
    EXPECT_EQ(build.pdb_build_tlv.matchers.pdb_tlv, 0x01000123U);
    build.pdb_build_tlv.matchers.root_len = 0x1000000;
    EXPECT_EQ(outcome(pdb_matcher_build_serialize_header(&build)),
              OUTCOME_OVERFLOW ": tlv len 4 is superior to internal limit 16777215");
}

// ---------------------------------------------------------------------------------------------
// Rule ids and rows.

TEST(rule_pass, rule_ids_follow_the_chains_of_the_table)
{
    // Chains: protocol * 4 + rule. Rules 0 and 4 of the first protocol, 0 and 1 of the second: the
    // chain 4 has two rules, the newer of which comes first.
    const auto rule = [](const char *port) {
        return simple_rule("tcp", {number_attr("port", {port})});
    };
    const pdb_model model = {
        {protocol_of(1, "a", {rule("10"), rule("11"), rule("12"), rule("13"), rule("14")}),
         protocol_of(2, "b", {rule("20"), rule("21")})},
        {}};
    const loaded_t loaded(model);
    const auto rule_of_port = [&](uint64_t port) {
        const auto ids = number_reader_find(loaded.pdb.matchers[0].number, {port, {}});
        return loaded.pdb.slots[ids.at(0)].rule_id;
    };
    EXPECT_EQ(rule_of_port(10), 1U); // chain 0
    EXPECT_EQ(rule_of_port(11), 2U);
    EXPECT_EQ(rule_of_port(13), 4U);
    // Chain 4 holds (0, 4) and (1, 0). Values are registered newest first: (1, 0) comes into being
    // before (0, 4), so (0, 4) is the newer one.
    EXPECT_EQ(rule_of_port(14), 5U);
    EXPECT_EQ(rule_of_port(20), 6U);
    EXPECT_EQ(rule_of_port(21), 7U);
    EXPECT_EQ(loaded.pdb.rules[4].path[0], "a");
    EXPECT_EQ(loaded.pdb.rules[5].path[0], "b");
}

TEST(rule_pass, the_chains_wrap_at_1024)
{
    std::vector<protocol_model> protocols;
    for (uint32_t i = 0; i < 257; ++i)
        protocols.push_back(
            protocol_of(i + 1, std::to_string(i),
                        {simple_rule("tcp", {number_attr("port", {std::to_string(1000 + i)})})}));
    const loaded_t loaded(pdb_model{protocols, {}});
    // Protocol 256 has the chain of protocol 0. Its value is registered first, so protocol 0 is
    // the newer rule of the chain.
    ASSERT_EQ(loaded.pdb.rules.size(), 257U);
    EXPECT_EQ(loaded.pdb.rules[0].path[0], "0");
    EXPECT_EQ(loaded.pdb.rules[1].path[0], "256");
    EXPECT_EQ(loaded.pdb.rules[2].path[0], "1");
    EXPECT_EQ(loaded.pdb.rules[256].path[0], "255");
}

TEST(rule_pass, parameters_beyond_seven_are_dropped)
{
    for (const auto &[params, flags] :
         {std::pair(0U, 0U), {1U, 1U}, {7U, 7U}, {8U, 0U}, {9U, 0U}}) {
        pdb_model model = model_of("tcp", {number_attr("port", {"1"})});
        model.protocols[0].rules[0].params = params;
        EXPECT_EQ(loaded_t(model).pdb.slots[1].flags, flags) << params;
        model.protocols[0].rules[0].fastpass = 1;
        EXPECT_EQ(loaded_t(model).pdb.slots[1].flags, flags | 8) << params;
    }
}

TEST(rule_pass, a_written_order_stays_and_its_range_with_it)
{
    pdb_model model = model_of("tcp", {number_attr("port", {"1"})});
    model.protocols[0].rules[0].order = 0x05000007;
    model.protocols[0].rules[0].scope = 0x802;
    const loaded_t written(model);
    EXPECT_EQ(written.pdb.slots[1].priority, 0x05000007U);
    EXPECT_EQ(written.pdb.slots[1].scope, 0x802U);
    model.protocols[0].rules[0].order = 0x05000000;
    EXPECT_EQ(loaded_t(model).pdb.slots[1].priority, 0x05000000U + 16777215U - 4000U);
}

TEST(rule_pass, a_rule_without_a_value_has_neither_an_id_nor_a_row)
{
    const loaded_t loaded(model_of(
        {simple_rule("tcp", {}), simple_rule("tcp", {number_attr("port", {"1"})}), rule_of({})}));
    EXPECT_EQ(loaded.pdb.rules.size(), 1U);
}

TEST(rule_pass, an_empty_name_is_refused_by_the_string_table)
{
    // A stored pool may hold an entry of length 0; the pools that are written never do.
    pdb_model model = model_of("tcp", {number_attr("port", {"1"})});
    model.protocols[0].rules[0].sub_rules[0].bottom_protocol = "";
    const compiled_t compiled = compile(model);
    EXPECT_EQ(compiled.outcome, OUTCOME_ENGINE);
    EXPECT_EQ(compiled.diagnostics,
              error_line("pdb_builder_serialize", "pdb_builder: rule build failed.\n"));
}

/// A build, and a matcher whose record is made by hand.
struct record_run_t {
    pdb_config_t config = {32, 100, 16, 2, 4};
    pdb_build_t build;
    matcher_build matcher;
    std::string diagnostics;

    record_run_t()
    {
        clear_status_slot();
        matcher_desc_t desc;
        desc.start_item_id = 1;
        desc.algo = PATTERN_ALGO_CLASSIC;
        EXPECT_EQ(outcome(pdb_init(&build, &config)), "0");
        EXPECT_EQ(outcome(matcher_init(&matcher, MATCHER_TYPE_STREAM, 0, desc)), "0");
    }
    std::string serialize()
    {
        const matcher_key_t key = {csa_str("http"), csa_str("server"), ATTR_WAY_CTS};
        std::string text;
        diagnostics = mask_lines(stderr_of(
            [&] { text = outcome(pdb_matcher_build_serialize(&build, matcher, key, {})); }));
        return text;
    }
};

TEST(matcher_pass, a_matcher_that_no_record_can_hold_is_refused)
{
    const auto refused = [](int type) {
        return OUTCOME_OVERFLOW ": tlv len " + std::to_string(type) +
               " is superior to internal limit 16777215";
    };
    record_run_t run;
    EXPECT_EQ(run.serialize(), "0");
    run.matcher.hstring.hb_offset = (TLV_LEN_FIELD_MAX + 1) * 4;
    EXPECT_EQ(run.serialize(), refused(TLV_TYPE_MATCHER_STRING));
    run.matcher.hstring.hb_offset = TLV_LEN_FIELD_MAX * 4; // too long with what stands around it
    EXPECT_EQ(run.serialize(), refused(TLV_TYPE_PDB_MATCHER_DATA));
    run.matcher.hstring.hb_offset = 0;
    run.build.pdb_build_tlv.matchers.root_len = 0xFFFFFF;
    EXPECT_EQ(run.serialize(), refused(TLV_TYPE_ROOT_MATCHERS));
    EXPECT_EQ(run.diagnostics, "");
    EXPECT_EQ(run.build.pdb_build_tlv.matchers.tlv_list.size(), 1U);
}

TEST(matcher_pass, a_text_that_no_string_table_can_hold_is_found_out_when_it_is_written)
{
    record_run_t run;
    uint32_t offset;
    EXPECT_EQ(hstring_get_offset(&run.matcher.hstring, csa_str("x"), &offset), 0);
    run.matcher.hstring.hb_tab[0].hse_len = 65536;
    EXPECT_EQ(run.serialize(), OUTCOME_ENGINE);
    EXPECT_EQ(run.diagnostics, error_line("pdb_matcher_build_serialize", "matcher_serialize\n"));
}

} // namespace
