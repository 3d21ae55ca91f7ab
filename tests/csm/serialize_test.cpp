#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>

#include "bytes.h"
#include "description_reader.h"
#include "failing_alloc.h"
#include "serialize_fixture.h"

namespace
{

using description_to_pdb = serialize_fixture;

constexpr const char *ONE = R"({"protocols": [{"name": "web", "id": 7}]})";
constexpr const char *TAGGED =
    R"({"protocols": [{"name": "web", "id": 7, "rules": [{"order": "1:1",
        "rule-tags": ["new", "video", "http"], "rule": [{"protocol": "tcp", "port": "80"}]}]}]})";
constexpr const char *TAGS = R"({"tag_table": {"video": 1, "uri": 2}})";
constexpr const char *ALIASES =
    R"({"aliases": [{"alias": {"protocol": "http", "attr": "uri", "way": "cts"},
                     "reference": {"protocol": "quic", "attr": "uri", "way": "stc"}}]})";

/// An alias document of `nr` pairs.
std::string aliases_of(uint32_t nr)
{
    std::string text = R"({"aliases": [)";
    for (uint32_t i = 0; i < nr; ++i)
        text += std::string(i == 0 ? "" : ",") +
                R"({"alias": {"protocol": "a", "attr": "b", "way": "cts"},
                    "reference": {"protocol": "a", "attr": "c", "way": "stc"}})";
    return text += "]}";
}

TEST_F(description_to_pdb, without_documents_there_are_four_records)
{
    EXPECT_EQ(run(ONE), "0");
    EXPECT_EQ(kinds(), "9 0 1 10");
    EXPECT_EQ(part(PDB_TYPE_MAIN_HSTRING), bytes("03000000"));
    EXPECT_EQ(part(PDB_TYPE_LOAD), bytes("0C000001 01000001"));
}

TEST_F(description_to_pdb, with_both_documents_there_are_six)
{
    configure_aliases(ALIASES);
    configure_tags(TAGS);
    EXPECT_EQ(run(ONE), "0");
    EXPECT_EQ(kinds(), "9 8 7 0 1 10");
    EXPECT_EQ(part(PDB_TYPE_MATCHER_ALIAS),
              bytes("0A000005 00000000 00000006 01 0000000C 00000006 02 0000"));
    EXPECT_EQ(part(PDB_TYPE_TAGS), bytes("09000004 00000012 00000001 00000006 00000002"));
    EXPECT_EQ(part(PDB_TYPE_MAIN_HSTRING),
              bytes("03000007 0004 'h't't'p 0003 'u'r'i 00 0004 'q'u'i'c 0005 'v'i'd'e'o 00 0000"));
}

TEST_F(description_to_pdb, each_document_alone_makes_its_record)
{
    configure_tags(TAGS);
    EXPECT_EQ(run(ONE), "0");
    EXPECT_EQ(kinds(), "9 7 0 1 10");
    cfg.meta[0].json.reset();
    configure_aliases(ALIASES);
    EXPECT_EQ(run(ONE), "0");
    EXPECT_EQ(kinds(), "9 8 0 1 10");
}

TEST_F(description_to_pdb, the_main_table_receives_alias_texts_then_tag_names_then_rule_tags)
{
    configure_aliases(ALIASES);
    configure_tags(TAGS);
    EXPECT_EQ(run(TAGGED), "0");
    EXPECT_EQ(main_strings(), (std::vector<std::string>{"http", "uri", "quic", "video", "new"}));
}

TEST_F(description_to_pdb, the_protocols_stand_in_a_group_in_the_root_record)
{
    EXPECT_EQ(run(ONE), "0");
    const std::vector<uint8_t> root = part(PDB_TYPE_PROTOCOL_DESCRIPTION);
    EXPECT_EQ(root, bytes("01000020 0100001F 01000014 01000013"
                          "0100000A 00000007 00000000 00000006 00000000 00000001 00000000"
                          "         00000000 00000000 00000000 00000000"
                          "02000000 03000000 06000000 04000001 0000000A 05000000"
                          "08000000 07000000"
                          "02000009 0003 'w'e'b 00 0001 0000"
                          "0015 'S'e'e' 'a't'l'a's' 'f'o'r' 'd'e't'a'i'l's 00 0000"));
}

/// The configuration record of a semantic document.
std::string cfg_record(std::string_view text, std::vector<uint8_t> *record,
                       uint32_t type = PDATA_TYPE_CSM)
{
    pdata_cfg_t cfg = *pdata_cfg_get(nullptr);
    for (pdata_cfg_meta_t &row : cfg.meta)
        if (row.meta == PDATA_META_SEM && row.type == type)
            row.json.emplace(text.begin(), text.end());
    pdb_list_t pdb;
    uint32_t n = 0;
    const std::string came_to = outcome(pdata_serialize_cfg(&cfg, &pdb, &n, type));
    EXPECT_EQ(n, came_to == "0" ? 1U : 0U);
    if (n == 1) {
        EXPECT_EQ(pdb[0].pdb_type, PDB_TYPE_CFG);
        EXPECT_EQ(pdb[0].pdb_tlv_len, pdb[0].pdb_tlv->size());
        *record = *pdb[0].pdb_tlv;
    }
    return came_to;
}

TEST_F(description_to_pdb, the_inner_length_of_the_configuration_record_counts_bytes)
{
    std::vector<uint8_t> record;
    EXPECT_EQ(cfg_record("hello", &record), "0");
    EXPECT_EQ(record, bytes("0B000003 26000008 'h'e'l'l 'o 000000"));
    EXPECT_EQ(cfg_record("four", &record), "0");
    EXPECT_EQ(record, bytes("0B000002 26000004 'f'o'u'r"));
    EXPECT_EQ(cfg_record("", &record), "0") << "a document of length 0 is present";
    EXPECT_EQ(record, bytes("0B000001 26000000"));
    EXPECT_EQ(cfg_record("sem", &record, PDATA_TYPE_PROTOCOL), "0");
    EXPECT_EQ(record, bytes("0B000002 26000004 's'e'm 00"));
    EXPECT_EQ(TLV_TYPE_CFG_SEMANTIC, 38U);
}

// The inner length has 24 bits, of bytes; that of the whole record has as many, of words.
TEST_F(description_to_pdb, a_configuration_that_no_length_can_state_is_refused)
{
    std::vector<uint8_t> record;
    EXPECT_EQ(cfg_record(std::string(0xFFFFFC, ' '), &record), "0");
    EXPECT_EQ(record.size(), 0xFFFFFCU + 8);
    EXPECT_EQ(cfg_record(std::string(0xFFFFFD, ' '), &record), "2");
    EXPECT_EQ(cfg_record(std::string(size_t{0xFFFFFF} * 4 - 3, ' '), &record),
              "100: tlv len 11 is superior to internal limit 16777215");
}

TEST_F(description_to_pdb, a_configuration_record_needs_its_document)
{
    std::vector<uint8_t> record;
    for (uint32_t type = 0; type < 12; ++type) {
        if (type != PDATA_TYPE_CSM && type != PDATA_TYPE_PROTOCOL) {
            EXPECT_EQ(cfg_record("hello", &record, type), OUTCOME_IO) << type;
        }
    }
    pdb_list_t list;
    uint32_t n = 0;
    EXPECT_EQ(outcome(pdata_serialize_cfg(nullptr, &list, &n, 7)), OUTCOME_IO);
    EXPECT_EQ(outcome(pdata_serialize_cfg(&cfg, &list, nullptr, 7)), OUTCOME_IO);
    EXPECT_EQ(outcome(pdata_serialize_cfg(&cfg, &list, &n, 6)), OUTCOME_IO) << "no such document";
    cfg.meta[8].json.reset();
    EXPECT_EQ(outcome(pdata_serialize_cfg(&cfg, &list, &n, 7)), OUTCOME_IO) << "not loaded";
    cfg.meta[8].meta = PDATA_META_PSA;
    EXPECT_EQ(outcome(pdata_serialize_cfg(&cfg, &list, &n, 7)), OUTCOME_IO) << "no such row";
    EXPECT_EQ(n, 0U);
}

TEST_F(description_to_pdb, the_record_of_a_load_state)
{
    const std::pair<uint32_t, const char *> states[] = {
        {TLV_TYPE_LOAD_UNLOADABLE, "0C000001 01000001"},
        {TLV_TYPE_LOAD_LOADABLE, "0C000001 02000002"},
        {TLV_TYPE_LOAD_LOADED_LE, "0C000001 03000003"},
        {TLV_TYPE_LOAD_LOADED_BE, "0C000001 04000004"},
        {0x01020304, "0C000001 01020304"},
    };
    for (const auto &[state, expected] : states) {
        pdb_t record;
        EXPECT_EQ(outcome(pdata_serialize_load(&record, state)), "0");
        EXPECT_EQ(record.pdb_type, PDB_TYPE_LOAD);
        EXPECT_EQ(record.pdb_tlv_len, 8U);
        EXPECT_EQ(*record.pdb_tlv, bytes(expected));
    }
}

TEST_F(description_to_pdb, a_load_record_without_memory_keeps_its_kind_and_length)
{
    failing_alloc_sweep(
        [] {
            pdb_t record;
            const pdata_status_t status = pdata_serialize_load(&record, TLV_TYPE_LOAD_LOADABLE);
            EXPECT_EQ(record.pdb_type, PDB_TYPE_LOAD);
            EXPECT_EQ(record.pdb_tlv_len, 8U);
            EXPECT_EQ(record.pdb_tlv == nullptr, status != PDATA_SUCCESS);
            return static_cast<int>(status);
        },
        [](int code) { EXPECT_EQ(outcome(static_cast<pdata_status_t>(code)), OUTCOME_NO_MEMORY); });
}

TEST_F(description_to_pdb, absent_arguments)
{
    constexpr const char *refused =
        OUTCOME_INVALID_ARGUMENT ": Invalid argument pdb, cfg or pdd is equal to NULL.\n";
    EXPECT_EQ(outcome(pdata_serialize(nullptr, &pdb, &cfg, nullptr, 6)), refused);
    EXPECT_EQ(outcome(pdata_serialize(&pdd, nullptr, &cfg, nullptr, 6)), refused);
    pdb[0].pdb_type = PDB_TYPE_CFG;
    EXPECT_EQ(outcome(pdata_serialize(&pdd, &pdb, nullptr, nullptr, 6)), OUTCOME_IO)
        << "the configuration is tested later, without a message";
    EXPECT_EQ(kinds(), "");
}

TEST_F(description_to_pdb, the_list_is_ended_where_a_run_fails)
{
    cfg.meta[8].json.reset();
    EXPECT_EQ(run(ONE), OUTCOME_IO);
    EXPECT_EQ(kinds(), "");
    configure(PDATA_META_SEM, PDATA_TYPE_CSM, "hello");
    configure_aliases("{");
    EXPECT_EQ(run(ONE).substr(0, 3), "56:");
    EXPECT_EQ(kinds(), "9");
    configure_aliases(ALIASES);
    configure_tags("{");
    EXPECT_EQ(run(ONE).substr(0, 2), "1:");
    EXPECT_EQ(kinds(), "9 8");
    configure_tags(TAGS);
    EXPECT_EQ(run(R"({"p": [{"id": 7}]})"), OUTCOME_ENGINE ": Empty string in protocol .");
    EXPECT_EQ(kinds(), "9 8 7");
    EXPECT_EQ(run(ONE), "0");
}

// A pool keeps no copies, so texts may overlap: they come to 64 MiB from 66,000 bytes.
TEST_F(description_to_pdb, main_strings_that_no_record_can_hold_are_refused)
{
    constexpr uint32_t LONG = 0xFFFC; // bytes; an entry of the table takes two more
    std::string bytes(LONG + 1100, 'a');
    std::mt19937 random(1);
    std::ranges::generate(bytes, [&] { return static_cast<char>(random()); });
    hstring_build_t hstring;
    ASSERT_EQ(hstring_init(&hstring, 0), 0);
    const auto put = [&](uint32_t at, uint32_t size) {
        uint32_t offset;
        EXPECT_EQ(hstring_get_offset(&hstring, csa_str(bytes.data() + at, size), &offset), 0);
    };
    constexpr uint32_t RECORD_MAX = TLV_LEN_FIELD_MAX * 4; // bytes
    uint32_t at = 0;
    for (; hstring_get_size(hstring) + LONG + 2 < RECORD_MAX; ++at)
        put(at, LONG);
    put(at, RECORD_MAX - hstring_get_size(hstring) - 4);
    ASSERT_EQ(hstring_get_size(hstring), RECORD_MAX);
    pdb_t record;
    EXPECT_EQ(outcome(pdata_serialize_main_hstring(hstring, &record)), "0");
    EXPECT_EQ(record.pdb_tlv_len, RECORD_MAX + 4);
    put(0, 1);
    EXPECT_EQ(outcome(pdata_serialize_main_hstring(hstring, &record)),
              OUTCOME_OVERFLOW ": tlv len 3 is superior to internal limit 16777215");
}

TEST_F(description_to_pdb, any_failure_of_the_aliases_is_status_56)
{
    configure_aliases(R"({"aliases": [{"alias": {"protocol": "a", "attr": "b", "way": "CTS"}}]})");
    EXPECT_EQ(run(ONE),
              "56 (recorded 2): MATCHER_ALIAS : Unknown way CTS (pick both,cts or stc).\n")
        << "the message is that of the origin";
    configure_aliases("");
    EXPECT_EQ(run(ONE), OUTCOME_PRAGMAR
              ": parse failure on line: 1\n"
              "Expecting 'STRING', 'NUMBER', 'NULL', 'TRUE', 'FALSE', '{', '[', got 'EOF'.\n")
        << "a document of length 0 is present";
    configure_aliases(R"({"aliases": [{"alias": {"protocol": "", "attr": "b", "way": "cts"},
                           "reference": {"protocol": "a", "attr": "c", "way": "stc"}}]})");
    EXPECT_EQ(run(ONE), OUTCOME_INVALID_ARGUMENT) << "but an empty name is found later";
}

TEST_F(description_to_pdb, at_most_63_pairs_of_aliases_are_stored)
{
    configure_aliases(aliases_of(63));
    EXPECT_EQ(run(ONE), "0");
    EXPECT_EQ(part(PDB_TYPE_MATCHER_ALIAS).size(), 4U + 1136U);
    configure_aliases(aliases_of(64));
    EXPECT_EQ(run(ONE), OUTCOME_OVERFLOW
              ": Maximum number of matcher_alias pairs (64) exceeded internal limit (64)");
    EXPECT_EQ(kinds(), "9");
    configure_aliases(aliases_of(65));
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(run(ONE), OUTCOME_PRAGMAR ": "); }),
              "Error: FENCE_MATCHER_ALIAS_NUMBER.\n");
    configure_aliases(R"({"aliases": []})");
    EXPECT_EQ(run(ONE), "0");
    EXPECT_EQ(part(PDB_TYPE_MATCHER_ALIAS), bytes("0A000000"));
}

TEST_F(description_to_pdb, a_tag_table_that_cannot_be_read_is_status_1)
{
    configure_tags("{]}");
    EXPECT_EQ(run(ONE), OUTCOME_NO_MEMORY ": parse failure on line: 1\n"
                                          "{]\n"
                                          "-^\n"
                                          "Expecting 'STRING', got ']'.\n");
    configure_tags(R"({"tag_table": {"": 1}})");
    EXPECT_EQ(run(ONE), OUTCOME_INVALID_ARGUMENT) << "an empty name";
    configure_tags(R"({"tag_table": {}})");
    EXPECT_EQ(run(ONE), "0");
    EXPECT_EQ(part(PDB_TYPE_TAGS), bytes("09000000"));
    configure_tags(R"({"tag_table": {"a": 1, "b": 1, "c": 2}})");
    EXPECT_EQ(run(ONE), "0");
    EXPECT_EQ(part(PDB_TYPE_TAGS), bytes("09000002 00000000 00000001"))
        << "what follows a repeated id is dropped";
}

TEST_F(description_to_pdb, semantic_rules_check_every_document_of_their_kind)
{
    const char *nothing = R"({"nodes": [{}], "transitions": []})";
    const auto refused = [&](pdata_type_t type) {
        cfg = *pdata_cfg_get(nullptr);
        configure(PDATA_META_SEM, PDATA_TYPE_CSM, "hello");
        configure_aliases(ALIASES);
        configure_tags(TAGS);
        configure(PDATA_META_SEM, type, nothing);
        const std::string came_to = run(ONE);
        cfg.ignore_sem = 1;
        EXPECT_EQ(run(ONE), "0");
        return came_to;
    };
    const std::string report = ": Bad semantic.\nContext: \nUnexpected type '{'.\nExpected:\n";
    EXPECT_EQ(refused(PDATA_TYPE_MATCHER_ALIAS), OUTCOME_PRAGMAR + report);
    EXPECT_EQ(refused(PDATA_TYPE_TAG_TABLE), OUTCOME_NO_MEMORY + report);
    EXPECT_EQ(refused(PDATA_TYPE_PROTOCOL), OUTCOME_JSON_BAD_SEMANTIC + report);
}

TEST_F(description_to_pdb, the_failure_of_a_protocol_is_that_of_the_run)
{
    EXPECT_EQ(run(""), OUTCOME_PRAGMAR
              ": parse failure on line: 1\n"
              "Expecting 'STRING', 'NUMBER', 'NULL', 'TRUE', 'FALSE', '{', '[', got 'EOF'.\n");
    EXPECT_EQ(run(R"({"p": [{"name": "web"}]} and more)"), OUTCOME_JSON_BAD_SYNTAX);
    EXPECT_EQ(stderr_of([&] {
                  EXPECT_EQ(run(
                                R"({"p": [{"name": "web", "rules": [{"order": "1:1", "path": "x",
                                    "rule": [{"protocol": "tcp", "port": "80"}]}]}]})"),
                            OUTCOME_INVALID_ARGUMENT);
              }),
              "Signature: <web> : path must be contain two elements at least.\n");
    EXPECT_EQ(kinds(), "9");
}

TEST_F(description_to_pdb, a_built_pdb_may_supply_the_aliases)
{
    configure_aliases(ALIASES);
    EXPECT_EQ(run(ONE), "0");
    std::vector<uint8_t> whole = part(PDB_TYPE_MATCHER_ALIAS);
    const std::vector<uint8_t> strings = part(PDB_TYPE_MAIN_HSTRING);
    const std::vector<uint8_t> stored = whole;
    whole.insert(whole.end(), strings.begin(), strings.end());
    configure_aliases("{");
    configure_tags(TAGS);
    const char *text = R"({"protocols": [{"name": "web", "rules": [{"order": "1:1",
        "rule": [{"protocol": "http", "cts-uri": "x"}]}]}]})";
    for (const pdb_type_t type : {PDB_TYPE_DEFAULT_LOADED, PDB_TYPE_TMP}) {
        pdb_t pdb_default;
        ASSERT_TRUE(pdb_header_set(&pdb_default, type, std::vector<uint8_t>(whole)));
        EXPECT_EQ(run(text, &pdb_default), "0");
        EXPECT_EQ(kinds(), "9 8 0 1 10") << "no tag table";
        EXPECT_EQ(part(PDB_TYPE_MATCHER_ALIAS), stored);
        EXPECT_EQ(main_strings(), (std::vector<std::string>{"http", "uri", "quic"}));
        std::vector<protocol_model> protocols;
        EXPECT_EQ(outcome(read_protocols(part(PDB_TYPE_PROTOCOL_DESCRIPTION), {}, &protocols)),
                  "0");
        EXPECT_EQ(protocols[0].rules[0].sub_rules[0].protocol, "quic") << "they are applied";
        EXPECT_EQ(protocols[0].rules[0].sub_rules[0].attrs[0].way, ATTR_WAY_STC);
    }
    pdb_t other;
    ASSERT_TRUE(pdb_header_set(&other, PDB_TYPE_MATCHER_ALIAS, std::vector<uint8_t>(whole)));
    EXPECT_EQ(run(text, &other).substr(0, 3), "56:") << "a part of any other kind supplies nothing";
}

TEST_F(description_to_pdb, a_built_pdb_needs_both_its_records)
{
    const std::pair<const char *, const char *> pdbs[] = {
        {"", OUTCOME_TLV_NOT_FOUND},
        {"03000000", OUTCOME_TLV_NOT_FOUND},
        {"0A000000", OUTCOME_TLV_NOT_FOUND},
        {"0A000000 03000000", "0"},
        {"0A000005 00000000 00000000 01 00000000 00000000 01 0000 03000000", OUTCOME_ENGINE},
        {"0A000005 00000000 00000000 01 00000000 00000000 01 0000 03000001 0001 'a 00", "0"},
        {"0A000002 00000000 00000000 03000000", "0"},
        {"03000000 0A000005 00000000", OUTCOME_TLV_NOT_FOUND},
    };
    for (const auto &[content, expected] : pdbs) {
        pdb_t pdb_default;
        ASSERT_TRUE(pdb_header_set(&pdb_default, PDB_TYPE_TMP, bytes(content)));
        EXPECT_EQ(run(ONE, &pdb_default), expected) << content;
    }
    const pdb_t without_bytes = {nullptr, 0, PDB_TYPE_TMP};
    EXPECT_EQ(run(ONE, &without_bytes), OUTCOME_TLV_NOT_FOUND);
}

TEST_F(description_to_pdb, a_built_pdb_of_64_aliases_is_refused_with_the_limit)
{
    for (const uint32_t nr : {63U, 64U, 65U}) {
        std::vector<uint8_t> whole((nr * 18 + 3) / 4 * 4 + 4);
        whole[0] = 10;
        whole[2] = static_cast<uint8_t>((whole.size() / 4 - 1) / 256);
        whole[3] = static_cast<uint8_t>((whole.size() / 4 - 1) % 256);
        const std::vector<uint8_t> strings = bytes("03000001 0001 'a 00");
        whole.insert(whole.end(), strings.begin(), strings.end());
        pdb_t pdb_default;
        ASSERT_TRUE(pdb_header_set(&pdb_default, PDB_TYPE_TMP, std::move(whole)));
        EXPECT_EQ(run(ONE, &pdb_default),
                  nr == 63   ? "0"
                  : nr == 64 ? OUTCOME_OVERFLOW
                      ": Maximum number of matcher_alias pairs (64) exceeded internal limit "
                      "(64)"
                             : OUTCOME_OVERFLOW ": Too many matcher alias");
    }
}

TEST_F(description_to_pdb, memory_that_runs_out_ends_the_list_with_a_status)
{
    configure_aliases(ALIASES);
    configure_tags(TAGS);
    pdd.pdd_json.assign(TAGGED, TAGGED + std::strlen(TAGGED));
    std::set<std::string> outcomes;
    failing_alloc_sweep(
        [&] {
            pragmar_err_clear();
            pdb = {};
            return static_cast<int>(pdata_serialize(&pdd, &pdb, &cfg, nullptr, 6));
        },
        [&](int code) {
            const std::string came_to = outcome(static_cast<pdata_status_t>(code));
            outcomes.insert(came_to);
            if (came_to != "0") {
                EXPECT_NE(kinds(), "9 8 7 0 1 10") << came_to;
            }
        });
    for (const std::string &came_to : outcomes)
        EXPECT_FALSE(came_to.starts_with(OUTCOME_ENGINE)) << "no string is taken for an empty one";
    for (const char *expected :
         {"1", OUTCOME_NO_MEMORY ": protocol_serializer: cannot allocate protogroup buffer.\n",
          OUTCOME_NO_MEMORY ": protocol_serializer: cannot allocate hstring buffer.\n"})
        EXPECT_TRUE(outcomes.contains(expected)) << expected;
    EXPECT_EQ(run(TAGGED), "0") << "and the next run is as ever";
}

TEST_F(description_to_pdb, a_description_of_nested_brackets_overflows_nothing)
{
    const std::string deep = std::string(1000000, '[') + std::string(1000000, ']');
    EXPECT_EQ(run(R"({"p": [{"name": "web", "x": )" + deep + "}]}"), "0");
    EXPECT_EQ(run(std::string(1000000, '[')).substr(0, 3), "56:");
}

} // namespace
