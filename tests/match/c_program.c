/* The header in C11: every operation is called, and refuses what is no argument. */
#include <pdata.h>

#include <stdio.h>
#include <string.h>

static int failures;

static void expect(int holds, const char *what)
{
    if (holds)
        return;
    fprintf(stderr, "not so: %s\n", what);
    ++failures;
}

#define EXPECT(condition) expect((condition) != 0, #condition)

static void refuse_opening(void)
{
    pdata_db *db = NULL;
    pdata_failure failure;
    EXPECT(pdata_db_open(NULL, 0, &db, &failure) == PDATA_R_ARGUMENT);
    EXPECT(pdata_db_open("/nonexistent/file", 0, &db, &failure) == PDATA_R_FILE);
    EXPECT(failure.system != 0 && strstr(failure.text, "/nonexistent/file") != NULL);
    EXPECT(pdata_db_open("/", 0, &db, NULL) == PDATA_R_FILE);
    EXPECT(pdata_db_open_memory(NULL, 1, 0, &db, NULL) == PDATA_R_ARGUMENT);
    EXPECT(pdata_db_open_memory("", 0, 0, &db, &failure) == PDATA_R_DAMAGED);
    EXPECT(pdata_db_open_memory("\x04\x00\x00\x09", 4, 0, &db, &failure) == PDATA_R_DAMAGED);
    EXPECT(failure.text[0] != '\0' && db == NULL);
    EXPECT(pdata_db_open_memory("", 0, 0, NULL, NULL) == PDATA_R_ARGUMENT);
}

static void describe(pdata_db *db)
{
    pdata_db_info info;
    pdata_attribute_info attribute;
    pdata_matcher_info matcher;
    pdata_rule_info rule;
    pdata_item_info item;
    pdata_precedence precedence;
    uint32_t number;
    pdata_text name;
    pdata_db_describe(db, &info);
    EXPECT(info.nr_rule > 100 && info.nr_item > 100 && info.nr_matcher > 10);
    EXPECT(info.index_bytes * 100 <= info.file_bytes * 15);
    EXPECT(info.nr_check == 0 && info.check_bytes == 0);
    for (uint32_t i = 1; i <= info.nr_attribute; ++i) {
        EXPECT(pdata_db_attribute_info(db, i, &attribute) == PDATA_R_OK);
        EXPECT(attribute.nr_matcher >= 1 && attribute.matcher[0] >= 1 && attribute.name.size > 0);
    }
    for (uint32_t i = 1; i <= info.nr_matcher; ++i)
        EXPECT(pdata_db_matcher(db, i, &matcher) == PDATA_R_OK && matcher.protocol.size > 0);
    for (uint32_t i = 1; i <= info.nr_rule; ++i)
        EXPECT(pdata_db_rule(db, i, &rule) == PDATA_R_OK && rule.nr_path > 0 && rule.nr_item > 0);
    for (uint32_t i = 1; i <= info.nr_item; ++i)
        EXPECT(pdata_db_item(db, i, &item) == PDATA_R_OK && item.rule != 0 && item.matcher != 0);
    EXPECT(pdata_db_attribute_info(db, 0, &attribute) == PDATA_R_UNKNOWN);
    EXPECT(pdata_db_attribute_info(db, info.nr_attribute + 1, &attribute) == PDATA_R_UNKNOWN);
    EXPECT(pdata_db_matcher(db, info.nr_matcher + 1, &matcher) == PDATA_R_UNKNOWN);
    EXPECT(pdata_db_rule(db, info.nr_rule + 1, &rule) == PDATA_R_UNKNOWN);
    EXPECT(pdata_db_rule(NULL, 1, &rule) == PDATA_R_ARGUMENT);
    EXPECT(pdata_db_item(db, info.nr_item + 1, &item) == PDATA_R_UNKNOWN);
    EXPECT(pdata_db_rule_tag(db, 1, 99, &number, &name) == PDATA_R_UNKNOWN);
    EXPECT(pdata_db_precedence(db, 1, 1, &precedence) == PDATA_R_UNKNOWN);
    EXPECT(pdata_db_protocol_name(db, 0).size == 0);
    EXPECT(pdata_db_protocol_name(db, pdata_db_protocol(db, "ssl")).size == 3);
}

static void classify(pdata_db *db)
{
    const uint8_t address[16] = {157, 240, 1, 2};
    const pdata_attribute name = pdata_db_attribute(db, "quic", "server_name", PDATA_CTS);
    const pdata_attribute ip = pdata_db_attribute(db, "ip", "address", PDATA_CTS);
    const pdata_attribute ip6 = pdata_db_attribute(db, "ip6", "address", PDATA_CTS);
    const pdata_attribute port = pdata_db_attribute(db, "tcp", "port", PDATA_STC);
    pdata_flow *flow = NULL;
    pdata_rule rules[4];
    pdata_item items[4];
    pdata_near near_misses[4];
    pdata_finding finding;
    pdata_rule_info rule;
    EXPECT(name != 0 && ip != 0 && ip6 != 0 && port != 0);
    EXPECT(pdata_db_attribute(db, "quic", "nothing", PDATA_CTS) == 0);
    EXPECT(pdata_flow_new(NULL, 0, &flow) == PDATA_R_ARGUMENT);
    EXPECT(pdata_flow_new(db, PDATA_FLOW_EXPLAIN, &flow) == PDATA_R_OK);
    EXPECT(pdata_flow_db(flow) == db);
    EXPECT(pdata_flow_add_bytes(flow, name, "www.youtube.com", 15, 0) == PDATA_R_OK);
    EXPECT(pdata_flow_add_bytes(flow, 0, "x", 1, 0) == PDATA_R_OK);
    EXPECT(pdata_flow_add_bytes(flow, 100000, "x", 1, 0) == PDATA_R_ARGUMENT);
    EXPECT(pdata_flow_add_bytes(flow, name, NULL, 1, 0) == PDATA_R_ARGUMENT);
    EXPECT(pdata_flow_add_bytes(flow, port, "x", 1, 0) == PDATA_R_KIND);
    EXPECT(pdata_flow_add_number(flow, name, 1) == PDATA_R_KIND);
    EXPECT(pdata_flow_add_number(flow, port, 70000) == PDATA_R_OK);
    EXPECT(pdata_flow_add_ipv4(flow, ip, address) == PDATA_R_OK);
    EXPECT(pdata_flow_add_ipv4(flow, ip, NULL) == PDATA_R_ARGUMENT);
    EXPECT(pdata_flow_add_ipv6(flow, ip6, address) == PDATA_R_OK);
    EXPECT(pdata_flow_rules(flow, rules, 4) == 3 && rules[0] == pdata_flow_best(flow));
    EXPECT(pdata_db_rule(db, rules[0], &rule) == PDATA_R_OK && rule.nr_path == 2);
    EXPECT(pdata_db_protocol_name(db, rule.path[0]).size == 4);
    EXPECT(pdata_flow_items(flow, items, 4) == 3);
    EXPECT(pdata_flow_nr_finding(flow) >= 3);
    EXPECT(pdata_flow_finding_at(flow, 0, &finding) == PDATA_R_OK && finding.value == 1);
    EXPECT(pdata_flow_finding_at(flow, 99999, &finding) == PDATA_R_UNKNOWN);
    EXPECT(pdata_flow_add_protocol(flow, 0) == PDATA_R_OK);
    EXPECT(pdata_flow_add_protocol(flow, 100000) == PDATA_R_ARGUMENT);
    EXPECT(pdata_flow_rules(flow, rules, 4) == 2);
    EXPECT(pdata_flow_near(flow, near_misses, 4) == 1 && near_misses[0].protocol != 0);
    pdata_flow_reset(flow);
    EXPECT(pdata_flow_best(flow) == 0 && pdata_flow_items(flow, NULL, 0) == 0);
    pdata_flow_free(flow);
}

static void replace(pdata_db *db)
{
    pdata_source *source = NULL;
    pdata_flow *flow = NULL;
    int moved = 1;
    EXPECT(pdata_source_new(NULL, &source) == PDATA_R_ARGUMENT);
    EXPECT(pdata_source_new(db, &source) == PDATA_R_OK);
    EXPECT(pdata_flow_new(db, 0, &flow) == PDATA_R_OK);
    EXPECT(pdata_flow_renew(flow, source, &moved) == PDATA_R_OK && moved == 0);
    EXPECT(pdata_source_replace(source, NULL) == PDATA_R_ARGUMENT);
    EXPECT(pdata_source_replace(source, db) == PDATA_R_OK);
    pdata_db_release(pdata_source_db(source));
    EXPECT(pdata_source_db(NULL) == NULL && pdata_flow_db(NULL) == NULL);
    EXPECT(pdata_flow_renew(flow, NULL, &moved) == PDATA_R_ARGUMENT);
    pdata_flow_free(flow);
    pdata_source_free(source);
    pdata_flow_free(NULL);
    pdata_source_free(NULL);
    pdata_db_release(NULL);
}

int main(int argc, char **argv)
{
    pdata_db *db = NULL;
    if (argc != 2)
        return 2;
    refuse_opening();
    EXPECT(strcmp(pdata_version(), "1.0") == 0);
    EXPECT(strcmp(pdata_result_text(PDATA_R_MEMORY), "out of memory") == 0);
    EXPECT(pdata_db_open(argv[1], 0, &db, NULL) == PDATA_R_OK);
    describe(db);
    classify(db);
    replace(db);
    pdata_db_release(db);
    EXPECT(pdata_db_open(argv[1], PDATA_OPEN_COPY | PDATA_OPEN_TRUSTED, &db, NULL) == PDATA_R_OK);
    classify(pdata_db_hold(db));
    pdata_db_release(db);
    pdata_db_release(db);
    return failures == 0 ? 0 : 1;
}
