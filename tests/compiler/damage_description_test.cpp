#include <memory>

#include "damage.h"
#include "description_reader.h"
#include "pdata_serialize_ipbt.h"
#include "pdata_serialize_psa.h"
#include "protodesc_builder.h"
#include "rounds.h"

namespace
{

using std::string;
using std::string_view;

/// Serializes a description; what it comes to must be a status or a pdb that reads back.
void run_description(string_view text, const pdata_cfg_t &cfg)
{
    pdb_list_t pdb;
    const pdata_status_t status = serialize(text, cfg, &pdb);
    expect_status(status);
    forget();
    if (status != PDATA_SUCCESS)
        return;
    const pdb_t *group = pdata_pdb_type_find(pdb, PDB_TYPE_PROTOCOL_DESCRIPTION);
    const pdb_t *strings = pdata_pdb_type_find(pdb, PDB_TYPE_MAIN_HSTRING);
    ASSERT_TRUE(group != nullptr && strings != nullptr);
    const std::span<const uint8_t> pool = pdb_header_bytes(*strings).subspan(4);
    const hstring_t tags = {pool.data(), static_cast<uint32_t>(pool.size())};
    std::vector<protocol_model> protocols;
    EXPECT_EQ(read_protocols(pdb_header_bytes(*group), tags, &protocols), PDATA_SUCCESS);
    forget();
}

/// A record to build protocols in, kept from one to the next.
class damaged_protocols : public testing::Test
{
protected:
    damaged_protocols() : cfg(configuration(false)), protocols(protocols_of(example()))
    {
        protodesc_bounds_t bounds;
        protodesc_populate_bounds(&bounds);
        EXPECT_EQ(hstring_init(&strings, 0), 0);
        EXPECT_EQ(hstring_init(&tags, 0), 0);
        EXPECT_TRUE(protodesc_init(&pb, bounds, &strings, &tags));
        json.cfg = &cfg;
        json.proto_sem_type = PDATA_TYPE_PROTOCOL;
    }
    ~damaged_protocols() override { forget(); }

    pdata_status_t build(string_view text)
    {
        const std::unique_ptr<char[]> copy(new char[text.size()]);
        text.copy(copy.get(), text.size());
        uint32_t consumed = 0;
        silence nothing_printed;
        const pdata_status_t status =
            json_to_protodesc(&json, {copy.get(), text.size()}, &consumed, &pb);
        EXPECT_LE(consumed, text.size());
        return status;
    }

    pdata_cfg_t cfg;
    std::vector<string> protocols;
    hstring_build_t strings;
    hstring_build_t tags;
    protodesc_build_t pb;
    protodesc_json_t json;
};

TEST_F(damaged_protocols, cut_at_every_length)
{
    ASSERT_GT(protocols.size(), 80U);
    for (const string &protocol : protocols) {
        const size_t end = protocol.rfind('}');
        for (size_t len = 0; len <= protocol.size(); ++len) {
            const pdata_status_t status = build(string_view(protocol).substr(0, len));
            EXPECT_EQ(status, len <= end ? PDATA_ERR_PRAGMAR : PDATA_SUCCESS)
                << protocol.substr(0, len);
            forget();
        }
    }
}

TEST_F(damaged_protocols, with_bytes_changed)
{
    std::mt19937 random(1);
    size_t nr_accepted = 0;
    for (const string &protocol : protocols) {
        for (int i = 0; i < 40; ++i) {
            cfg.ignore_sem = i % 2 == 0;
            const pdata_status_t status = build(damaged(protocol, random));
            expect_status(status);
            nr_accepted += status == PDATA_SUCCESS;
            forget();
        }
    }
    EXPECT_GT(nr_accepted, protocols.size()) << "enough damage that goes further";
}

TEST(damaged_description, cut_at_some_lengths)
{
    const pdata_cfg_t cfg = configuration(false);
    std::mt19937 random(2);
    for (uint32_t i = 0; i < dear_rounds(200); ++i)
        run_description(string_view(example()).substr(0, random() % example().size()), cfg);
    for (size_t behind = 0; behind < 12; ++behind)
        run_description(string_view(example()).substr(0, example().size() - behind), cfg);
}

TEST(damaged_description, a_small_one_cut_at_every_length)
{
    const pdata_cfg_t cfg = configuration(true);
    const string_view text = SMALL_DESCRIPTION;
    for (size_t len = 0; len <= text.size(); ++len)
        run_description(text.substr(0, len), cfg);
}

TEST(damaged_description, with_bytes_changed)
{
    pdata_cfg_t cfg = configuration(false);
    std::mt19937 random(3);
    for (int i = 0; i < 30; ++i)
        run_description(damaged(example(), random), cfg);
    cfg = configuration(true);
    cfg.ignore_sem = 1;
    for (uint32_t i = 0; i < dear_rounds(3000); ++i)
        run_description(damaged(SMALL_DESCRIPTION, random), cfg);
}

/// Takes one file of the configuration to whoever reads it.
void run_configuration_file(pdata_cfg_t &cfg, pdata_cfg_meta_t &meta, string_view text)
{
    meta.json = buf_of(text);
    if (meta.meta == PDATA_META_PSA) {
        text_stream_t key = {{}, PSA_KEY_SIZE};
        text_stream_t src = {{}, PSA_SOURCE_SIZE};
        text_stream_t hdr = {{}, PSA_HEADER_SIZE};
        silence nothing_printed;
        expect_status(pdata_serialize_psa(&cfg, &key, &src, &hdr));
    } else if (meta.meta == PDATA_META_IPBT) {
        text_stream_t src = {{}, IPBT_SOURCE_SIZE};
        text_stream_t hdr = {{}, IPBT_HEADER_SIZE};
        silence nothing_printed;
        expect_status(pdata_serialize_ipbt(&cfg, &src, &hdr));
    } else {
        pdb_list_t pdb;
        expect_status(serialize(SMALL_DESCRIPTION, cfg, &pdb));
    }
    forget();
}

/// Calls `damage(cfg, meta, text)` for each file of the example's configuration, in a
/// configuration whose other files are small.
template <typename Damage>
void for_each_file(Damage &&damage)
{
    const pdata_cfg_t whole = configuration(false);
    for (size_t i = 0; whole.meta[i].meta != PDATA_META_END; ++i) {
        pdata_cfg_t cfg = configuration(true);
        for (pdata_cfg_meta_t &meta : cfg.meta)
            if (meta.meta == PDATA_META_PSA)
                meta.json.reset();
        const csa_buf_t &bytes = *whole.meta[i].json;
        damage(cfg, cfg.meta[i], string(bytes.begin(), bytes.end()));
    }
}

TEST(damaged_configuration, cut_at_every_length)
{
    for_each_file([](pdata_cfg_t &cfg, pdata_cfg_meta_t &meta, const string &text) {
        for (size_t len = 0; len <= text.size(); len += ROUNDS_STEP)
            run_configuration_file(cfg, meta, string_view(text).substr(0, len));
    });
}

TEST(damaged_configuration, with_bytes_changed)
{
    std::mt19937 random(4);
    for_each_file([&](pdata_cfg_t &cfg, pdata_cfg_meta_t &meta, const string &text) {
        for (uint32_t i = 0; i < dear_rounds(200); ++i)
            run_configuration_file(cfg, meta, damaged(text, random));
    });
}

} // namespace
