/// Failures of the build passes that no pdb leads to, because an earlier pass would stop first.
#include "builder_fixture.h"
#include "pdb_matcher_build.h"
#include "pdb_rule_build.h"

namespace
{

/// A build whose rule table is filled by hand.
struct rule_run_t {
    group_t group;
    pdb_config_t config = {32, 32768, 16, 2, 4};
    pdb_build_t build;
    std::string diagnostics;

    explicit rule_run_t(const std::vector<protocol_model> &protocols) : group(protocols)
    {
        clear_status_slot();
        EXPECT_EQ(outcome(pdb_init(&build, &config)), "0");
        EXPECT_EQ(outcome(pdb_builder_matcher_register(&build, group.pg)), "0");
        pdb_matcher_tab_clean(&build.pdb_build_matcher_tab); // only its own items count
    }

    void add_item(const pdb_rule_key_t &key, uint32_t item_id)
    {
        EXPECT_EQ(outcome(pdb_rule_tab_add(&build.pdb_build_rule_tab, key, {item_id, 0, 0, 0},
                                           &build.pdb_build_nr_rule, config.rule_max_attr)),
                  "0");
    }
    std::string build_rules()
    {
        const pdb_protodesc protodesc;
        std::string text;
        diagnostics =
            mask_lines(stderr_of([&] { text = outcome(pdb_rule_build(&build, protodesc)); }));
        return text;
    }
    std::string serialize_rules()
    {
        std::string text;
        diagnostics = mask_lines(stderr_of([&] { text = outcome(pdb_rule_serialize(&build, 1)); }));
        return text;
    }
};

const rule_model port_rule = simple_rule("tcp", {number_attr("port", {"80"})});

TEST(rule_pass_failures, a_protocol_that_is_not_there)
{
    rule_run_t run({protocol_of(1, "web", {port_rule})});
    run.add_item({1, 0}, 1);
    EXPECT_EQ(run.build_rules(), OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(run.diagnostics,
              error_line("pdb_rule_build", "pdb_rule_build_get_proto: protocol not found.\n"));
}

TEST(rule_pass_failures, a_rule_that_is_not_there)
{
    rule_run_t run({protocol_of(1, "web", {port_rule})});
    run.add_item({0, 1}, 1);
    EXPECT_EQ(run.build_rules().substr(0, 2), "2:");
    EXPECT_EQ(run.diagnostics,
              error_line("pdb_rule_build", "pdb_rule_build_get_rule: rule not found.\n"));
}

TEST(rule_pass_failures, a_rule_without_sub_rules)
{
    rule_run_t run({protocol_of(1, "web", {rule_of({})})});
    run.add_item({0, 0}, 1);
    EXPECT_EQ(run.build_rules(), OUTCOME_INVALID_ARGUMENT ": sub rule index is out of bounds");
    EXPECT_EQ(run.diagnostics,
              error_line("pdb_rule_build", "pdb_rule_build_get_sub_rule: sub rule not found.\n"));
}

TEST(rule_pass_failures, more_items_than_the_rule_builder_takes)
{
    rule_run_t run({protocol_of(1, "web", {port_rule})});
    run.config.rule_max_attr = 17;
    for (uint32_t item_id = 1; item_id <= 17; ++item_id)
        run.add_item({0, 0}, item_id);
    EXPECT_EQ(run.build_rules(),
              OUTCOME_INVALID_ARGUMENT ": Too many items when registering rule 17 \n");
    EXPECT_EQ(run.diagnostics, error_line("pdb_rule_build", "rule_builder_register failed.\n"));
}

TEST(rule_pass_failures, an_item_beyond_the_table)
{
    rule_run_t run({protocol_of(1, "web", {port_rule})});
    run.add_item({0, 0}, 1);
    EXPECT_EQ(run.build_rules(), "0");
    EXPECT_EQ(run.diagnostics, "");
    run.build.pdb_build_rule_builder.items.front().id = 2;
    EXPECT_EQ(run.serialize_rules(), OUTCOME_RULE_ENGINE ": Internal bug, bad item id.\n");
    EXPECT_EQ(run.diagnostics,
              error_line("pdb_rule_build_serialize", "rule_builder_serialize failed.\n") +
                  error_line("pdb_rule_serialize", "pdb_rule_build_serialize failed..\n"));
}

TEST(rule_pass_failures, the_maps_are_released_whatever_comes)
{
    rule_run_t run({protocol_of(1, "web", {port_rule})});
    run.add_item({0, 0}, 1);
    EXPECT_EQ(run.build_rules(), "0");
    EXPECT_EQ(run.serialize_rules(), "0");
    EXPECT_EQ(run.build.pdb_build_proto_map.map_nr_rule, 0U);
    EXPECT_TRUE(run.build.pdb_build_ruletag_map.ruledesc_table.empty());
    EXPECT_TRUE(run.build.pdb_build_rule_builder.rules.empty());
    EXPECT_FALSE(run.build.pdb_build_tlv.rules_tlv.empty());
}

TEST(matcher_pass_failures, headers_that_cannot_be_written)
{
    rule_run_t run({});
    run.build.pdb_build_tlv.matchers.root_len = 0xFFFFFF;
    std::string text;
    const std::string diagnostics =
        mask_lines(stderr_of([&] { text = outcome(pdb_matcher_build(&run.build, {}, nullptr)); }));
    EXPECT_EQ(text, OUTCOME_OVERFLOW ": tlv len 4 is superior to internal limit 16777215");
    EXPECT_EQ(diagnostics,
              error_line("pdb_matcher_build", "pdb_matcher_build_serialize_list failed.\n"));
}

TEST(matcher_pass_failures, a_value_of_a_protocol_that_is_not_there_has_no_log_line)
{
    rule_run_t run({});
    memory_log_t log;
    run.build.pdb_build_pattern_fd = log.file;
    pdb_matcher_value_t value = {{5, 0}, csa_str("80"), 0, 0, 0};
    const matcher_key_t key = {csa_str("tcp"), csa_str("port"), ATTR_WAY_CTS};
    EXPECT_EQ(outcome(pdb_matcher_register(&run.build, key, value)), "0");
    std::string text;
    const std::string diagnostics =
        mask_lines(stderr_of([&] { text = outcome(pdb_matcher_build(&run.build, {}, nullptr)); }));
    EXPECT_EQ(text, OUTCOME_INVALID_ARGUMENT) << "its minimum data cannot be looked up";
    EXPECT_EQ(log.str(), "");
    EXPECT_EQ(diagnostics, "");
}

TEST(rule_pass_failures, a_second_sub_rule_that_cannot_be_read)
{
    rule_run_t run({protocol_of(1, "web", {port_rule})});
    run.add_item({0, 0}, 1);
    run.build.pdb_build_facts.views[0].rule.rule_nr_srules = 2; // of which one is there
    EXPECT_EQ(run.build_rules(), OUTCOME_INVALID_ARGUMENT ": Len mismatch, cannot serialize");
    EXPECT_EQ(run.diagnostics, "");
}

TEST(rule_pass_failures, a_section_that_no_record_can_hold)
{
    const auto refusal = [](const auto &change) {
        rule_run_t run({protocol_of(1, "web", {port_rule})});
        run.add_item({0, 0}, 1);
        EXPECT_EQ(run.build_rules(), "0");
        change(run.build);
        return run.serialize_rules() + "\n" + run.diagnostics;
    };
    const auto refused = [](uint32_t type, const std::string &line) {
        return OUTCOME_OVERFLOW ": tlv len " + std::to_string(type) +
               " is superior to internal limit 16777215\n" + line +
               error_line("pdb_rule_serialize", "pdb_rule_build_serialize failed..\n");
    };
    EXPECT_EQ(refusal([](pdb_build_t &build) {
                  build.pdb_build_proto_map.map_hstring.hb_offset = (TLV_LEN_FIELD_MAX + 1) * 4;
              }),
              refused(TLV_TYPE_PDB_RULE_STRING,
                      error_line("pdb_rule_build_serialize",
                                 "rule serialize, hstring serialize failed.\n")));
    EXPECT_EQ(refusal([](pdb_build_t &build) {
                  build.pdb_build_rule_builder.nb_items = (TLV_LEN_FIELD_MAX + 1) / 4;
              }),
              refused(TLV_TYPE_PDB_RULE_ENGINE,
                      error_line("pdb_rule_build_serialize", "rule_builder_serialize failed.\n")));
    EXPECT_EQ(refusal([](pdb_build_t &build) {
                  build.pdb_build_proto_map.map_bottom.resize(TLV_LEN_FIELD_MAX + 1);
              }),
              refused(TLV_TYPE_PDB_RULE_PROTOCOL_MAP, ""));
}

TEST(rule_pass_failures, a_protocol_whose_place_is_behind_the_list)
{
    const pdb_pg pg = {};
    protodesc_t protocol;
    EXPECT_EQ(outcome(pdb_rule_build_get_proto(pg, 0, &protocol)), OUTCOME_INVALID_ARGUMENT);
    pdb_pg empty;
    empty.pg_proto_offset = {0};
    EXPECT_EQ(outcome(pdb_rule_build_get_proto(empty, 0, &protocol)), OUTCOME_INVALID_ARGUMENT);
}

TEST(matcher_pass_failures, a_protocol_that_cannot_be_read_has_no_log_line)
{
    rule_run_t run({protocol_of(1, "web", {port_rule})});
    memory_log_t log;
    run.build.pdb_build_pattern_fd = log.file;
    run.build.pdb_build_facts.protocols.clear(); // its rules stay
    const matcher_key_t key = {csa_str("tcp"), csa_str("port"), ATTR_WAY_CTS};
    EXPECT_EQ(outcome(pdb_matcher_register(&run.build, key, {{0, 0}, csa_str("80"), 0, 0, 0})),
              "0");
    std::string text;
    const std::string diagnostics =
        mask_lines(stderr_of([&] { text = outcome(pdb_matcher_build(&run.build, {}, nullptr)); }));
    EXPECT_EQ(text, "0");
    EXPECT_EQ(log.str(), "");
    EXPECT_EQ(diagnostics, error_line("pdb_matcher_register_print",
                                      "pdb_rule_build_get_proto: protocol not found.\n"));
}

TEST(matcher_pass_failures, a_value_that_may_not_even_be_read)
{
    rule_run_t run({protocol_of(1, "web", {port_rule})});
    pdb_matcher_list_t list;
    pdb_matcher_run_t matcher_run = {&run.build, nullptr, list, {}, MATCHER_TYPE_STREAM};
    matcher_run.matcher.budget.limit = 2;
    pdb_matcher_elt elt;
    elt.matcher_elt_val = csa_str("abc");
    EXPECT_EQ(outcome(pdb_matcher_build_register(&matcher_run, &elt)),
              OUTCOME_OVERFLOW ": values expand to more than 2 bytes\n");
}

/// An export one of whose operations fails.
pdata_sig_export_ops failing_ops(bool prepare)
{
    pdata_sig_export_ops ops = signature_coverage_ops;
    const auto fail = [](pdata_sig_export *) { return PDATA_ERR_SIG_EXPORT; };
    if (prepare)
        ops.matcher_prepare = [](pdata_sig_export *, const csa_str_t *, const csa_str_t *,
                                 uint8_t) { return PDATA_ERR_SIG_EXPORT; };
    else
        ops.matcher_finalize = fail;
    return ops;
}

TEST(matcher_pass_failures, an_export_that_fails)
{
    for (const bool prepare : {true, false}) {
        rule_run_t run({protocol_of(1, "web", {port_rule})});
        const matcher_key_t key = {csa_str("tcp"), csa_str("port"), ATTR_WAY_CTS};
        EXPECT_EQ(outcome(pdb_matcher_register(&run.build, key, {{0, 0}, csa_str("80"), 0, 0, 0})),
                  "0");
        const pdata_sig_export_ops ops = failing_ops(prepare);
        pdata_sig_export_t sig_export;
        sig_export.ops = &ops;
        EXPECT_EQ(outcome(pdb_matcher_build(&run.build, {}, &sig_export)), OUTCOME_SIG_EXPORT);
    }
}

} // namespace
