#include "pdb_list.h"

#include <gtest/gtest.h>

#include "captured.h"
#include "words.h"

namespace
{

/// The listing of a pdb, and behind it the fault and its place.
std::string listed(const std::vector<uint8_t> &pdb)
{
    view_error_t error;
    bool whole = true;
    std::string text = stdout_of([&] { whole = pdb_list_print(pdb, error); });
    if (!whole)
        text += std::string(view_fault_name(error.fault)) + " at " + std::to_string(error.offset);
    return text;
}

/// "ip" at 0, "tcp" at 4, "port" at 10.
const word_list names = {0x00026970, 0x00037463, 0x70000004, 0x706F7274};

/// One protocol with one rule, whose sub-rule tests the port of tcp in one direction.
word_list small_pdb(uint32_t way)
{
    const word_list attribute = record(2, {way, 10, 0, 4, 10});
    const word_list sub_rule =
        join({record(4, {4, 4, 0, 0}), record(3, {0}), record(2, attribute)});
    const word_list rule = record(2, join({record(7, {0, 0, 0, 0, 0, 0, 0}), record(3, {0}),
                                           record(2, record(2, sub_rule))}));
    const word_list protocol = record(
        1, join({record(1, {67, 0, 0, 0, 0, 0, 0, 0, 0, 0}), record(8, {0}), record(7, rule)}));
    const word_list group = record(1, join({record(1, protocol), record(2, names)}));
    return join({record(12, {0x01000001}), record(1, group), record(3, {0x00016100})});
}

TEST(PdbList, SumsUpTheDescriptions)
{
    EXPECT_EQ(listed(stored(small_pdb(17))),
              "parts:\n"
              "  12 load state                      8 bytes\n"
              "   1 protocol descriptions         200 bytes\n"
              "   3 main strings                    8 bytes\n"
              "descriptions: 1 protocols, 1 rules, 3 values, 3 + 1 strings\n");
}

TEST(PdbList, NamesThePlaceOfAWrongDirection)
{
    const std::string text = listed(stored(small_pdb(0)));
    EXPECT_NE(text.find("wrong value at 168"), std::string::npos) << text;
}

TEST(PdbList, ListsWhatStandsInFrontOfACut)
{
    std::vector<uint8_t> pdb = stored(small_pdb(17));
    pdb.resize(pdb.size() - 1);
    EXPECT_EQ(listed(pdb), "parts:\n"
                           "  12 load state                      8 bytes\n"
                           "   1 protocol descriptions         200 bytes\n"
                           "over-long record at 208");
    EXPECT_EQ(listed({}), "parts:\n");
}

/// Every cut and every flipped bit ends well.
TEST(PdbList, DamageReadsWithoutHarm)
{
    const std::vector<uint8_t> pdb = stored(small_pdb(17));
    for (size_t size = 0; size < pdb.size(); ++size)
        (void)listed({pdb.begin(), pdb.begin() + static_cast<ptrdiff_t>(size)}); // any text
    for (size_t bit = 0; bit < pdb.size() * 8; ++bit) {
        std::vector<uint8_t> flipped = pdb;
        flipped[bit / 8] ^= static_cast<uint8_t>(1U << bit % 8);
        (void)listed(flipped); // any text
    }
}

} // namespace
