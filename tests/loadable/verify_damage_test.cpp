/// Damage of every kind on loadable pdbs: each result is refused, or harmless to whoever reads it.
/// What is harmless is sound or unsound; both are counted.
///
/// What the verifier lets pass goes through the views that check nothing, and through the reader
/// and the run-time model of the tests. Wild reads are for the sanitizers.
#include <algorithm>
#include <cstring>
#include <memory>
#include <random>

#include "file_text.h"
#include "loadable_fixture.h"
#include "pdata_config.h"
#include "rounds.h"
#include "runtime_model.h"
#include "view_run.h"

namespace
{

using bytes_t = std::vector<uint8_t>;

/// Every engine but one, and every kind of entry, in less than 4 KiB.
const bytes_t &small_pdb()
{
    static const bytes_t made = [] {
        const sub_rule_model text = sub_rule_of("http", {stream_attr("server", {"a(b|c)d.*ef"})});
        rule_model web = rule_of({text}, 0, {"video"});
        rule_model net =
            rule_of({sub_rule_of("icmp", {number_attr("code", {"3,7"}, MATCHER_TYPE_NUMBER_8)}),
                     sub_rule_of("tcp", {offset_attr("stream", "l\\x41", 2)}, 5)},
                    0x0A000005);
        net.vid = 100;
        net.path = {"tcp", "net"};
        const compiled_t compiled = compile(
            {{protocol_of(7, "web", {web, simple_rule("http", {stream_attr("server", {"x?"})})}),
              protocol_of(8, "net", {net})},
             {{"video", 0x11}}});
        EXPECT_EQ(compiled.outcome, "0") << compiled.diagnostics;
        return compiled.bytes;
    }();
    return made;
}

/// The loadable pdb of the example, more than a megabyte.
const bytes_t &large_pdb()
{
    static const bytes_t made = [] {
        const std::string file = file_text(GOLDEN_PDB);
        const auto *bytes = reinterpret_cast<const uint8_t *>(file.data());
        pdb_list_t list;
        EXPECT_EQ(pdata_config(csa_buf_t(bytes, bytes + file.size()), &list), PDATA_SUCCESS);
        return compile(list).bytes;
    }();
    return made;
}

/// What damage came to.
struct tally_t {
    size_t nr_refused = 0;
    size_t nr_accepted = 0;
    size_t nr_unsound = 0; ///< of those accepted
};

const std::string_view traffic = "abdxefacdef abd a\x01g\xff";

/// The reader and the model of the tests, on a pdb that they may refuse.
void run_model(std::span<const uint8_t> file)
{
    loadable_pdb_t pdb;
    std::string error;
    if (!loadable_open(file, pdb, error))
        return;
    (void)loadable_check(pdb, LOADABLE_FOREIGN, error); // any answer will do
    for (const loadable_matcher_t &matcher : pdb.matchers) {
        flow_value_t value;
        value.protocol = matcher.protocol;
        value.attribute = matcher.attribute;
        value.way = matcher.way;
        value.bytes = traffic;
        value.number.number = 7;
        runtime_result_t result;
        (void)runtime_classify(pdb, {&value, 1}, result, error); // the same
    }
}

/// Verifies a file, and uses it if it may be used.
void try_file(std::span<const uint8_t> file, tally_t &tally, bool with_model)
{
    if (with_model) { // small, or one of a few
        EXPECT_EQ(dump_cover(file).fault, "");
    }
    pdb_view_t view;
    view_error_t error;
    if (!pdb_verify_open(file, view, error)) {
        ++tally.nr_refused;
        EXPECT_NE(error.fault, VIEW_SOUND);
        EXPECT_LE(error.offset, file.size()) << error.text;
        EXPECT_GT(std::strlen(error.text), 0u);
        return;
    }
    ++tally.nr_accepted;
    const pdb_verdict_t verdict = pdb_verify(file, {[](void *, const view_error_t &) {}, nullptr});
    EXPECT_EQ(verdict.nr_unsafe, 0u);
    tally.nr_unsound += verdict.nr_unsound == 0 ? 0 : 1;
    (void)run_pdb(view, traffic);
    if (with_model)
        run_model(file);
}

/// The same for a copy of exactly its size.
void try_copy(std::span<const uint8_t> bytes, tally_t &tally)
{
    const std::unique_ptr<uint8_t[]> copy(new uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), copy.get());
    try_file({copy.get(), bytes.size()}, tally, true);
}

void show(const tally_t &tally)
{
    testing::Test::RecordProperty("refused", std::to_string(tally.nr_refused));
    testing::Test::RecordProperty("accepted", std::to_string(tally.nr_accepted));
    testing::Test::RecordProperty("unsound", std::to_string(tally.nr_unsound));
    std::printf("%zu refused, %zu accepted, %zu of them unsound\n", tally.nr_refused,
                tally.nr_accepted, tally.nr_unsound);
}

TEST(verify_damage, any_bit_of_a_small_pdb)
{
    bytes_t pdb = small_pdb();
    ASSERT_LE(pdb.size(), 4096u);
    tally_t tally;
    for (size_t bit = 0; bit < pdb.size() * 8; bit += ROUNDS_STEP) {
        const auto mask = static_cast<uint8_t>(1U << bit % 8);
        pdb[bit / 8] ^= mask;
        try_copy(pdb, tally);
        pdb[bit / 8] ^= mask;
    }
    show(tally);
    const uint32_t nr_bit = dear_rounds(static_cast<uint32_t>(pdb.size()) * 8);
    EXPECT_EQ(tally.nr_refused + tally.nr_accepted, nr_bit);
    EXPECT_GT(tally.nr_refused, nr_bit / 4) << "a quarter of the bits matter at least";
    EXPECT_GT(tally.nr_accepted, nr_bit / 8) << "and an eighth says something else";
    EXPECT_GT(tally.nr_unsound, 0u);
}

TEST(verify_damage, any_word_of_a_small_pdb)
{
    bytes_t pdb = small_pdb();
    ASSERT_FALSE(pdb.empty());
    tally_t tally;
    for (size_t word = 0; word < pdb.size() / 4; word += ROUNDS_STEP) {
        const uint32_t before = csa_get_be32(pdb.data() + word * 4);
        for (const uint32_t value : {0U, 1U, before + 1, before - 1, 0x00FFFFFFU, 0x80000000U,
                                     0x7FFF7FFFU, 0xFFFEFFFEU, 0xFFFFFFFFU}) {
            csa_set_be32(pdb.data() + word * 4, value);
            try_copy(pdb, tally);
        }
        csa_set_be32(pdb.data() + word * 4, before);
    }
    show(tally);
    EXPECT_GT(tally.nr_refused, 0u);
    EXPECT_GT(tally.nr_accepted, tally.nr_unsound);
    EXPECT_GT(tally.nr_unsound, 0u);
}

TEST(verify_damage, any_cut)
{
    const bytes_t &pdb = small_pdb();
    tally_t tally;
    for (size_t size = 0; size < pdb.size(); ++size)
        try_copy(std::span(pdb).first(size), tally);
    show(tally);
    EXPECT_LE(tally.nr_accepted, 3u) << "a pdb that was not compiled may end behind these parts";
    EXPECT_EQ(tally.nr_refused + tally.nr_accepted, pdb.size());
}

TEST(verify_damage, any_place_of_a_large_pdb)
{
    bytes_t pdb = large_pdb();
    ASSERT_GT(pdb.size(), 1U << 20);
    std::mt19937 random(31);
    tally_t tally;
    for (uint32_t round = 0; round < dear_rounds(20000); ++round) {
        const size_t at = random() % pdb.size();
        const uint8_t before = pdb[at];
        pdb[at] = static_cast<uint8_t>(round % 2 == 0 ? before ^ (1U << random() % 8) : random());
        try_file(pdb, tally, round % 200 == 0);
        pdb[at] = before;
    }
    show(tally);
    EXPECT_GT(tally.nr_refused, 0u);
    EXPECT_GT(tally.nr_accepted, tally.nr_unsound);
    EXPECT_GT(tally.nr_unsound, 0u);
}

// Several places at once: faults that meet.
TEST(verify_damage, several_bytes_of_a_small_pdb)
{
    ASSERT_FALSE(small_pdb().empty());
    std::mt19937 random(29);
    tally_t tally;
    for (uint32_t round = 0; round < dear_rounds(20000); ++round) {
        bytes_t pdb = small_pdb();
        for (size_t n = 2 + random() % 3; n != 0; --n)
            pdb[random() % pdb.size()] = static_cast<uint8_t>(random());
        try_copy(pdb, tally);
    }
    show(tally);
    EXPECT_GT(tally.nr_refused, 0u);
    EXPECT_GT(tally.nr_accepted, tally.nr_unsound);
    EXPECT_GT(tally.nr_unsound, 0u);
}

} // namespace
