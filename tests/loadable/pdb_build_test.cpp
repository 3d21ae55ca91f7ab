/// The pdb build: what is read from the parts of a pdb, in which order, and what fails how.
#include "builder_fixture.h"
#include "bytes.h"
#include "pdb_matcher_build.h"
#include "pdb_rule_build.h"

namespace
{

pdb_model port_model()
{
    return {{protocol_of(7, "web", {simple_rule("tcp", {number_attr("port", {"80"})})})}, {}};
}

/// The parts of a pdb with one of them left out.
pdb_list_t without(const pdb_model &model, pdb_type_t type)
{
    const pdb_list_t all = make_pdb(model);
    pdb_list_t list;
    size_t n = 0;
    for (const pdb_t &part : all)
        if (part.pdb_type != type && part.pdb_type != PDB_TYPE_END)
            pdb_header_memcpy(&list[n++], part);
    return list;
}

/// The parts of a pdb with the bytes of one replaced.
pdb_list_t with(const pdb_model &model, pdb_type_t type, std::vector<uint8_t> bytes)
{
    pdb_list_t list = make_pdb(model);
    for (pdb_t &part : list) {
        if (part.pdb_type == type) {
            EXPECT_TRUE(pdb_header_set(&part, type, std::move(bytes)));
        }
    }
    return list;
}

TEST(pdb_builder, without_limits_there_is_no_builder)
{
    pdb_context_t context;
    EXPECT_EQ(outcome(pdb_builder_init(&context, nullptr)), OUTCOME_INVALID_ARGUMENT);
}

TEST(pdb_builder, limits_are_copied_into_the_context)
{
    pdb_context_t context;
    const pdb_params_t params = {1, 2, 3, 4, 5};
    EXPECT_EQ(outcome(pdb_builder_init(&context, &params)), "0");
    EXPECT_EQ(context.config.pdb_max_perm, 1U);
    EXPECT_EQ(context.config.pdb_max_regexp, 2U);
    EXPECT_EQ(context.config.rule_max_attr, 3U);
    EXPECT_EQ(context.config.rule_max_subrules, 4U);
    EXPECT_EQ(context.config.rule_max_path, 5U);
    EXPECT_EQ(context.pdb_build.pdb_build_config, &context.config);
    EXPECT_EQ(context.pdb_build.pdb_build_item_id, 1U);
}

// ---------------------------------------------------------------------------------------------
// Finding parts.

TEST(pdb_builder, a_part_and_the_record_in_it_are_found)
{
    builder_run_t run(port_model());
    std::span<const uint8_t> part;
    std::span<const uint8_t> value;
    EXPECT_EQ(outcome(pdb_builder_load_type(PDB_TYPE_LOAD, TLV_TYPE_ROOT_LOAD, run.context, &part,
                                            &value)),
              "0");
    EXPECT_EQ(part.size(), 8U);
    EXPECT_EQ(value.size(), 4U);
    EXPECT_EQ(value.data(), part.data() + 4);
    EXPECT_EQ(outcome(pdb_builder_load_type(PDB_TYPE_LOAD, 9, run.context, &part, &value)),
              OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(part.size(), 8U);
    EXPECT_EQ(outcome(pdb_builder_load_type(PDB_TYPE_CFG, 11, run.context, &part, &value)),
              OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(outcome(pdb_builder_load_type(PDB_TYPE_LOAD, TLV_TYPE_ROOT_LOAD, run.context, nullptr,
                                            &value)),
              "0");
}

TEST(pdb_builder, a_part_without_a_buffer_has_an_empty_value)
{
    pdb_list_t list;
    list[0].pdb_type = PDB_TYPE_TAGS;
    builder_run_t run(list);
    std::span<const uint8_t> part;
    std::span<const uint8_t> value;
    EXPECT_EQ(outcome(pdb_builder_load_type(PDB_TYPE_TAGS, 9, run.context, &part, &value)), "0");
    EXPECT_TRUE(value.empty());
}

TEST(pdb_builder, nothing_behind_the_end_mark_is_found)
{
    pdb_list_t list = make_pdb(port_model());
    pdb_header_memcpy(&list[5], list[0]);
    list[5].pdb_type = PDB_TYPE_CFG;
    builder_run_t run(list);
    std::span<const uint8_t> value;
    EXPECT_EQ(outcome(pdb_builder_load_type(PDB_TYPE_CFG, 1, run.context, nullptr, &value)),
              OUTCOME_INVALID_ARGUMENT);
}

// ---------------------------------------------------------------------------------------------
// The steps.

TEST(pdb_builder, all_sections_come_out)
{
    builder_run_t run(port_model());
    EXPECT_EQ(run.serialize(), "0");
    EXPECT_EQ(run.diagnostics, "");
    EXPECT_EQ(run.sections().protodesc_tlv.size(), 36U);
    EXPECT_EQ(run.sections().matchers.tlv_list.size(), 1U);
    EXPECT_FALSE(run.sections().matchers.hstring_tlv.empty());
    EXPECT_FALSE(run.sections().rules_tlv.empty());
    EXPECT_EQ(run.context.proto_pdb.data(), run.list[0].pdb_tlv->data());
    // The tables of the build are released.
    EXPECT_TRUE(run.context.pdb_build.pdb_build_matcher_tab.matcher_lists.empty());
    EXPECT_TRUE(run.context.pdb_build.pdb_build_rule_tab.rt_elts.empty());
    pdb_builder_clean(&run.context);
    EXPECT_TRUE(run.sections().rules_tlv.empty());
}

TEST(pdb_builder, the_version_section)
{
    builder_run_t run(port_model());
    EXPECT_EQ(run.serialize(), "0");
    EXPECT_EQ(run.sections().protodesc_tlv, bytes("06 000008  00000001 0000021C 0000000A"
                                                  "'1'.'5'4'0'.'1'-'2'4 0000 00000000 00000000"));
}

TEST(pdb_builder, an_empty_record_of_descriptions_makes_an_empty_pdb)
{
    builder_run_t run(with(port_model(), PDB_TYPE_PROTOCOL_DESCRIPTION, {}));
    EXPECT_EQ(run.serialize(), "0");
    EXPECT_EQ(run.sections().protodesc_tlv, bytes("07 000000"));
    EXPECT_TRUE(run.sections().matchers.tlv_list.empty());
    EXPECT_TRUE(run.sections().matchers.hstring_tlv.empty());
    EXPECT_EQ(run.sections().matchers.root_tlv, 0U);
    EXPECT_TRUE(run.sections().rules_tlv.empty());
}

TEST(pdb_builder, a_pdb_without_a_record_of_descriptions_is_empty)
{
    builder_run_t run(without(port_model(), PDB_TYPE_PROTOCOL_DESCRIPTION));
    EXPECT_EQ(run.serialize(), "0");
    EXPECT_EQ(run.diagnostics, "");
    EXPECT_EQ(run.sections().protodesc_tlv, bytes("07 000000"));
}

TEST(pdb_builder, descriptions_of_another_record_type_are_refused)
{
    builder_run_t run(with(port_model(), PDB_TYPE_PROTOCOL_DESCRIPTION, bytes("02 000000")));
    EXPECT_EQ(run.serialize(), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(run.diagnostics,
              error_line("pdb_builder_serialize", "failed to find TLV_TYPE_ROOT_PROTODESCS.\n"));
    EXPECT_EQ(run.sections().protodesc_tlv.size(), 36U); // the version is written all the same
}

TEST(pdb_builder, tags_are_mandatory)
{
    const std::string expected =
        OUTCOME_INVALID_ARGUMENT ": PDM (tags) is mandatory when you try to compile graph/rules";
    EXPECT_EQ(builder_run_t(without(port_model(), PDB_TYPE_TAGS)).serialize(), expected);
    EXPECT_EQ(builder_run_t(with(port_model(), PDB_TYPE_TAGS, {})).serialize(), expected);
    EXPECT_EQ(builder_run_t(with(port_model(), PDB_TYPE_TAGS, bytes("0A 000000"))).serialize(),
              expected);
    EXPECT_EQ(builder_run_t(with(port_model(), PDB_TYPE_TAGS, bytes("09 000000"))).serialize(),
              "0");
}

TEST(pdb_builder, main_strings_are_mandatory)
{
    EXPECT_EQ(builder_run_t(without(port_model(), PDB_TYPE_MAIN_HSTRING)).serialize(),
              OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(
        builder_run_t(with(port_model(), PDB_TYPE_MAIN_HSTRING, bytes("04 000000"))).serialize(),
        OUTCOME_TLV_NOT_FOUND);
}

TEST(pdb_builder, tags_are_looked_for_behind_the_descriptions_and_in_front_of_the_strings)
{
    pdb_list_t list = without(port_model(), PDB_TYPE_TAGS);
    for (pdb_t &part : list)
        if (part.pdb_type == PDB_TYPE_MAIN_HSTRING)
            part.pdb_type = PDB_TYPE_TMP;
    EXPECT_EQ(builder_run_t(list).serialize(), OUTCOME_INVALID_ARGUMENT
              ": PDM (tags) is mandatory when you try to compile graph/rules");
}

/// The root record of descriptions: groups, or what else is given.
std::vector<uint8_t> root_of(const word_list &children)
{
    return stored(record(TLV_TYPE_ROOT_PROTODESCS, children));
}

word_list group_of(const pdb_model &model)
{
    string_pool tag_pool;
    return description_writer::group_record(tag_pool, model.protocols);
}

TEST(pdb_builder, another_child_of_the_descriptions_is_named_and_skipped)
{
    const word_list group = group_of(port_model());
    builder_run_t run(with(port_model(), PDB_TYPE_PROTOCOL_DESCRIPTION,
                           root_of(join({record(9, {1, 2}), group, record(4)}))));
    EXPECT_EQ(run.serialize(), "0");
    EXPECT_EQ(run.diagnostics,
              error_line("pdb_builder_serialize", "Unexpected TLV type: 9 at offset: 0\n\n") +
                  error_line("pdb_builder_serialize", "Unexpected TLV type: 4 at offset: " +
                                                          std::to_string(3 + group.size()) +
                                                          "\n\n"));
    EXPECT_EQ(run.sections().matchers.tlv_list.size(), 1U);
}

TEST(pdb_builder, descriptions_without_a_group_have_neither_matchers_nor_rules)
{
    builder_run_t run(with(port_model(), PDB_TYPE_PROTOCOL_DESCRIPTION, root_of({})));
    EXPECT_EQ(run.serialize(), "0");
    EXPECT_EQ(run.sections().protodesc_tlv.size(), 36U);
    EXPECT_TRUE(run.sections().matchers.tlv_list.empty());
    EXPECT_EQ(run.sections().rules_tlv, bytes("05 000008  01 000001 00000000  02 000000"
                                              "05 000001 00000000  03 000001 01 000000"
                                              "04 000000"));
}

TEST(pdb_builder, a_group_without_strings_is_refused)
{
    builder_run_t run(with(port_model(), PDB_TYPE_PROTOCOL_DESCRIPTION,
                           root_of(record(1, record(TLV_TYPE_PROTOGROUP_PROTOS)))));
    EXPECT_EQ(run.serialize(), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(run.diagnostics,
              error_line("pdb_builder_get_protocol_offsets", "hstring not found\n") +
                  error_line("pdb_builder_serialize",
                             "pdb_builder: create offset of protocols failed.\n"));
}

TEST(pdb_builder, a_group_without_protocols_is_refused)
{
    builder_run_t run(with(port_model(), PDB_TYPE_PROTOCOL_DESCRIPTION,
                           root_of(record(1, record(TLV_TYPE_PROTOGROUP_STRING)))));
    EXPECT_EQ(run.serialize(), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(run.diagnostics, error_line("pdb_builder_serialize",
                                          "pdb_builder: create offset of protocols failed.\n"));
}

TEST(pdb_builder, a_stray_record_among_the_protocols_is_named_twice_and_skipped)
{
    string_pool pool;
    string_pool tag_pool;
    const protocol_model protocol = port_model().protocols[0];
    const word_list one =
        record(TLV_TYPE_PROTO, description_writer::protocol_words(pool, tag_pool, protocol));
    const word_list group =
        record(1, join({record(TLV_TYPE_PROTOGROUP_PROTOS, join({record(5, {1, 2}), one})),
                        record(TLV_TYPE_PROTOGROUP_STRING, description_writer::pool_words(pool))}));
    builder_run_t run(with(port_model(), PDB_TYPE_PROTOCOL_DESCRIPTION, root_of(group)));
    EXPECT_EQ(run.serialize(), "0");
    const std::string line = error_line("pdb_builder_get_protocol_offsets",
                                        "Wrong TLV TYPE (5): Must be TLV_TYPE_PROTO\n");
    EXPECT_EQ(run.diagnostics, line + line);
    EXPECT_EQ(run.sections().matchers.tlv_list.size(), 1U);
}

// ---------------------------------------------------------------------------------------------
// Records that claim more words than their parent holds.

/// The same record with a length of `more` words more.
word_list claiming(word_list record, uint32_t more)
{
    record[0] += more;
    return record;
}

/// The parts of the one group of a model.
struct group_words_t {
    string_pool pool;
    string_pool tag_pool;
    word_list protocol;
    word_list strings;

    group_words_t()
        : protocol(record(TLV_TYPE_PROTO, description_writer::protocol_words(
                                              pool, tag_pool, port_model().protocols[0]))),
          strings(record(TLV_TYPE_PROTOGROUP_STRING, description_writer::pool_words(pool)))
    {
    }
    static word_list group(const word_list &protocols, const word_list &strings)
    {
        return record(1, join({record(TLV_TYPE_PROTOGROUP_PROTOS, protocols), strings}));
    }
    word_list group() const { return group(protocol, strings); }
};

/// Builds a pdb with these children of the protocol descriptions.
std::string build_of(const word_list &children, std::string *diagnostics = nullptr)
{
    builder_run_t run(with(port_model(), PDB_TYPE_PROTOCOL_DESCRIPTION, root_of(children)));
    std::string text = run.serialize();
    if (diagnostics != nullptr)
        *diagnostics = run.diagnostics;
    return text + ", matchers: " + std::to_string(run.sections().matchers.tlv_list.size());
}

TEST(over_long_records, a_group_ends_with_the_descriptions)
{
    const group_words_t words;
    std::string diagnostics;
    EXPECT_EQ(build_of(words.group()), "0, matchers: 1");
    for (const uint32_t more : {1U, 1000U, 0xFFFF00U}) {
        EXPECT_EQ(build_of(claiming(words.group(), more), &diagnostics), "0, matchers: 1");
        EXPECT_EQ(diagnostics, "");
    }
}

TEST(over_long_records, a_protocol_ends_with_the_list)
{
    const group_words_t words;
    for (const uint32_t more : {1U, 1000U, 0xFFFF00U})
        EXPECT_EQ(build_of(group_words_t::group(claiming(words.protocol, more), words.strings)),
                  "0, matchers: 1");
}

TEST(over_long_records, a_string_table_ends_with_the_group)
{
    const group_words_t words;
    EXPECT_EQ(build_of(group_words_t::group(words.protocol, claiming(words.strings, 1))),
              "0, matchers: 1");
    std::string diagnostics;
    EXPECT_EQ(build_of(group_words_t::group(words.protocol, claiming(words.strings, 0xFFFF00)),
                       &diagnostics),
              "102, matchers: 0"); // more than the whole group holds: the search goes no further
    EXPECT_EQ(diagnostics.substr(0, 65),
              error_line("pdb_builder_get_protocol_offsets", "hstring not found\n").substr(0, 65));
}

TEST(over_long_records, a_group_without_its_content_fails)
{
    std::string diagnostics;
    EXPECT_EQ(build_of(claiming(record(1), 1), &diagnostics), "102, matchers: 0");
    EXPECT_EQ(diagnostics, error_line("pdb_builder_get_protocol_offsets", "hstring not found\n") +
                               error_line("pdb_builder_serialize",
                                          "pdb_builder: create offset of protocols failed.\n"));
}

TEST(over_long_records, a_protocol_without_its_content_fails)
{
    const group_words_t words;
    const word_list nothing = claiming(record(TLV_TYPE_PROTO), 7);
    std::string diagnostics;
    EXPECT_EQ(build_of(group_words_t::group(nothing, words.strings), &diagnostics),
              OUTCOME_INVALID_ARGUMENT
              ": too small buffer for deserialization: 7 + 1 > 1\n, matchers: 0");
    EXPECT_EQ(diagnostics, error_line("pdb_builder_serialize", "pdb_builder: matcher register.\n"));
    // The meta and the places of the rules are there, the rules are not.
    const word_list meta = record(TLV_TYPE_PROTO_META, {1, 0, 0, 0, 0});
    const word_list places = record(TLV_TYPE_PROTO_RULES_OFFSET, {0});
    const word_list rules_cut = claiming(record(TLV_TYPE_PROTO, join({meta, places})), 1);
    EXPECT_EQ(build_of(group_words_t::group(rules_cut, words.strings)), OUTCOME_INVALID_ARGUMENT
              ": too small buffer for deserialization: 9 + 1 > 9\n, matchers: 0");
}

TEST(over_long_records, stray_ones_are_named)
{
    const group_words_t words;
    std::string diagnostics;
    EXPECT_EQ(build_of(join({words.group(), claiming(record(5), 3)}), &diagnostics),
              "0, matchers: 1");
    EXPECT_EQ(diagnostics, error_line("pdb_builder_serialize",
                                      "Unexpected TLV type: 5 at offset: " +
                                          std::to_string(words.group().size()) + "\n\n"));
    EXPECT_EQ(build_of(group_words_t::group(join({words.protocol, claiming(record(6), 3)}),
                                            words.strings),
                       &diagnostics),
              "0, matchers: 1");
    const std::string line = error_line("pdb_builder_get_protocol_offsets",
                                        "Wrong TLV TYPE (6): Must be TLV_TYPE_PROTO\n");
    EXPECT_EQ(diagnostics, line + line);
}

TEST(pdb_builder, protocol_offsets_are_those_of_their_headers)
{
    const group_t group(
        {protocol_of(1, "a", {}), protocol_of(2, "b", {}), protocol_of(3, "c", {})});
    ASSERT_EQ(group.pg.pg_proto_offset.size(), 3U);
    EXPECT_EQ(group.pg.pg_proto_offset[0], 0U);
    for (const uint32_t offset : group.pg.pg_proto_offset)
        EXPECT_EQ(group.pg.pg_proto_list[size_t{offset} * 4], TLV_TYPE_PROTO);
    protodesc_t protocol;
    EXPECT_EQ(outcome(pdb_rule_build_get_proto(group.pg, 2, &protocol)), "0");
    EXPECT_EQ(protodesc_get_id(protocol), 3U);
    EXPECT_EQ(outcome(pdb_rule_build_get_proto(group.pg, 3, &protocol)), OUTCOME_INVALID_ARGUMENT);
}

TEST(pdb_builder, a_protocol_that_cannot_be_read_ends_the_filing)
{
    const word_list group =
        record(1, join({record(TLV_TYPE_PROTOGROUP_PROTOS, record(TLV_TYPE_PROTO, record(9))),
                        record(TLV_TYPE_PROTOGROUP_STRING)}));
    builder_run_t run(with(port_model(), PDB_TYPE_PROTOCOL_DESCRIPTION, root_of(group)));
    EXPECT_EQ(run.serialize(), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(run.diagnostics,
              error_line("pdb_builder_serialize", "pdb_builder: matcher register.\n"));
}

TEST(pdb_builder, a_protocol_without_a_readable_name_ends_the_filing)
{
    pdb_model model = port_model();
    model.protocols[0].name = ""; // what the pool does not take is stored as an offset far away
    builder_run_t run(model);
    EXPECT_EQ(run.serialize(), OUTCOME_ENGINE);
    EXPECT_EQ(run.diagnostics,
              error_line("pdb_builder_serialize", "pdb_builder: matcher register.\n"));
}

TEST(pdb_builder, a_failure_inside_the_rules_of_a_protocol_does_not_stop_the_next_one)
{
    pdb_model model = port_model();
    attr_model unknown_way = number_attr("port", {"1"});
    unknown_way.way = ATTR_WAY_UNKNOWN;
    model.protocols.insert(model.protocols.begin(),
                           protocol_of(6, "odd",
                                       {simple_rule("tcp", {number_attr("port", {"22"})}),
                                        simple_rule("tcp", {unknown_way}),
                                        simple_rule("tcp", {number_attr("port", {"23"})})}));
    const loaded_t loaded(model);
    // Of "odd" the rules in front of the failure are there, the one behind it is not.
    ASSERT_EQ(loaded.pdb.rules.size(), 2U);
    EXPECT_EQ(loaded.pdb.rules[0].path[0], "odd");
    EXPECT_EQ(loaded.pdb.rules[1].path[0], "web");
    const number_reader &ports = loaded.pdb.matchers[0].number;
    EXPECT_EQ(number_reader_find(ports, {22, {}}).size(), 1U);
    EXPECT_EQ(number_reader_find(ports, {23, {}}).size(), 0U);
    EXPECT_EQ(number_reader_find(ports, {80, {}}).size(), 1U);
}

TEST(pdb_builder, too_many_protocols_for_the_exports_end_the_filing)
{
    std::vector<protocol_model> protocols(16384, protocol_of(1, "p", {}));
    EXPECT_EQ(builder_run_t({protocols, {}}).serialize(), OUTCOME_OVERFLOW);
    protocols.pop_back();
    EXPECT_EQ(builder_run_t({protocols, {}}).serialize(), "0");
}

TEST(pdb_builder, the_matchers_of_a_rule_belong_to_the_bottom_of_its_sub_rules)
{
    const rule_model rule = rule_of({{"tcp", "ip", 0, 0, {number_attr("port", {"80"})}},
                                     {"udp", "ip", 0, 0, {number_attr("port", {"81"})}}});
    const loaded_t loaded(pdb_model{{protocol_of(7, "web", {rule})}, {}});
    ASSERT_EQ(loaded.pdb.matchers.size(), 2U);
    EXPECT_EQ(loaded.pdb.matchers[0].protocol, "udp");
    EXPECT_EQ(loaded.pdb.matchers[1].protocol, "tcp");
}

TEST(pdb_builder, the_minimum_data_of_the_direction_reaches_the_matcher)
{
    sub_rule_model sub_rule = sub_rule_of("tcp", {stream_attr("stream", {"ab"}, ATTR_WAY_CTS),
                                                  stream_attr("pattern", {"ab"}, ATTR_WAY_STC)});
    sub_rule.cts_mindata = 30;
    sub_rule.stc_mindata = 20;
    const loaded_t loaded(pdb_model{{protocol_of(7, "web", {rule_of({sub_rule})})}, {}});
    EXPECT_EQ(loadable_find_matcher(loaded.pdb, "tcp", "stream", ATTR_WAY_CTS)->min_data, 30U);
    EXPECT_EQ(loadable_find_matcher(loaded.pdb, "tcp", "pattern", ATTR_WAY_STC)->min_data, 20U);
}

TEST(pdb_builder, a_minimum_of_65536_is_none)
{
    const rule_model rule = rule_of({sub_rule_of("tcp", {stream_attr("stream", {"ab"})}, 65536)});
    const loaded_t loaded(pdb_model{{protocol_of(7, "web", {rule})}, {}});
    EXPECT_EQ(loaded.pdb.matchers[0].min_data, 0U);
    const rule_model less = rule_of({sub_rule_of("tcp", {stream_attr("stream", {"ab"})}, 65535)});
    const loaded_t other(pdb_model{{protocol_of(7, "web", {less, rule})}, {}});
    EXPECT_EQ(other.pdb.matchers[0].min_data, 65535U);
}

TEST(pdb_builder, a_value_of_both_directions_has_the_servers_minimum_in_both_matchers)
{
    sub_rule_model sub_rule = sub_rule_of("tcp", {stream_attr("stream", {"ab"}, ATTR_WAY_BOTH)});
    sub_rule.cts_mindata = 30;
    sub_rule.stc_mindata = 20;
    const loaded_t loaded(pdb_model{{protocol_of(7, "web", {rule_of({sub_rule})})}, {}});
    EXPECT_EQ(loaded.pdb.matchers[0].min_data, 20U);
    EXPECT_EQ(loaded.pdb.matchers[1].min_data, 20U);
}

TEST(pdb_builder, older_stored_forms_are_compiled_as_well)
{
    rule_model oldest = simple_rule("tcp", {stream_attr("stream", {".*ab.*"})}, 5);
    oldest.meta_version = 1;
    oldest.sub_rules[0].attrs[0].type = MATCHER_TYPE_STREAM_OFFSET; // the form without offsets
    oldest.sub_rules[0].cts_mindata = 9;
    const loaded_t loaded(pdb_model{{protocol_of(7, "web", {oldest})}, {}});
    ASSERT_EQ(loaded.pdb.rules.size(), 1U);
    EXPECT_EQ(loaded.pdb.rules[0].real_bottoms[0], "tcp");
    EXPECT_EQ(loaded.pdb.rules[0].vid, 0U); // a form without one reads as 0
    EXPECT_EQ(loaded.pdb.slots[1].priority, 5U);
}

// ---------------------------------------------------------------------------------------------
// Failures of the later steps.

TEST(pdb_builder, a_matcher_that_cannot_be_built_is_reported_step_by_step)
{
    pdb_model model = port_model();
    model.protocols[0].rules[0].sub_rules[0].attrs[0].name = "colour";
    builder_run_t run(model);
    EXPECT_EQ(run.serialize(), OUTCOME_INVALID_ARGUMENT ": matcher_type unknown [tcp][colour].");
    EXPECT_EQ(run.diagnostics,
              error_line("pdb_builder_serialize", "pdb_builder_matcher_serialize.\n"));
    EXPECT_TRUE(run.context.pdb_build.pdb_build_matcher_tab.matcher_lists.empty());
}

TEST(pdb_builder, a_rule_that_cannot_be_built_is_reported_step_by_step)
{
    pdb_model model = port_model();
    model.protocols[0].rules[0].path = {"a", "b", "c", "d", "web"};
    builder_run_t run(model);
    EXPECT_EQ(run.serialize(), OUTCOME_OVERFLOW ": maximum protocol id number (4) reached --> (5)");
    EXPECT_EQ(run.diagnostics,
              error_line("pdb_builder_serialize", "pdb_builder: rule build failed.\n"));
}

TEST(pdb_builder, rules_that_cannot_be_written_are_reported_step_by_step)
{
    pdb_model model = port_model();
    model.protocols[0].rules[0].tags = {"video"};
    builder_run_t run(model);
    EXPECT_EQ(run.serialize(), OUTCOME_PROTODESC_TAG ": Rule tag name video not found \n");
    EXPECT_EQ(run.diagnostics,
              error_line("pdb_ruletag_map_serialize", "Failed to resolve rule tag name(video).\n") +
                  error_line("pdb_rule_serialize", "pdb_rule_build_serialize failed..\n") +
                  error_line("pdb_builder_serialize", "pdb_builder: rule serialize failed.\n"));
}

TEST(pdb_builder, a_second_group_hides_the_first_from_the_rules)
{
    const pdb_model two = {
        {protocol_of(1, "a", {simple_rule("tcp", {number_attr("port", {"1"})})}),
         protocol_of(2, "b", {simple_rule("tcp", {number_attr("port", {"2"})})})},
        {}};
    const pdb_model one = {
        {protocol_of(3, "c", {simple_rule("tcp", {number_attr("port", {"3"})})})}, {}};
    builder_run_t run(
        with(two, PDB_TYPE_PROTOCOL_DESCRIPTION, root_of(join({group_of(two), group_of(one)}))));
    EXPECT_EQ(run.serialize(), OUTCOME_INVALID_ARGUMENT);
    EXPECT_NE(run.diagnostics.find("pdb_builder_matcher_serialize.\n"), std::string::npos);
    // Of the same number of protocols the second group's are taken.
    builder_run_t same(
        with(one, PDB_TYPE_PROTOCOL_DESCRIPTION, root_of(join({group_of(one), group_of(one)}))));
    EXPECT_EQ(same.serialize(), "0");
}

// ---------------------------------------------------------------------------------------------
// Logs.

pdb_model logged_model()
{
    rule_model rule = rule_of(
        {sub_rule_of("http", {stream_attr("server", {".*site.*"})}),
         sub_rule_of("tcp",
                     {number_attr("port", {"80,81"}, MATCHER_TYPE_NUMBER_16, ATTR_WAY_BOTH)})},
        0x07000009);
    return {
        {protocol_of(0x01000007, "web", {simple_rule("tcp", {number_attr("port", {"5"})}), rule})},
        {}};
}

TEST(pdb_builder_log, values_are_logged_as_they_become_items)
{
    memory_log_t log;
    builder_run_t run(logged_model());
    pdb_builder_set_log_fd(&run.context, log.file, nullptr);
    EXPECT_EQ(run.serialize(), "0");
    // tcp:port of the server is the newest list, then http:server, then the client's ports, where
    // the twin of 80,81 is registered without a line.
    EXPECT_EQ(log.str(),
              "matcher_name                  \titem_id\tns_id\tproto_id\trule_idx\tpattern\n"
              "stc-tcp-port                \t1      \t1    \t16777223\t1       \t80,81\n"
              "cts-http-server              \t2      \t1    \t16777223\t1       \t.*site.*\n"
              "cts-tcp-port                \t3      \t1    \t16777223\t0       \t5\n");
}

TEST(pdb_builder_log, rules_are_logged_in_the_order_of_their_ids)
{
    memory_log_t log;
    builder_run_t run(logged_model());
    pdb_builder_set_log_fd(&run.context, nullptr, log.file);
    EXPECT_EQ(log.str().size(), 68U);
    EXPECT_EQ(run.serialize(), "0");
    // The header has no line end. The columns behind the priority are the summed length of the
    // values and the number of items.
    EXPECT_EQ(log.str(),
              "proto\tproto-name\tbottom\trule-id\trule-prio\trule-idx\titem-nr\titem-ids\t"
              "16777223\tweb\ttcp\t1\t0:16773215\t0\t1\t3,\n"
              "16777223\tweb\thttp\t2\t7:9\t8\t2\t1,2,\n");
}

TEST(pdb_builder_log, no_log_is_the_default)
{
    builder_run_t run(logged_model());
    EXPECT_EQ(run.context.pdb_build.pdb_build_pattern_fd, nullptr);
    EXPECT_EQ(run.context.pdb_build.pdb_build_rule_fd, nullptr);
    pdb_builder_set_log_fd(&run.context, nullptr, nullptr);
    EXPECT_EQ(run.serialize(), "0");
}

} // namespace
