/// Hostile pdbs through the whole compile: whatever a file says, the compile ends with a status,
/// and what succeeds is a sound loadable pdb. Wild reads and overflows are for the sanitizers.
///
/// The tests of the program (compiler_damage_test) cut the small pdb and change its bytes. Here
/// whole words say something else, which is what lengths, offsets and counts are, the example comes
/// down to its loadable form, and pdbs are split by the reader that tools use.
#include <algorithm>

#include "csa_endian.h"
#include "damage_compile.h"
#include "pdata_config.h"
#include "rounds.h"

namespace
{

const std::string &small_file()
{
    static const std::string file = pdb_of(SMALL_DESCRIPTION);
    return file;
}

const std::string &example_file()
{
    static const std::string file = file_text(GOLDEN_PDB);
    return file;
}

uint32_t word_of(const std::string &file, size_t word)
{
    return tlv_get(reinterpret_cast<const uint8_t *>(file.data()) + 4 * word);
}

std::string with_word(std::string file, size_t word, uint32_t value)
{
    csa_set_be32(reinterpret_cast<uint8_t *>(file.data()) + 4 * word, value);
    return file;
}

/// What a word may be turned into: nothing, everything, the largest lengths and numbers, and its
/// neighbours. Lengths keep the type in front of them.
std::vector<uint32_t> hostile_words(uint32_t word)
{
    return {0,
            0xFFFFFFFF,
            0x7FFFFFFF,
            0x80000000,
            (word & 0xFF000000) | 0x00FFFFFF,
            (word & 0xFF000000) | 0x003FFFFF,
            word & 0xFF000000,
            word + 1,
            word - 1,
            word << 8};
}

TEST(hostile_pdb, with_any_word_changed)
{
    uint32_t nr_sound = 0;
    const size_t nr_word = small_file().size() / 4;
    ASSERT_LT(nr_word, 1024U);
    for (size_t word = 0; word < nr_word; word += ROUNDS_STEP)
        for (const uint32_t value : hostile_words(word_of(small_file(), word)))
            nr_sound += compile_pdb(with_word(small_file(), word, value)) ? 1 : 0;
    EXPECT_GT(nr_sound, dear_rounds(static_cast<uint32_t>(nr_word)))
        << "most of them should get far";
}

TEST(hostile_pdb, with_several_words_changed)
{
    std::mt19937 random(11);
    const size_t nr_word = small_file().size() / 4;
    for (uint32_t round = 0; round < dear_rounds(2000); ++round) {
        std::string file = small_file();
        for (int n = 0; n < 3; ++n) {
            const size_t word = random() % nr_word;
            const std::vector<uint32_t> values = hostile_words(word_of(file, word));
            file = with_word(file, word, values[random() % values.size()]);
        }
        pdb_list_t pdb;
        read_pdb(file, &pdb);
        compile_parts(pdb, round % 2); // the tag table in either byte order
    }
}

// A word of one place taken to another: offsets that lead to a wrong but real place, types that
// stand where others should.
TEST(hostile_pdb, with_words_that_stand_elsewhere)
{
    std::mt19937 random(12);
    const size_t nr_word = small_file().size() / 4;
    for (uint32_t round = 0; round < dear_rounds(2000); ++round)
        compile_pdb(
            with_word(small_file(), random() % nr_word, word_of(small_file(), random() % nr_word)));
}

TEST(hostile_pdb, an_example_that_is_cut)
{
    const std::string &file = example_file();
    EXPECT_TRUE(compile_pdb(file));
    for (size_t part = 0; part < 16; ++part)
        EXPECT_FALSE(compile_pdb(std::string_view(file).substr(0, file.size() * part / 16)));
}

TEST(hostile_pdb, an_example_with_words_changed)
{
    std::mt19937 random(13);
    const std::string &file = example_file();
    for (int round = 0; round < 30; ++round) {
        const size_t word = random() % (file.size() / 4);
        const std::vector<uint32_t> values = hostile_words(word_of(file, word));
        compile_pdb(with_word(file, word, values[random() % values.size()]));
    }
}

/// Splits a file as tools do, and compiles the parts that are found.
void split_and_compile(std::string_view file)
{
    const csa_buf_t bytes = buf_of(file);
    pdb_list_t pdb;
    const pdata_status_t status = pdata_config(bytes, &pdb);
    EXPECT_TRUE(status == PDATA_SUCCESS || status == PDATA_ERR_TLV_NOT_FOUND) << status;
    if (status == PDATA_SUCCESS)
        compile_parts(pdb, 1);
    pdata_config_cleanup(&pdb);
}

TEST(hostile_pdb, split_by_the_reader_of_tools)
{
    for (size_t len = 0; len <= small_file().size(); ++len)
        split_and_compile(std::string_view(small_file()).substr(0, len));
    const size_t nr_word = small_file().size() / 4;
    for (size_t word = 0; word < nr_word; word += ROUNDS_STEP)
        for (const uint32_t value : {0U, 0xFFFFFFFFU, word_of(small_file(), word) + 1})
            split_and_compile(with_word(small_file(), word, value));
}

} // namespace
