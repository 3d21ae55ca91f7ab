#include "damage_compile.h"
#include "pdata_merge.h"
#include "pdata_remove.h"

namespace
{

using std::string;
using std::string_view;

/// What is merged into the small description: a protocol that it has, with rules that it has and
/// others, and one that it lacks.
const char *const MORE = R"({"protocols": [
{"name": "web", "id": 1000, "version": {"major": 2}, "http_reclassify": true, "rules": [
  {"order": "2:0", "preempt": true,
   "rule": [{"protocol": "http", "cts-content": "jk", "mindata": 9}]},
  {"order": "5:1", "path": ["udp", "web"], "rule-tags": ["chat"],
   "rule": [{"protocol": "quic", "cts-server_name": ["r", "s.t"]},
            {"protocol": "ssl", "common_name": "u"}]}]},
{"name": "mine", "id": 16777221, "tags": {"category": ["d"]}, "altname": ["v"], "rules": [
  {"order": "1:1", "fastpass": true,
   "rule": [{"protocol": "ip", "address": ["10.0.0.1", "10.0.0.2/31"]},
            {"protocol": "tcp", "mindata": 6,
             "stream_offset": {"offset": 4, "pattern": "xy"}}]},
  {"order": "1:2", "rule": [{"protocol": "udp", "port": "99"}]}]}
]}
)";

/// Merges two pdbs into the first part of `pdb`, whose other parts are those of the pdb whose
/// strings served both.
pdata_status_t merge(string_view base, string_view more, pdb_list_t *pdb)
{
    pdb_list_t pdbs[2];
    cut_into_parts(base, &pdbs[0]);
    cut_into_parts(more, &pdbs[1]);
    const pdb_list_t *const in[] = {&pdbs[0], &pdbs[1]};
    pdb_t merged;
    silence nothing_printed;
    const pdata_status_t status = pdata_merge(in, &merged);
    expect_status(status);
    forget();
    const bool first = pdata_pdb_type_find(pdbs[0], PDB_TYPE_MAIN_HSTRING) != nullptr;
    *pdb = pdbs[first ? 0 : 1];
    pdb_header_memcpy(&(*pdb)[0], merged);
    return status;
}

/// Removes the rules of a protocol; the other parts of `pdb` are those of the file.
pdata_status_t remove_rules(string_view file, pdb_list_t *pdb)
{
    cut_into_parts(file, pdb);
    pdb_t left;
    silence nothing_printed;
    const pdata_status_t status = pdata_remove(*pdb, 1000, &left);
    expect_status(status);
    forget();
    pdb_header_memcpy(&(*pdb)[0], left);
    return status;
}

/// Returns whether both succeeded.
bool merge_and_compile(string_view base, string_view more)
{
    pdb_list_t pdb;
    return merge(base, more, &pdb) == PDATA_SUCCESS && compile_parts(pdb, 1);
}

void remove_and_compile(string_view file)
{
    pdb_list_t pdb;
    if (remove_rules(file, &pdb) == PDATA_SUCCESS)
        compile_parts(pdb, 1);
}

class damaged_merge : public testing::Test
{
protected:
    const string base = pdb_of(SMALL_DESCRIPTION);
    const string more = pdb_of(MORE);
};

TEST_F(damaged_merge, of_two_sound_pdbs)
{
    pdb_list_t pdb;
    ASSERT_EQ(merge(base, more, &pdb), PDATA_SUCCESS);
    const pdb_t *strings = pdata_pdb_type_find(pdb, PDB_TYPE_MAIN_HSTRING);
    ASSERT_NE(strings, nullptr);
    EXPECT_EQ(read_descriptions(pdb[0], *strings), PDATA_SUCCESS);
    EXPECT_TRUE(compile_parts(pdb, 1));
}

TEST_F(damaged_merge, of_a_second_pdb_cut_at_every_length)
{
    for (size_t len = 0; len <= more.size(); ++len)
        merge_and_compile(base, string_view(more).substr(0, len));
}

TEST_F(damaged_merge, of_a_second_pdb_with_any_record_shortened)
{
    for_each_shortened(more, [&](const string &file) { merge_and_compile(base, file); });
}

TEST_F(damaged_merge, of_a_second_pdb_with_any_byte_changed)
{
    pdb_list_t pdb;
    for_each_byte_changed(more, [&](const string &file) { (void)merge(base, file, &pdb); });
}

TEST_F(damaged_merge, of_a_first_pdb_with_any_record_shortened)
{
    for_each_shortened(base, [&](const string &file) { merge_and_compile(file, more); });
}

TEST_F(damaged_merge, of_two_pdbs_with_bytes_changed)
{
    std::mt19937 random(6);
    size_t nr_accepted = 0;
    for (int i = 0; i < 4000; ++i) {
        const string first = damaged(base, random);
        nr_accepted += merge_and_compile(first, damaged(more, random));
    }
    EXPECT_GT(nr_accepted, 20U) << "enough damage that goes all the way";
}

TEST_F(damaged_merge, of_the_example_with_bytes_changed)
{
    const string whole = file_text(GOLDEN_PDB);
    std::mt19937 random(7);
    for (int i = 0; i < 10; ++i) {
        merge_and_compile(whole, damaged(whole, random));
        merge_and_compile(damaged(whole, random), whole);
    }
    EXPECT_TRUE(merge_and_compile(whole, whole));
}

TEST(damaged_removal, from_a_pdb_with_any_record_shortened)
{
    for_each_shortened(pdb_of(SMALL_DESCRIPTION), remove_and_compile);
}

TEST(damaged_removal, from_a_pdb_with_any_byte_changed)
{
    pdb_list_t pdb;
    for_each_byte_changed(pdb_of(SMALL_DESCRIPTION),
                          [&](const string &file) { (void)remove_rules(file, &pdb); });
}

} // namespace
