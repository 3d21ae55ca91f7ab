/// Records that claim more words than their parent holds, in the pdb build.
#include "bytes.h"
#include "port_pdb.h"

namespace
{

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

} // namespace
