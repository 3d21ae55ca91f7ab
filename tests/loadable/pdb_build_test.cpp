/// The pdb build: what is read from the parts of a pdb, in which order, and which are missed.
#include "bytes.h"
#include "port_pdb.h"

namespace
{

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
    EXPECT_EQ(printed(run.context.pdb_build.pdb_build_matcher_tab), "");
    EXPECT_EQ(printed(run.context.pdb_build.pdb_build_rule_tab), "");
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

} // namespace
