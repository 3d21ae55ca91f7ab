/// The compile: the parts of a loadable pdb in their order, and pdbs split into parts again.
#include "builder_fixture.h"
#include "bytes.h"
#include "failing_alloc.h"
#include "matcher_fixture.h"
#include "pdata_config.h"

namespace
{

pdb_model small_model()
{
    rule_model rule = simple_rule("ip", {number_attr("address", {"10.0.0.1"}, MATCHER_TYPE_IP_4)});
    rule.tags = {"video"};
    return {{protocol_of(7, "web", {rule})}, {{"video", 0x01020304}, {"audio", 5}}};
}

std::vector<uint8_t> part_bytes(const pdb_list_t &list, pdb_type_t type)
{
    const pdb_t *part = pdata_pdb_type_find(list, type);
    if (part == nullptr)
        return {};
    const std::span<const uint8_t> bytes = pdb_header_bytes(*part);
    return {bytes.begin(), bytes.end()};
}

/// All parts that a pdb may have, in an order of its own.
pdb_list_t full_pdb()
{
    pdb_list_t list = make_pdb(small_model());
    put_part(&list, PDB_TYPE_CFG, bytes("0B 000001 26 000000"));
    put_part(&list, PDB_TYPE_MATCHER_ALIAS, bytes("0A 000001 00000000"));
    return list;
}

TEST(pdata_compile, parts_come_in_their_order)
{
    const pdb_list_t list = full_pdb();
    const compiled_t compiled = compile(list);
    ASSERT_EQ(compiled.outcome, "0");
    builder_run_t run(list);
    ASSERT_EQ(run.serialize(), "0");
    const pdb_build_tlv_t &sections = run.sections();
    EXPECT_EQ(compiled.bytes,
              chain({bytes("0C 000001 02 000002"), part_bytes(list, PDB_TYPE_CFG),
                     part_bytes(list, PDB_TYPE_PROTOCOL_DESCRIPTION),
                     part_bytes(list, PDB_TYPE_TAGS), part_bytes(list, PDB_TYPE_MATCHER_ALIAS),
                     part_bytes(list, PDB_TYPE_MAIN_HSTRING), sections.protodesc_tlv,
                     stored({sections.matchers.root_tlv, sections.matchers.pdb_tlv}),
                     sections.matchers.tlv_list.at(1 - 1).matcher_tlv_entry,
                     sections.matchers.hstring_tlv, sections.rules_tlv}));
    EXPECT_EQ(pdata_compile_get_out_len(run.context.pdb_build, list), compiled.bytes.size());
}

TEST(pdata_compile, parts_that_do_not_exist_are_left_out)
{
    pdb_list_t list;
    const pdb_list_t all = make_pdb(small_model());
    for (size_t i = 0; i < 3; ++i) // without a load state
        pdb_header_memcpy(&list[i], all[i]);
    const compiled_t compiled = compile(list);
    ASSERT_EQ(compiled.outcome, "0");
    EXPECT_EQ(compiled.bytes[0], TLV_TYPE_ROOT_PROTODESCS);
    EXPECT_EQ(root_record(compiled.bytes, TLV_TYPE_ROOT_LOAD), bytes(""));
}

TEST(pdata_compile, the_load_state_becomes_loadable)
{
    for (const uint32_t state : {TLV_TYPE_LOAD_UNLOADABLE, TLV_TYPE_LOAD_LOADED_LE}) {
        pdb_list_t list = make_pdb(small_model());
        for (pdb_t &part : list) {
            if (part.pdb_type == PDB_TYPE_LOAD) {
                EXPECT_TRUE(pdb_header_set(&part, PDB_TYPE_LOAD, stored({0x0C000001, state})));
            }
        }
        EXPECT_EQ(root_record(compile(list).bytes, TLV_TYPE_ROOT_LOAD),
                  bytes("0C 00 00 01 02 00 00 02"));
    }
}

TEST(pdata_compile, a_load_state_without_a_word_stays)
{
    std::vector<uint8_t> empty = bytes("0C 000000 01 000000");
    pdata_compile_set_loadable(empty);
    EXPECT_EQ(empty, bytes("0C 000000 01 000000"));
    std::vector<uint8_t> none = bytes("09 000001 01000001");
    pdata_compile_set_loadable(none);
    EXPECT_EQ(none, bytes("09 000001 01000001"));
    std::vector<uint8_t> second = bytes("01 000001 00000000 0C 000002 01000001 01000001");
    pdata_compile_set_loadable(second);
    EXPECT_EQ(second, bytes("01 000001 00000000 0C 000002 02000002 01000001"));
}

TEST(pdata_compile, the_input_is_not_touched)
{
    const pdb_list_t list = full_pdb();
    const std::vector<uint8_t> tags = part_bytes(list, PDB_TYPE_TAGS);
    const std::vector<uint8_t> load = part_bytes(list, PDB_TYPE_LOAD);
    EXPECT_EQ(compile(list).outcome, "0");
    EXPECT_EQ(part_bytes(list, PDB_TYPE_TAGS), tags);
    EXPECT_EQ(part_bytes(list, PDB_TYPE_LOAD), load);
    EXPECT_EQ(load, bytes("0C 000001 01000001"));
}

TEST(pdata_compile, in_network_order_the_tag_table_stays_as_it_is)
{
    // "video" at 0, "audio" at 8 of the main strings
    EXPECT_EQ(root_record(compile(make_pdb(small_model()), 1).bytes, TLV_TYPE_ROOT_TAGS),
              bytes("09 000004  00000000 01020304  00000008 00000005"));
}

TEST(pdata_compile, in_host_order_the_words_of_the_tag_table_are_swapped)
{
    pdb_list_t list = make_pdb(small_model());
    for (pdb_t &part : list) {
        if (part.pdb_type == PDB_TYPE_TAGS) {
            EXPECT_TRUE(pdb_header_set(&part, PDB_TYPE_TAGS,
                                       bytes("09 000004  00000000 04030201  08000000 05000000")));
        }
    }
    const loaded_t loaded(compile(list, 0));
    EXPECT_EQ(root_record(loaded.compiled.bytes, TLV_TYPE_ROOT_TAGS),
              bytes("09 000004  00000000 01020304  00000008 00000005"));
    EXPECT_EQ(loaded.pdb.rules[0].tags, std::vector<uint32_t>{0x01020304});
}

TEST(pdata_compile, everything_but_the_tag_table_is_big_endian_whatever_the_order)
{
    pdb_model model = small_model();
    model.protocols[0].rules[0].tags.clear();
    const std::vector<uint8_t> network = compile(make_pdb(model), 1).bytes;
    const std::vector<uint8_t> host = compile(make_pdb(model), 0).bytes;
    for (const uint32_t type : {1U, 3U, 4U, 5U, 6U, 12U})
        EXPECT_EQ(root_record(network, type), root_record(host, type)) << type;
    EXPECT_EQ(root_record(host, TLV_TYPE_ROOT_TAGS),
              bytes("09 000004  00000000 04030201  08000000 05000000"));
}

TEST(pdata_compile, an_empty_pdb_is_its_parts_a_marker_and_two_zero_words)
{
    pdb_list_t list = full_pdb();
    for (pdb_t &part : list) {
        if (part.pdb_type == PDB_TYPE_PROTOCOL_DESCRIPTION) {
            EXPECT_TRUE(pdb_header_set(&part, PDB_TYPE_PROTOCOL_DESCRIPTION, {}));
        }
    }
    EXPECT_EQ(
        compile(list).bytes,
        chain({bytes("0C 000001 02000002"), part_bytes(list, PDB_TYPE_CFG),
               part_bytes(list, PDB_TYPE_TAGS), part_bytes(list, PDB_TYPE_MATCHER_ALIAS),
               part_bytes(list, PDB_TYPE_MAIN_HSTRING), bytes("07 000000  00000000 00000000")}));
}

TEST(pdata_compile, a_pdb_without_descriptions_fails_when_it_is_written)
{
    pdb_list_t list;
    pdb_header_memcpy(&list[0], make_pdb(small_model())[1]);
    const compiled_t compiled = compile(list);
    EXPECT_EQ(compiled.outcome, OUTCOME_NO_MEMORY);
    EXPECT_TRUE(compiled.bytes.empty());
    EXPECT_EQ(compile(pdb_list_t()).outcome, OUTCOME_NO_MEMORY);
}

TEST(pdata_compile, a_pdb_without_tags_fails_in_the_builder)
{
    pdb_list_t list;
    pdb_header_memcpy(&list[0], make_pdb(small_model())[0]);
    EXPECT_EQ(compile(list).outcome, OUTCOME_INVALID_ARGUMENT
              ": PDM (tags) is mandatory when you try to compile graph/rules");
}

TEST(pdata_compile, a_list_or_an_output_must_be_given)
{
    const pdb_list_t list = make_pdb(small_model());
    pdb_t out;
    clear_status_slot();
    EXPECT_EQ(outcome(pdata_compile(nullptr, &out, nullptr, {}, 1)), OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(outcome(pdata_compile(&list, nullptr, nullptr, {}, 1)), OUTCOME_INVALID_ARGUMENT);
}

TEST(pdata_compile, the_limits_are_sixteen_items_four_steps_and_32768_entries)
{
    pdb_model model = small_model();
    model.protocols[0].rules[0].path = {"a", "b", "c", "web"};
    EXPECT_EQ(compile(model).outcome, "0");
    model.protocols[0].rules[0].path = {"a", "b", "c", "d", "web"};
    EXPECT_EQ(compile(model).outcome,
              OUTCOME_OVERFLOW ": maximum protocol id number (4) reached --> (5)");
    // 2048 rules of 16 words each take all private ids.
    std::vector<rule_model> rules;
    for (uint32_t i = 0; i < 2048; ++i) {
        std::vector<std::string> words;
        for (uint32_t j = 0; j < 16; ++j)
            words.push_back(std::to_string(i * 16 + j));
        rules.push_back(simple_rule("http", {stream_attr("uri_decoded", words)}));
    }
    EXPECT_EQ(compile(pdb_model{{protocol_of(1, "many", rules)}, {}}).outcome, "0");
    rules.push_back(simple_rule("http", {stream_attr("uri_decoded", {"more"})}));
    EXPECT_EQ(compile(pdb_model{{protocol_of(1, "many", rules)}, {}}).outcome,
              OUTCOME_OVERFLOW ": increase max_prv_id (32768)\n");
}

TEST(pdata_compile, thirty_two_permutations_are_spelled_out_and_thirty_three_are_not)
{
    const auto entries = [](const char *value) {
        const loaded_t loaded(pdb_model{
            {protocol_of(1, "p", {simple_rule("http", {stream_attr("uri_decoded", {value})})})},
            {}});
        return loaded.pdb.matchers[0].second_level.size();
    };
    EXPECT_EQ(entries("[abcdefghijklmnopqrstuvwxyz012345]x"), 32U);
    EXPECT_EQ(entries("[abcdefghijklmnopqrstuvwxyz0123456]x"), 1U);
}

TEST(pdata_compile, two_compiles_give_the_same_bytes)
{
    const pdb_list_t list = full_pdb();
    EXPECT_EQ(compile(list).bytes, compile(list).bytes);
}

TEST(pdata_compile, a_failed_allocation_is_a_status_wherever_it_happens)
{
    pdb_model model = small_model();
    // Behind the last address there is no endpoint, whose loss would not be noticed.
    model.protocols[0].rules[0].sub_rules[0].attrs[0].values[0].first = "10.0.0.1-255.255.255.255";
    model.protocols[0].rules.push_back(
        simple_rule("http", {stream_attr("server", {"(ab|c.d).*", ".*ef.*"}),
                             stream_attr("referer", {"x.y"})}));
    const pdb_list_t list = make_pdb(model);
    pdata_pdb_version_set("1.540.1-24");
    const std::vector<uint8_t> undisturbed = compile(list).bytes;
    const auto compile_once = [&] {
        pdb_t out;
        const pdata_status_t status = pdata_compile(&list, &out, nullptr, {}, 1);
        (void)failing_alloc_disarm(); // the comparison has all the memory
        EXPECT_EQ(out.pdb_tlv == nullptr, status != PDATA_SUCCESS);
        if (out.pdb_tlv != nullptr) {
            EXPECT_EQ(*out.pdb_tlv, undisturbed) << "something was left out in silence";
        }
        return static_cast<int>(status);
    };
    // A success is one of a step that can do without the memory.
    const auto judge = [](int status) {
        EXPECT_TRUE(status == PDATA_SUCCESS || status == PDATA_ERR_NO_MEMORY) << status;
    };
    (void)stderr_of([&] { failing_alloc_sweep(compile_once, judge); });
    clear_status_slot();
}

// ---------------------------------------------------------------------------------------------
// Splitting.

/// The kinds and sizes of the parts of a list, "0:8 7:4 ".
std::string parts_of(const pdb_list_t &list)
{
    std::string text;
    for (const pdb_t &part : list) {
        if (part.pdb_type == PDB_TYPE_END)
            break;
        EXPECT_EQ(pdb_header_bytes(part).size(), part.pdb_tlv_len);
        text += std::to_string(part.pdb_type) + ":" + std::to_string(part.pdb_tlv_len) + " ";
    }
    return text;
}

TEST(pdata_config, a_loadable_pdb_is_split_into_its_parts)
{
    const pdb_list_t list = full_pdb();
    const std::vector<uint8_t> loadable = compile(list).bytes;
    pdb_list_t parts;
    EXPECT_EQ(outcome(pdata_config(loadable, &parts)), "0");
    const pdb_type_t kinds[] = {PDB_TYPE_PROTOCOL_DESCRIPTION, PDB_TYPE_TAGS, PDB_TYPE_MAIN_HSTRING,
                                PDB_TYPE_MATCHER_ALIAS, PDB_TYPE_CFG};
    for (size_t i = 0; i < std::size(kinds); ++i) {
        EXPECT_EQ(parts[i].pdb_type, kinds[i]);
        EXPECT_EQ(part_bytes(parts, kinds[i]), part_bytes(list, kinds[i]));
    }
    EXPECT_EQ(parts[5].pdb_type, PDB_TYPE_END);
    pdata_config_cleanup(&parts);
    EXPECT_EQ(parts_of(parts), "");
}

TEST(pdata_config, parts_are_found_in_any_order)
{
    pdb_list_t parts;
    EXPECT_EQ(
        outcome(pdata_config(bytes("0B 000000  03 000001 00000000  09 000000  01 000000"), &parts)),
        "0");
    EXPECT_EQ(parts_of(parts), "0:4 7:4 1:8 9:4 ");
}

TEST(pdata_config, without_descriptions_there_is_no_list)
{
    pdb_list_t parts = full_pdb();
    EXPECT_EQ(outcome(pdata_config(bytes("09 000000 03 000000"), &parts)), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(parts_of(parts), "");
    EXPECT_EQ(outcome(pdata_config({}, &parts)), OUTCOME_TLV_NOT_FOUND);
}

TEST(pdata_config, without_main_strings_the_list_ends_early)
{
    pdb_list_t parts;
    EXPECT_EQ(outcome(pdata_config(bytes("01 000000  09 000000  0A 000000  0B 000000"), &parts)),
              "0");
    EXPECT_EQ(parts_of(parts), "0:4 7:4 ");
    EXPECT_EQ(outcome(pdata_config(bytes("01 000000  0A 000000"), &parts)), "0");
    EXPECT_EQ(parts_of(parts), "0:4 ");
}

TEST(pdata_config, tags_aliases_and_configuration_may_be_missing)
{
    pdb_list_t parts;
    EXPECT_EQ(outcome(pdata_config(bytes("01 000000  03 000000  0B 000000"), &parts)), "0");
    EXPECT_EQ(parts_of(parts), "0:4 1:4 9:4 ");
}

TEST(pdata_config, a_search_ends_at_a_record_that_is_longer_than_the_pdb)
{
    pdb_list_t parts;
    EXPECT_EQ(outcome(pdata_config(bytes("01 000000  08 000009  03 000000"), &parts)), "0");
    EXPECT_EQ(parts_of(parts), "0:4 ");
    EXPECT_EQ(outcome(pdata_config(bytes("08 000009  01 000000"), &parts)), OUTCOME_TLV_NOT_FOUND);
}

TEST(pdata_config, a_record_that_does_not_end_within_the_pdb_is_none)
{
    pdb_list_t parts;
    EXPECT_EQ(outcome(pdata_config(bytes("01 000000  03 000002 00000000"), &parts)), "0");
    EXPECT_EQ(parts_of(parts), "0:4 ");
}

TEST(pdata_config, a_list_must_be_given)
{
    EXPECT_EQ(outcome(pdata_config(bytes("01 000000"), nullptr)), OUTCOME_INVALID_ARGUMENT);
}

TEST(pdata_config, a_part_that_cannot_be_copied_ends_the_list)
{
    const std::vector<uint8_t> pdb = bytes("01 000000  09 000000  03 000000");
    bool failed = true;
    for (size_t nth = 1; failed; ++nth) {
        pdb_list_t parts;
        failing_alloc_arm(nth);
        const pdata_status_t status = pdata_config(pdb, &parts);
        failed = failing_alloc_disarm();
        EXPECT_EQ(status, failed ? PDATA_ERR_NO_MEMORY : PDATA_SUCCESS);
        // Each part takes two or three allocations.
        if (failed) {
            EXPECT_EQ(parts_of(parts),
                      std::string("0:4 7:4 1:4 ").substr(0, parts_of(parts).size()));
        }
    }
}

TEST(pdata_compile, a_tag_table_that_does_not_exist_is_not_swapped)
{
    pdb_list_t list;
    put_part(&list, PDB_TYPE_PROTOCOL_DESCRIPTION, bytes("01 000000"));
    pdb_build_t build;
    pdb_t out;
    EXPECT_EQ(outcome(pdata_compile_write_pdb(&build, list, &out, 0)), "0");
    const std::span<const uint8_t> written = pdb_header_bytes(out);
    EXPECT_EQ(std::vector<uint8_t>(written.begin(), written.end()),
              bytes("01 000000  00000000 00000000"));
}

} // namespace
