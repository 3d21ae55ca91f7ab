#include "damage_compile.h"
#include "rounds.h"

namespace
{

using std::string;
using std::string_view;

TEST(damaged_pdb, cut_at_every_length)
{
    const string file = file_text(GOLDEN_PDB);
    pdb_list_t pdb;
    for (size_t len = 0; len <= file.size(); ++len)
        read_pdb(string_view(file).substr(0, len), &pdb);
    const string small = pdb_of(SMALL_DESCRIPTION);
    for (size_t len = 0; len <= small.size(); ++len)
        compile_pdb(string_view(small).substr(0, len));
}

// A cut file loses the record that the cut goes through. Here its headers tell the truth.
TEST(damaged_pdb, with_any_record_shortened)
{
    for_each_shortened(pdb_of(SMALL_DESCRIPTION), compile_pdb);
}

TEST(damaged_pdb, with_bytes_changed)
{
    std::mt19937 random(5);
    const string small = pdb_of(SMALL_DESCRIPTION);
    for (uint32_t i = 0; i < dear_rounds(3000); ++i)
        compile_pdb(damaged(small, random));
    const string file = file_text(GOLDEN_PDB);
    pdb_list_t pdb;
    for (uint32_t i = 0; i < dear_rounds(200); ++i)
        read_pdb(damaged(file, random), &pdb);
    for (int i = 0; i < 20; ++i)
        compile_pdb(damaged(file, random));
}

TEST(damaged_pdb, with_any_byte_changed)
{
    for_each_byte_changed(pdb_of(SMALL_DESCRIPTION), compile_pdb);
}

} // namespace
