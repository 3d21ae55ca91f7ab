/// What whole runs leave behind when an output cannot be written.
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>

#include "captured.h"
#include "small_inputs.h"
#include "whole_run.h"
#include "work_folder.h"

namespace
{

namespace fs = std::filesystem;

constexpr const char *SOURCES[] = {"psa_key.h", "psa_serialization.c", "psa_serialization.h",
                                   "ipbt_serialization.c", "ipbt_serialization.h"};

/// What a run came to.
struct run_result_t {
    int code;
    std::string out;
    std::string err;
};

class compiler_outputs : public work_folder
{
protected:
    void SetUp() override { put_small_inputs(); }

    static run_result_t run(std::vector<std::string> arguments)
    {
        run_result_t result;
        result.err = stderr_of([&] {
            result.out = stdout_of([&] { result.code = command_line(std::move(arguments)).run(); });
        });
        command_line::forget_run();
        return result;
    }

    static run_result_t describe(const char *out)
    {
        return run({"--pdd", "in.pdd", "--cfg-path", "cfg", "--description", "--pdb-out", out});
    }

    static run_result_t cover()
    {
        return run({"--pdd", "in.pdd", "--cfg-path", "cfg", "--loadable", "--pdb-out", "out",
                    "--sig-export", "signature_coverage"});
    }

    static void put_old_sources()
    {
        for (const char *name : SOURCES)
            put_file(name, "old");
    }

    /// How many of the sources are as they were.
    static int nr_old_sources()
    {
        int nr = 0;
        for (const char *name : SOURCES)
            nr += fs::is_regular_file(fs::symlink_status(name)) && file_text(name) == "old";
        return nr;
    }

    /// Names of the working directory that no run may leave.
    static int nr_temporary()
    {
        int nr = 0;
        for (const fs::directory_entry &entry : fs::directory_iterator("."))
            nr += entry.path().filename().string().find("pdata-new") != std::string::npos;
        return nr;
    }
};

TEST_F(compiler_outputs, a_full_device_fails_the_run)
{
    const run_result_t result = describe("/dev/full");
    EXPECT_EQ(result.code, PDATA_ERR_IO);
    EXPECT_EQ(result.out, "(3:PDATA_ERR_IO)\nCannot write on filename /dev/full \n\n");
    EXPECT_EQ(result.err, "pdata_compiler: /dev/full: write: No space left on device\n");
}

/// The message goes where the output went, and nobody reads there.
TEST_F(compiler_outputs, a_standard_output_that_is_closed_fails_the_run)
{
    const auto write_to_nobody = [] {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) == -1 || close(ends[0]) != 0)
            std::_Exit(99);
        std::exit(command_line({"--pdd", "in.pdd", "--cfg-path", "cfg", "--description",
                                "--pdb-out", "/dev/stdout"})
                      .run());
    };
    EXPECT_EXIT(write_to_nobody(), testing::ExitedWithCode(PDATA_ERR_IO),
                "pdata_compiler: /dev/stdout: write: Broken pipe");
}

TEST_F(compiler_outputs, a_full_disk_leaves_the_old_pdb)
{
    put_file("out", "old");
    ASSERT_EQ(describe("in.pdb").code, 0);
    command_line line({"--pdb-in", "in.pdb", "--loadable", "--pdb-out", "out"});
    rlimit usual;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &usual), 0);
    const rlimit now = {fs::file_size("in.pdb"), usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &now), 0);
    int code;
    {
        const silence nothing_printed;
        code = line.run();
    }
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &usual), 0);
    command_line::forget_run();
    EXPECT_EQ(code, PDATA_ERR_IO);
    EXPECT_EQ(file_text("out"), "old");
    EXPECT_EQ(nr_temporary(), 0);
}

TEST_F(compiler_outputs, sources_go_in_place_only_together)
{
    for (const char *name : SOURCES) {
        put_old_sources();
        fs::remove(name);
        fs::create_directory(name);
        const run_result_t opened = describe("out");
        EXPECT_EQ(opened.code, PDATA_ERR_IO);
        EXPECT_EQ(opened.out, std::string("(3:PDATA_ERR_IO)\npdata_compiler : unable to open ") +
                                  name + ".\n\n");
        EXPECT_EQ(nr_old_sources(), 4) << name;
        fs::remove(name);
        EXPECT_EQ(nr_temporary(), 0);
        EXPECT_FALSE(fs::exists("out"));
    }
    ASSERT_EQ(describe("out").code, 0);
    EXPECT_EQ(nr_old_sources(), 0);
}

TEST_F(compiler_outputs, a_source_on_a_full_device_leaves_the_others)
{
    for (const std::string name : SOURCES) {
        put_old_sources();
        fs::remove(name);
        fs::create_symlink("/dev/full", name);
        const run_result_t result = describe("out");
        EXPECT_EQ(result.code, PDATA_ERR_IO);
        EXPECT_EQ(result.out, "(3:PDATA_ERR_IO)\nCannot write on filename " + name + " \n\n");
        EXPECT_EQ(result.err, "pdata_compiler: " + name + ": write: No space left on device\n");
        EXPECT_EQ(nr_old_sources(), 4) << name;
        EXPECT_EQ(nr_temporary(), 0);
        fs::remove(name);
    }
}

TEST_F(compiler_outputs, sources_of_a_table_that_is_refused_hold_back_no_others)
{
    put_old_sources();
    put_file("cfg/ipbt.json", R"({"rules": [)");
    EXPECT_EQ(describe("out").code, PDATA_ERR_JSON_BAD_SYNTAX);
    EXPECT_EQ(nr_old_sources(), 2);
    put_old_sources();
    fs::remove("psa_serialization.c");
    fs::create_symlink("/dev/full", "psa_serialization.c");
    const run_result_t result = describe("out");
    EXPECT_EQ(result.code, PDATA_ERR_JSON_BAD_SYNTAX) << "what failed first";
    EXPECT_EQ(result.out.substr(0, 31), "(51:PDATA_ERR_JSON_BAD_SYNTAX)\n");
    EXPECT_NE(result.err.find("psa_serialization.c: write: No space left"), std::string::npos);
    EXPECT_EQ(nr_temporary(), 0);
}

TEST_F(compiler_outputs, a_coverage_that_cannot_be_written_fails_the_run)
{
    fs::create_symlink("/dev/full", "signature_coverage.data");
    const run_result_t result = cover();
    EXPECT_EQ(result.code, PDATA_ERR_IO);
    EXPECT_EQ(result.out,
              "(3:PDATA_ERR_IO)\nCannot write on filename signature_coverage.data \n\n");
    EXPECT_EQ(result.err,
              "pdata_compiler: signature_coverage.data: write: No space left on device\n");
    EXPECT_TRUE(fs::exists("out"));
}

TEST_F(compiler_outputs, a_coverage_that_cannot_be_opened_fails_the_run)
{
    fs::create_directory("signature_coverage.data");
    const run_result_t result = cover();
    EXPECT_EQ(result.code, PDATA_ERR_IO);
    EXPECT_EQ(result.out, "(3:PDATA_ERR_IO)\n\n");
    EXPECT_EQ(result.err, "pdata_compiler: signature_coverage.data: open: Is a directory\n");
}

TEST_F(compiler_outputs, a_run_that_failed_before_keeps_its_status)
{
    fs::create_symlink("/dev/full", "signature_coverage.data");
    put_file("in.pdd", "{");
    const std::string first = describe("out").out;
    const run_result_t result = cover();
    EXPECT_EQ(result.code, PDATA_ERR_PRAGMAR);
    EXPECT_EQ(result.out, first);
    fs::remove("signature_coverage.data");
    fs::create_symlink("/dev/full", "signature_coverage.data");
    put_small_inputs();
    const run_result_t unwritable =
        run({"--pdd", "in.pdd", "--cfg-path", "cfg", "--loadable", "--pdb-out", "/dev/full",
             "--sig-export", "signature_coverage"});
    EXPECT_EQ(unwritable.out, "(3:PDATA_ERR_IO)\nCannot write on filename /dev/full \n\n");
}

TEST_F(compiler_outputs, a_folder_without_room_for_a_new_file_is_said)
{
    put_file("out", "old");
    fs::create_directory("out.pdata-new");
    const run_result_t result = describe("out");
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.err, "pdata_compiler: out: written directly, its folder takes no new file: "
                          "File exists\n");
    EXPECT_NE(file_text("out"), "old");
}

} // namespace
