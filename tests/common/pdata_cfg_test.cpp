#include <gtest/gtest.h>

#include <map>
#include <string>

#include "captured.h"
#include "outcome.h"
#include "pdata_cfg.h"

namespace
{

/// The files of a directory that exists only here, and what was asked of it.
std::map<std::string, std::string> files;
std::vector<std::string> asked;

bool read_file(const char *filename, csa_buf_t *buf)
{
    asked.push_back(filename);
    const auto file = files.find(filename);
    if (file == files.end())
        return false;
    buf->assign(file->second.begin(), file->second.end());
    return true;
}

struct cfg_row {
    pdata_meta_t meta;
    pdata_type_t type;
    const char *name;
};

const cfg_row rows[] = {
    {PDATA_META_PDM, PDATA_TYPE_TAG_TABLE, "tag_table"},
    {PDATA_META_PDM, PDATA_TYPE_MATCHER_ALIAS, "matcher_alias"},
    {PDATA_META_PSA, PDATA_TYPE_HTTP2, "http2"},
    {PDATA_META_PSA, PDATA_TYPE_HTTP, "http"},
    {PDATA_META_PSA, PDATA_TYPE_SPDY, "spdy"},
    {PDATA_META_PSA, PDATA_TYPE_HTTP_PROXY, "http_proxy"},
    {PDATA_META_SEM, PDATA_TYPE_MATCHER_ALIAS, "semantic_matcher_alias"},
    {PDATA_META_SEM, PDATA_TYPE_PROTOCOL, "semantic_protocol"},
    {PDATA_META_SEM, PDATA_TYPE_CSM, "semantic_csm"},
    {PDATA_META_SEM, PDATA_TYPE_TAG_TABLE, "semantic_tag_table"},
    {PDATA_META_IPBT, PDATA_TYPE_IPBT, "ipbt"},
};

class pdata_cfg : public testing::Test
{
protected:
    void SetUp() override
    {
        clear_status_slot();
        asked.clear();
        files.clear();
        for (const cfg_row &row : rows)
            files["cfg/" + std::string(row.name) + ".json"] = std::string("text of ") + row.name;
    }
    void TearDown() override { pdata_cfg_unload(pdata_cfg_get(nullptr)); }
};

TEST_F(pdata_cfg, roles_and_kinds_have_their_numbers)
{
    EXPECT_EQ(PDATA_META_PDM, 0U);
    EXPECT_EQ(PDATA_META_SEM, 1U);
    EXPECT_EQ(PDATA_META_TLV, 2U);
    EXPECT_EQ(PDATA_META_PSA, 3U);
    EXPECT_EQ(PDATA_META_IPBT, 4U);
    EXPECT_EQ(PDATA_META_END, 5U);
    EXPECT_EQ(PDATA_TYPE_TAG_TABLE, 0U);
    EXPECT_EQ(PDATA_TYPE_MATCHER_ALIAS, 1U);
    EXPECT_EQ(PDATA_TYPE_HTTP2, 2U);
    EXPECT_EQ(PDATA_TYPE_HTTP, 3U);
    EXPECT_EQ(PDATA_TYPE_SPDY, 4U);
    EXPECT_EQ(PDATA_TYPE_HTTP_PROXY, 5U);
    EXPECT_EQ(PDATA_TYPE_PROTOCOL, 6U);
    EXPECT_EQ(PDATA_TYPE_CSM, 7U);
    EXPECT_EQ(PDATA_TYPE_RULE_ENGINE, 8U);
    EXPECT_EQ(PDATA_TYPE_IPBT, 9U);
}

TEST_F(pdata_cfg, the_table_has_eleven_files_and_an_end_row)
{
    const pdata_cfg_t *cfg = pdata_cfg_get(nullptr);
    ASSERT_EQ(cfg->meta.size(), std::size(rows) + 1);
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(cfg->meta[i].meta, rows[i].meta) << i;
        EXPECT_EQ(cfg->meta[i].type, rows[i].type) << i;
        EXPECT_STREQ(cfg->meta[i].name, rows[i].name);
        EXPECT_FALSE(cfg->meta[i].json.has_value());
    }
    EXPECT_EQ(cfg->meta[11].meta, PDATA_META_END);
    EXPECT_EQ(cfg->meta[11].type, 0U);
    EXPECT_STREQ(cfg->meta[11].name, "end");
    EXPECT_EQ(cfg->ignore_sem, 0);
}

TEST_F(pdata_cfg, every_file_is_read_in_the_order_of_the_table)
{
    pdata_cfg_t *cfg = pdata_cfg_load_from_file(nullptr, "cfg", read_file);
    ASSERT_NE(cfg, nullptr);
    ASSERT_EQ(asked.size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(asked[i], "cfg/" + std::string(rows[i].name) + ".json");
        EXPECT_EQ(pdata_cfg_meta_text(&cfg->meta[i]), std::string("text of ") + rows[i].name);
    }
    pdata_cfg_unload(cfg);
    for (const pdata_cfg_meta_t &meta : cfg->meta)
        EXPECT_EQ(pdata_cfg_meta_text(&meta).data(), nullptr);
}

TEST_F(pdata_cfg, the_name_of_a_configuration_is_ignored)
{
    EXPECT_EQ(pdata_cfg_get("one"), pdata_cfg_get("other"));
    EXPECT_EQ(pdata_cfg_load_from_file("one", "cfg", read_file), pdata_cfg_get(nullptr));
    const std::vector<std::string> first = asked;
    asked.clear();
    EXPECT_EQ(pdata_cfg_load_from_file("other", "cfg", read_file), pdata_cfg_get(nullptr));
    EXPECT_EQ(asked, first);
}

TEST_F(pdata_cfg, a_directory_may_end_with_a_slash)
{
    std::map<std::string, std::string> doubled;
    for (const auto &[name, text] : files)
        doubled["cfg/" + name.substr(3)] = text;
    files = doubled;
    EXPECT_NE(pdata_cfg_load_from_file(nullptr, "cfg/", read_file), nullptr);
    EXPECT_EQ(asked[0], "cfg//tag_table.json");
}

TEST_F(pdata_cfg, the_last_file_missing_fails_after_the_ten_others_were_read)
{
    files.erase("cfg/ipbt.json");
    const pdata_cfg_t *cfg = pdata_cfg_get(nullptr);
    const std::string printed =
        stdout_of([] { EXPECT_EQ(pdata_cfg_load_from_file(nullptr, "cfg", read_file), nullptr); });
    EXPECT_EQ(printed, "cfg/ipbt.json") << "no line end";
    EXPECT_EQ(asked.size(), 11U);
    EXPECT_EQ(outcome(PDATA_SUCCESS), "0") << "no status is recorded";
    EXPECT_EQ(pdata_cfg_meta_text(&cfg->meta[9]), "text of semantic_tag_table")
        << "what was loaded stays";
    EXPECT_EQ(pdata_cfg_meta_text(&cfg->meta[10]).data(), nullptr);
}

TEST_F(pdata_cfg, the_first_missing_file_ends_the_loading)
{
    files.erase("cfg/http.json");
    const std::string printed =
        stdout_of([] { EXPECT_EQ(pdata_cfg_load_from_file(nullptr, "cfg", read_file), nullptr); });
    EXPECT_EQ(printed, "cfg/http.json");
    EXPECT_EQ(asked.size(), 4U);
}

TEST_F(pdata_cfg, a_file_name_is_cut_at_255_bytes)
{
    const std::string path(241, 'd'); // the slash and "tag_table.json" lie at 241 and from 242 on
    const std::string whole = path + "/tag_table.json";
    ASSERT_EQ(whole.size(), 256U);
    const std::string printed = stdout_of(
        [&] { EXPECT_EQ(pdata_cfg_load_from_file(nullptr, path.c_str(), read_file), nullptr); });
    EXPECT_EQ(printed, whole.substr(0, 255));
    EXPECT_EQ(asked, std::vector<std::string>{whole.substr(0, 255)});
    const std::string far(10000, 'd');
    EXPECT_EQ(stdout_of([&] {
                  EXPECT_EQ(pdata_cfg_load_from_file(nullptr, far.c_str(), read_file), nullptr);
              }),
              far.substr(0, 255));
}

TEST_F(pdata_cfg, a_file_is_found_by_role_and_kind)
{
    const pdata_cfg_t *cfg = pdata_cfg_get(nullptr);
    for (size_t i = 0; i < std::size(rows); ++i)
        EXPECT_EQ(pdata_cfg_meta_find(cfg, rows[i].meta, rows[i].type), &cfg->meta[i]);
    EXPECT_EQ(pdata_cfg_meta_find(cfg, PDATA_META_PDM, PDATA_TYPE_CSM), nullptr);
    EXPECT_EQ(pdata_cfg_meta_find(cfg, PDATA_META_TLV, PDATA_TYPE_TAG_TABLE), nullptr);
    EXPECT_EQ(pdata_cfg_meta_find(cfg, PDATA_META_END, PDATA_TYPE_TAG_TABLE), nullptr)
        << "the end row is no file";
    EXPECT_EQ(pdata_cfg_meta_find(nullptr, PDATA_META_PDM, PDATA_TYPE_TAG_TABLE), nullptr);
}

TEST_F(pdata_cfg, a_file_of_length_0_is_present_with_an_empty_text)
{
    files["cfg/tag_table.json"] = "";
    const pdata_cfg_t *cfg = pdata_cfg_load_from_file(nullptr, "cfg", read_file);
    ASSERT_NE(cfg, nullptr);
    EXPECT_NE(pdata_cfg_meta_text(&cfg->meta[0]).data(), nullptr);
    EXPECT_TRUE(pdata_cfg_meta_text(&cfg->meta[0]).empty());
    EXPECT_EQ(pdata_cfg_meta_text(nullptr).data(), nullptr);
}

} // namespace
