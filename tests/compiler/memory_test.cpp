/// Memory that runs out: the n-th allocation of a whole run fails, for every n. The run then ends
/// with a status, or gets through with the outputs that it always has; it neither crashes nor
/// leaks, which the sanitizers would say.
#include <unistd.h>

#include "failing_alloc.h"
#include "small_inputs.h"
#include "whole_run.h"
#include "work_folder.h"

namespace
{

constexpr std::string_view DESCRIPTION = "--description";
constexpr std::string_view LOADABLE = "--loadable";

class compiler_memory : public work_folder
{
protected:
    void SetUp() override
    {
        put_small_inputs();
        command_line line(
            {"--pdd", "in.pdd", "--cfg-path", "cfg", "--description", "--pdb-out", "a.pdb"});
        ASSERT_EQ(run_silently(line), 0);
        command_line::forget_run();
    }

    static int run_silently(command_line &line)
    {
        silence nothing_printed;
        return line.run();
    }

    /// Removes what a run writes. Allocates nothing.
    static void remove_outputs()
    {
        for (const char *name :
             {"out", "psa_key.h", "psa_serialization.c", "psa_serialization.h",
              "ipbt_serialization.c", "ipbt_serialization.h", "signature_coverage.data"})
            unlink(name);
    }

    /// Runs a command line with each allocation failing in turn. Returns how many there are. A run
    /// that succeeds all the same has written what it always writes.
    static size_t sweep(command_line line)
    {
        EXPECT_EQ(run_silently(line), 0);
        command_line::forget_run();
        const std::string whole = file_text("out");
        size_t nr_failed = 0;
        failing_alloc_sweep(
            [&] {
                remove_outputs(); // a file that is replaced costs more time than a new one
                return run_silently(line);
            },
            [&](int code) {
                ++nr_failed;
                EXPECT_LT(code, 256);
                if (code == 0) {
                    EXPECT_EQ(file_text("out"), whole) << "allocation " << nr_failed;
                }
                command_line::forget_run();
            });
        command_line::forget_run();
        EXPECT_EQ(file_text("out"), whole) << "the last run, in which nothing failed";
        return nr_failed;
    }
};

TEST_F(compiler_memory, runs_out_in_a_description)
{
    command_line line(
        {"--pdd", "in.pdd", "--cfg-path", "cfg", "--description", "--pdb-out", "out"});
    EXPECT_GT(sweep(line), 100U);
}

TEST_F(compiler_memory, runs_out_in_a_loadable_pdb)
{
    command_line line({"--pdb-in", "a.pdb", "--loadable", "--pdb-out", "out", "--sig-export",
                       "signature_coverage"});
    EXPECT_GT(sweep(line), 100U);
}

TEST_F(compiler_memory, runs_out_in_a_listing_of_values)
{
    command_line line(
        {"--pdb-in", "a.pdb", "--loadable", "--pdb-out", "out", "--sig-export", "pcap_generation"});
    EXPECT_GT(sweep(line), 100U);
}

TEST_F(compiler_memory, runs_out_in_a_merge)
{
    for (const std::string_view form : {DESCRIPTION, LOADABLE}) {
        command_line line(
            {"--pdb-in", "a.pdb;a.pdb", "--merge", std::string(form), "--pdb-out", "out"});
        EXPECT_GT(sweep(line), 100U);
    }
}

TEST_F(compiler_memory, runs_out_in_a_removal)
{
    for (const std::string_view form : {DESCRIPTION, LOADABLE}) {
        command_line line(
            {"--pdb-in", "a.pdb", "--delete", "1000", std::string(form), "--pdb-out", "out"});
        EXPECT_GT(sweep(line), 100U);
    }
}

TEST_F(compiler_memory, runs_out_between_a_description_and_its_loadable_pdb)
{
    command_line line({"--pdd", "in.pdd", "--cfg-path", "cfg", "--loadable", "--pdb-out", "out"});
    EXPECT_GT(sweep(line), 100U);
}

} // namespace
