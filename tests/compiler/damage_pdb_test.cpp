#include "damage_pdb.h"
#include "pdata_compile.h"

namespace
{

using std::string;
using std::string_view;

void compile_pdb(string_view file)
{
    pdb_list_t pdb;
    read_pdb(file, &pdb);
    pdb_t loadable;
    silence nothing_printed;
    expect_status(pdata_compile(&pdb, &loadable, nullptr, {}, file.size() % 2));
    forget();
}

TEST(damaged_pdb, cut_at_every_length)
{
    const string file = file_text(GOLDEN_PDB);
    pdb_list_t pdb;
    for (size_t len = 0; len <= file.size(); ++len)
        read_pdb(string_view(file).substr(0, len), &pdb);
    const string small = small_pdb();
    for (size_t len = 0; len <= small.size(); ++len)
        compile_pdb(string_view(small).substr(0, len));
}

TEST(damaged_pdb, with_descriptions_cut_at_every_word)
{
    const string small = small_pdb();
    for (size_t left = 0; left <= words_of_descriptions(small); ++left)
        compile_pdb(with_descriptions_cut(small, left));
}

TEST(damaged_pdb, with_bytes_changed)
{
    std::mt19937 random(5);
    const string small = small_pdb();
    for (int i = 0; i < 3000; ++i)
        compile_pdb(damaged(small, random));
    const string file = file_text(GOLDEN_PDB);
    pdb_list_t pdb;
    for (int i = 0; i < 200; ++i)
        read_pdb(damaged(file, random), &pdb);
}

// Every byte of the small pdb, alone, in three ways.
TEST(damaged_pdb, with_any_byte_changed)
{
    const string small = small_pdb();
    for (size_t at = 0; at < small.size(); ++at) {
        for (const int change : {0x01, 0x80, 0xFF}) {
            string file = small;
            file[at] = static_cast<char>(file[at] ^ change);
            compile_pdb(file);
        }
    }
}

} // namespace
