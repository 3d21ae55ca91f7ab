/// The pdb build: protocols, values and rules on their way to matchers, and what fails how.
#include "bytes.h"
#include "pdb_matcher_build.h"
#include "pdb_rule_build.h"
#include "port_pdb.h"

namespace
{

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
    EXPECT_EQ(printed(run.context.pdb_build.pdb_build_matcher_tab), "");
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

} // namespace
