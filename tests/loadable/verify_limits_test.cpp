/// What a compile writes when it passes a limit in silence: parts are lost, but nothing leads out
/// of the file. The verifier calls it unsound and says where; every reader takes it.
#include "loadable_fixture.h"
#include "view_run.h"

namespace
{

/// A rule of one value of http:server for each of `values`.
pdb_model servers(const std::vector<std::string> &values)
{
    std::vector<rule_model> rules;
    for (const std::string &value : values)
        rules.push_back(simple_rule("http", {stream_attr("server", {value})}));
    return {{protocol_of(1, "web", rules)}, {}};
}

/// Compiles without the reader of the tests, which finds what was lost.
std::vector<uint8_t> compile_unread(const pdb_model &model)
{
    clear_status_slot();
    pdata_pdb_version_set("1.540.1-24");
    const pdb_list_t list = make_pdb(model);
    pdb_t out;
    EXPECT_EQ(pdata_compile(&list, &out, nullptr, {}, 1), PDATA_SUCCESS) << pdata_status_msg_get();
    const std::span<const uint8_t> bytes = pdb_header_bytes(out);
    return {bytes.begin(), bytes.end()};
}

/// The only matcher of a pdb that is safe and unsound.
struct taken_t {
    std::vector<uint8_t> bytes;
    pdb_view_t view;
    view_matcher_t matcher;
    std::string faults; ///< their texts, a line each

    explicit taken_t(const pdb_model &model) : bytes(compile_unread(model))
    {
        view_error_t error;
        for (const found_fault_t &found : verify_faults(bytes)) {
            EXPECT_EQ(found.grade, VIEW_UNSOUND) << found.text;
            faults += found.text + '\n';
        }
        EXPECT_TRUE(pdb_verify_open(bytes, view, error)) << error.text;
        view_cursor_t cursor = view_walk(view.matchers.list);
        view_record_t record;
        EXPECT_TRUE(view_next(cursor, record));
        EXPECT_TRUE(view_matcher_open(record, view.matchers.names, matcher, error)) << error.text;
        (void)run_pdb(view, "what the patterns are run over"); // for the sanitizers
    }
    taken_t(const taken_t &) = delete;
    taken_t &operator=(const taken_t &) = delete;
};

/// A word of three letters for each number below 17576.
std::string word_of(uint32_t number)
{
    std::string word;
    for (int i = 0; i < 3; ++i, number /= 26)
        word += static_cast<char>('a' + number % 26);
    return word;
}

// 17,600 private ids: that of index 16383 stands inline as the word that means no item.
TEST(verify_limits, more_private_ids_than_stand_inline)
{
    std::vector<std::string> values;
    for (uint32_t i = 0; i < 8800; ++i)
        values.push_back("A" + word_of(i) + ".*B" + word_of(i) + ".*");
    const taken_t taken(servers(values));
    EXPECT_GT(view_matcher_nr_private(taken.matcher), 16384u);
    EXPECT_EQ(taken.faults, "matchers: matcher 0: patterns: aho_corasick: row 186, code 13: a "
                            "pattern ends but has no items at row 8895\n"
                            "matchers: matcher 0: second level: entry 16383 of 17600: no engine "
                            "gives it, nor 0 others\n");
}

// State numbers are cut to 15 bits.
TEST(verify_limits, more_states_than_numbers)
{
    std::vector<std::string> values;
    for (uint32_t i = 0; i < 4000; ++i)
        values.push_back(".*" + word_of(i) + std::string(8, 'x') + word_of(i * 3) + ".*");
    const taken_t taken(servers(values));
    EXPECT_GT(taken.matcher.pattern.aho_corasick.rows.nr_row, 32768u);
    EXPECT_EQ(taken.faults,
              "matchers: matcher 0: patterns: aho_corasick: row 1119, code 7: a pattern has items "
              "at row 1391\n"
              "rules: rule engine: item 2673 of rule 1214: no matcher gives it, nor 1327 others\n");
}

// The last codes of an alphabet of more bytes than codes wrap round to reserved ones.
TEST(verify_limits, more_bytes_than_codes)
{
    std::vector<std::string> values;
    for (int byte = 0; byte < 256; ++byte) {
        char escaped[8];
        (void)std::snprintf(escaped, sizeof(escaped), "\\x%02x", static_cast<unsigned>(byte));
        values.push_back(std::string(".*Z") + escaped + "Z.*");
    }
    pdb_model model = servers(values);
    for (rule_model &rule : model.protocols[0].rules)
        rule.sub_rules[0] = sub_rule_of(
            "tcp", {stream_attr("stream", {rule.sub_rules[0].attrs[0].values[0].first})},
            65536); // where case counts
    const taken_t taken(model);
    EXPECT_EQ(taken.matcher.pattern.ahoff_corasick.alphabet.size, 258u);
    EXPECT_EQ(taken.faults, "matchers: matcher 0: patterns: ahoff_corasick: alphabet: bytes have "
                            "254 of 256 codes, the others stand for none\n");
}

// The length of a compressed edge is cut to 8 bits.
TEST(verify_limits, a_chain_longer_than_its_length)
{
    const taken_t taken(servers({"^" + std::string(300, 'q'), "^" + std::string(256 + 2, 'w')}));
    EXPECT_TRUE(taken.view.compiled);
    EXPECT_EQ(taken.faults, "matchers: matcher 0: patterns: suffix_tree: compressed edges: one at "
                            "word 66 where the one before ends at 2\n");
}

// 33,000 ports of one item each: records of two words behind a word of zeros, with indexes of 16
// bits.
TEST(verify_limits, more_item_words_of_ports_than_indexes)
{
    std::vector<rule_model> rules;
    for (uint32_t port = 0; port < 33000; ++port)
        rules.push_back(simple_rule("tcp", {number_attr("port", {std::to_string(port)})}));
    const taken_t taken({{protocol_of(1, "web", rules)}, {}});
    EXPECT_EQ(taken.faults,
              "matchers: matcher 0: data: numbers: mapper: value 32768: item record 1, where 65537 "
              "follows\n"
              "rules: rule engine: item 1 of rule 7656: no matcher gives it, nor 231 others\n");
}

} // namespace
