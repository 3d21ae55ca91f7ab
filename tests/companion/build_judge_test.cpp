// What a build says of a pdb that went wrong although nothing is wrong with its descriptions.
#include <gtest/gtest.h>

#include <memory>

#include "build_run.h"
#include "pdb_header.h"

namespace
{

/// A build that has come as far as its pdb, and what it says.
struct build_t {
    std::unique_ptr<std::FILE, int (*)(std::FILE *)> file{std::tmpfile(), std::fclose};
    console_t console = {nullptr, file.get()};
    build_options_t options = {{"in.pdd"}, "out.pdb", true, {}, {}, {}, {"/dev/null"}};
    build_run_t run = {options, console};

    std::string text()
    {
        std::string read(static_cast<size_t>(std::ftell(file.get())), '\0');
        std::rewind(file.get());
        read.resize(std::fread(read.data(), 1, read.size(), file.get()));
        return read;
    }
};

/// A record of five words of which none is there, as a loadable pdb.
void put_cut_pdb(build_t &build)
{
    ASSERT_TRUE(pdb_header_set(&build.run.built.loadable, PDB_TYPE_LOAD, {1, 0, 0, 5}));
}

constexpr const char *CUT = "pdata: out.pdb: byte 0: over-long record: "
                            "record of type 1 claims 5 words, 0 bytes are left\n";

TEST(BuildJudge, AnUnsafePdbEndsTheBuild)
{
    build_t build;
    put_cut_pdb(build);
    EXPECT_EQ(build_verify(build.run), EXIT_STATUS_FINDINGS);
    EXPECT_EQ(build.text(), CUT);
    EXPECT_EQ(build.run.document["fault"]["fault"], "over-long record");
    EXPECT_EQ(build.run.document["fault"]["offset"], 0);
}

TEST(BuildJudge, NoCaseIsRunOnAPdbThatDoesNotOpen)
{
    build_t build;
    put_cut_pdb(build);
    EXPECT_EQ(build_test(build.run), EXIT_STATUS_FINDINGS);
    EXPECT_NE(build.text().find("record of type 1 claims 5 words"), std::string::npos);
    EXPECT_FALSE(build.run.document.contains("tests"));
}

TEST(BuildJudge, CasesNeedAPdbThatCanBeLoaded)
{
    constexpr std::string_view port_without_number =
        R"({"p": [{"name": "a", "id": 16777300, "rules": [{"order": "1:1",
           "rule": [{"protocol": "tcp", "port": "http"}]}]}]})";
    build_t build;
    build.options.loadable = false;
    build.run.names = {"in.pdd"};
    build.run.descriptions.push_back({{port_without_number.begin(), port_without_number.end()}});
    ASSERT_TRUE(open_cfg(build.console, "", build.run.cfg));
    ASSERT_EQ(pdata_build(build.run.descriptions, *build.run.cfg.cfg, false, build.run.built),
              PDATA_SUCCESS);
    EXPECT_EQ(build_test(build.run), EXIT_STATUS_FINDINGS);
    const json_document_t &error = build.run.document["error"];
    EXPECT_EQ(error["file"], "in.pdd");
    EXPECT_EQ(error["step"], "make loadable");
    EXPECT_EQ(error["name"], "PDATA_ERR_REGEX");
}

} // namespace
