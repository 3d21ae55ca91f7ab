/// Memory: a flow allocates when it is made and never again, and every allocation of the library
/// may fail.
#include "failing_alloc.h"
#include "match_flow.h"
#include "match_run.h"
#include "random_pdb.h"
#include "rounds.h"
#include "view_sections.h"

namespace
{

/// Hands values to a flow with the C operations alone, which allocate nothing of their own.
void feed(pdata_flow *flow, pdata_attribute attribute, pdata_kind kind, const flow_value_t &value)
{
    const uint8_t address[16] = {0x20, 0x01, 0x0d, 0xb8};
    switch (kind) {
    case PDATA_BYTES:
        (void)pdata_flow_add_bytes(flow, attribute, value.bytes.data(), value.bytes.size(),
                                   value.more ? PDATA_MORE : 0);
        break;
    case PDATA_NUMBER:
        (void)pdata_flow_add_number(flow, attribute, value.number.number);
        break;
    case PDATA_IPV4:
        (void)pdata_flow_add_ipv4(flow, attribute, address);
        break;
    case PDATA_IPV6:
        (void)pdata_flow_add_ipv6(flow, attribute, address);
        break;
    }
}

/// Runs a flow with every attribute of the database, and asks all questions.
void run_flow(const pdata::database &db, pdata_flow *flow, random_match_t &random)
{
    std::vector<flow_value_t> values = make_random_flow(random);
    const uint32_t nr = db.describe().nr_attribute;
    pdata_rule rules[8];
    pdata_item items[8];
    pdata_near near[8];
    pdata_finding finding;
    failing_alloc_arm(1);
    for (pdata_attribute attribute = 1; attribute <= nr; ++attribute) {
        pdata_attribute_info info;
        (void)pdata_db_attribute_info(db.get(), attribute, &info);
        for (const flow_value_t &value : values)
            feed(flow, attribute, info.kind, value);
    }
    (void)pdata_flow_add_protocol(flow, 1);
    (void)pdata_flow_best(flow);
    (void)pdata_flow_rules(flow, rules, 8);
    (void)pdata_flow_items(flow, items, 8);
    (void)pdata_flow_near(flow, near, 8);
    for (size_t i = 0; i < pdata_flow_nr_finding(flow); ++i)
        (void)pdata_flow_finding_at(flow, i, &finding);
    pdata_flow_reset(flow);
    EXPECT_FALSE(failing_alloc_disarm());
}

TEST(match_memory, a_flow_allocates_nothing_once_it_is_made)
{
    random_match_t random{std::mt19937(21)};
    for (uint32_t round = 0; round < rounds(20); ++round) {
        const std::vector<uint8_t> bytes = make_random_pdb(random);
        if (bytes.empty())
            continue;
        const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
        for (const uint32_t flags : {0U, uint32_t{PDATA_FLOW_EXPLAIN}}) {
            pdata::flow flow(db, flags);
            for (uint32_t i = 0; i < 50; ++i)
                run_flow(db, flow.get(), random);
        }
    }
}

TEST(match_memory, every_index_counts)
{
    pdata_db db;
    db.matchers.resize(1);
    match_matcher_t &matcher = db.matchers.front();
    size_t bytes = match_index_bytes(db);
    EXPECT_EQ(bytes, sizeof(pdata_db) + sizeof(match_matcher_t));
    const auto grown = [&] {
        return match_index_bytes(db) - std::exchange(bytes, match_index_bytes(db));
    };
    matcher.skips.resize(512);
    EXPECT_EQ(grown(), 512U);
    matcher.suffix_jump.displacements.resize(16);
    EXPECT_EQ(grown(), 16U);
    matcher.suffix_jump.entries.resize(4);
    EXPECT_EQ(grown(), 4 * sizeof(match_jump_entry_t));
    matcher.always.resize(10);
    EXPECT_EQ(grown(), 40U);
    matcher.roles.resize(10);
    EXPECT_EQ(grown(), 40U);
    db.rules.resize(3);
    EXPECT_EQ(grown(), 3 * sizeof(match_rule_t));
    EXPECT_EQ(match_check_bytes(db), 0U);
}

/// What marks belong to, they are marked with a number: those of old flows, values and steps must
/// not come back when the numbers start again.
TEST(match_memory, numbers_of_flows_values_and_steps_may_start_again)
{
    const std::vector<uint8_t> bytes = pdb_of(offset_parts());
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    const pdata_attribute host = db.attribute("tcp", "host", PDATA_STC);
    pdata::flow flow(db);
    match_room_t &room = flow.get()->room;
    flow.add_protocol(1);
    EXPECT_EQ(room.protocols[1], room.flow_serial);
    room.flow_serial = UINT32_MAX;
    flow.reset();
    EXPECT_NE(room.protocols[1], room.flow_serial);
    flow.add(host, "xb"); // the first value, of two steps
    for (uint32_t left = 0; left < 3; ++left) {
        flow.reset();
        room.serial = UINT32_MAX;
        room.node_step = UINT32_MAX - left;
        flow.add(host, "xb");
        EXPECT_EQ(flow.rules(), std::vector<pdata_rule>{1}) << left;
    }
}

/// The same of pieces: that the first one was found in the first value is forgotten.
TEST(match_memory, pieces_of_the_first_value_do_not_come_back)
{
    parts_t parts = parts_with_a_lost_piece();
    parts.entries = {1, 0, 0x02010100, 0, 1, 0, 0x02020100, 0}; // y, then z
    const std::vector<uint8_t> bytes = pdb_of(parts);
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    const pdata_attribute host = db.attribute("tcp", "host", PDATA_STC);
    pdata::flow flow(db);
    flow.add(host, "y");
    flow.get()->room.serial = UINT32_MAX;
    flow.add(host, "qz"); // where z may stand behind that y
    EXPECT_TRUE(flow.rules().empty());
    flow.add(host, "yz");
    EXPECT_EQ(flow.rules(), std::vector<pdata_rule>{1});
}

TEST(match_memory, every_failed_allocation_is_told)
{
    random_match_t random{std::mt19937(22)};
    std::vector<uint8_t> bytes;
    while (bytes.empty())
        bytes = make_random_pdb(random);
    size_t failures = 0;
    pdata_flow *flow = nullptr;
    pdata_source *source = nullptr;
    failing_alloc_sweep(
        [&] {
            pdata_db *db = nullptr;
            pdata_failure failure;
            pdata_result result =
                pdata_db_open_memory(bytes.data(), bytes.size(), PDATA_OPEN_COPY, &db, &failure);
            if (result == PDATA_R_OK)
                result = pdata_flow_new(db, PDATA_FLOW_EXPLAIN, &flow);
            if (result == PDATA_R_OK)
                result = pdata_source_new(db, &source);
            pdata_item_info info;
            if (result == PDATA_R_OK)
                result = pdata_db_item(db, 1, &info);
            pdata_flow_free(flow);
            pdata_source_free(source);
            flow = nullptr;
            source = nullptr;
            pdata_db_release(db);
            return static_cast<int>(result);
        },
        [&](int result) {
            EXPECT_EQ(result, PDATA_R_MEMORY);
            ++failures;
        });
    EXPECT_GT(failures, 50U);
}

TEST(match_memory, a_flow_that_cannot_move_stays)
{
    random_match_t random{std::mt19937(23)};
    std::vector<uint8_t> bytes;
    while (bytes.empty())
        bytes = make_random_pdb(random);
    const pdata::database first = pdata::database::open_memory(bytes.data(), bytes.size());
    const pdata::database second = pdata::database::open_memory(bytes.data(), bytes.size());
    pdata_source *source = nullptr;
    ASSERT_EQ(pdata_source_new(first.get(), &source), PDATA_R_OK);
    pdata::flow flow(first);
    int moved = 7;
    EXPECT_EQ(pdata_flow_renew(flow.get(), source, &moved), PDATA_R_OK);
    EXPECT_EQ(moved, 0);
    ASSERT_EQ(pdata_source_replace(source, second.get()), PDATA_R_OK);
    failing_alloc_arm(3);
    EXPECT_EQ(pdata_flow_renew(flow.get(), source, &moved), PDATA_R_MEMORY);
    EXPECT_TRUE(failing_alloc_disarm());
    EXPECT_EQ(moved, 0);
    EXPECT_EQ(pdata_flow_db(flow.get()), first.get());
    EXPECT_EQ(pdata_flow_renew(flow.get(), source, &moved), PDATA_R_OK);
    EXPECT_EQ(moved, 1);
    EXPECT_EQ(pdata_flow_db(flow.get()), second.get());
    pdata_source_free(source);
}

} // namespace
