/// The logs of the pdb build.
#include "builder_fixture.h"

namespace
{

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
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(run.serialize(), "0"); }), "");
    EXPECT_EQ(run.diagnostics, "");
    builder_run_t none(logged_model());
    pdb_builder_set_log_fd(&none.context, nullptr, nullptr);
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(none.serialize(), "0"); }), "");
    EXPECT_EQ(none.diagnostics, "");
}

} // namespace
