#include "pdata_compiler_options.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "captured.h"
#include "outcome.h"

namespace
{

using words = std::vector<std::string>;

/// Parses a command line behind the name of the program.
pdata_status_t parse(words arguments, pdata_compiler_opt_t *opt)
{
    arguments.insert(arguments.begin(), "compiler");
    std::vector<char *> argv;
    for (std::string &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    return pdata_compiler_parse_opt(static_cast<int>(arguments.size()), argv.data(), opt);
}

/// What a parse that must succeed gives.
pdata_compiler_opt_t parsed(words arguments)
{
    pdata_compiler_opt_t opt;
    clear_status_slot();
    EXPECT_EQ(parse(std::move(arguments), &opt), PDATA_SUCCESS);
    return opt;
}

/// Arguments that pass the check of what goes together, and more.
words valid(const words &more = {})
{
    words all = {"--pdd", "in.pdd", "--description", "--pdb-out", "out.pdb"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

TEST(compiler_options, every_option_has_its_field)
{
    const pdata_compiler_opt_t opt = parsed(
        {"--pdd", "p", "--loadable", "--pdb-out", "o", "--cfg-name", "n", "--cfg-path", "c",
         "--ignore-sem", "--merge", "--sig-export", "s", "--dump", "tlv", "--pdd-namespace", "3"});
    EXPECT_EQ(opt.set.pdd, 1);
    EXPECT_STREQ(opt.pdd_filename, "p");
    EXPECT_EQ(opt.set.loadable, 1);
    EXPECT_EQ(opt.set.pdb_out, 1);
    EXPECT_STREQ(opt.pdb_filename_out, "o");
    EXPECT_EQ(opt.set.cfg_name, 1);
    EXPECT_STREQ(opt.cfg_name, "n");
    EXPECT_EQ(opt.set.cfg_path, 1);
    EXPECT_STREQ(opt.cfg_path, "c");
    EXPECT_EQ(opt.set.ignore_sem, 1);
    EXPECT_EQ(opt.set.merge, 1);
    EXPECT_EQ(opt.set.sig_export, 1);
    EXPECT_STREQ(opt.sig_export_name, "s");
    EXPECT_EQ(opt.dump.tlv, 1);
    EXPECT_EQ(opt.set.pdd_namespace, 3);
    EXPECT_EQ(opt.set.description, 0);
    EXPECT_EQ(opt.set.pdb_in, 0);
    EXPECT_EQ(opt.set.remove, 0);
}

TEST(compiler_options, a_list_of_pdbs_and_a_removal)
{
    const pdata_compiler_opt_t opt =
        parsed({"--pdb-in", "a;b", "--description", "--delete", "512", "--pdb-out", "o"});
    EXPECT_EQ(opt.set.pdb_in, 1);
    EXPECT_STREQ(opt.pdb_filename_list, "a;b");
    EXPECT_EQ(opt.set.remove, 1);
    EXPECT_EQ(opt.proto_id, 512U);
    EXPECT_EQ(opt.set.description, 1);
    EXPECT_EQ(opt.set.pdd, 0);
    EXPECT_EQ(opt.set.pdd_namespace, 0);
}

TEST(compiler_options, the_record_is_cleared_before_every_parse)
{
    pdata_compiler_opt_t opt;
    ASSERT_EQ(parse(valid({"--merge", "--dump", "limit", "--delete", "5"}), &opt),
              PDATA_ERR_INVALID_OPERATION);
    ASSERT_EQ(parse(valid(), &opt), PDATA_SUCCESS);
    EXPECT_EQ(opt.set.merge, 0);
    EXPECT_EQ(opt.set.remove, 0);
    EXPECT_EQ(opt.proto_id, 0U);
    EXPECT_EQ(opt.dump.limit, 0);
    EXPECT_STREQ(opt.cfg_path, "");
}

TEST(compiler_options, a_text_is_cut_to_its_buffer)
{
    for (const size_t len : {254U, 255U, 256U, 300U, 5000U}) {
        const std::string text(len, 'x');
        const std::string cut = text.substr(0, 255);
        const pdata_compiler_opt_t opt =
            parsed({"--pdd", text, "--loadable", "--pdb-out", text, "--cfg-name", text,
                    "--cfg-path", text, "--sig-export", text});
        EXPECT_EQ(opt.pdd_filename, cut) << len;
        EXPECT_EQ(opt.pdb_filename_out, cut) << len;
        EXPECT_EQ(opt.cfg_name, cut) << len;
        EXPECT_EQ(opt.cfg_path, cut) << len;
        EXPECT_EQ(opt.sig_export_name, cut) << len;
    }
}

TEST(compiler_options, a_list_is_cut_at_511_bytes)
{
    for (const size_t len : {510U, 511U, 512U, 600U}) {
        const std::string text(len, 'x');
        const pdata_compiler_opt_t opt = parsed({"--pdb-in", text, "--loadable", "--pdb-out", "o"});
        EXPECT_EQ(opt.pdb_filename_list, text.substr(0, 511)) << len;
    }
}

TEST(compiler_options, directives_in_a_text_are_copied_as_they_are)
{
    EXPECT_STREQ(parsed(valid({"--cfg-path", "%s%n%d"})).cfg_path, "%s%n%d");
}

TEST(compiler_options, numbers_are_read_as_atoi_reads_them)
{
    const struct {
        const char *text;
        int32_t number;
    } rows[] = {
        {"3", 3},
        {"0", 0},
        {"abc", 0},
        {"12abc", 12},
        {" 7", 7},
        {"-1", -1},
        {"+5", 5},
        {"", 0},
        {"0x10", 0},
        {"4294967296", 0},
        {"4294967295", -1},
        {"2147483647", INT_MAX},
        {"1 2", 1},
        // Numbers of 64 bits are cut to 32; beyond those is the last of them.
        {"-3000000000", 1294967296},
        {"99999999999999999999", -1},
        {"-99999999999999999999", 0},
    };
    for (const auto &row : rows) {
        const pdata_compiler_opt_t opt =
            parsed(valid({"--delete", row.text, "--pdd-namespace", row.text}));
        EXPECT_EQ(opt.set.pdd_namespace, row.number) << row.text;
        EXPECT_EQ(opt.proto_id, static_cast<uint32_t>(row.number)) << row.text;
        EXPECT_EQ(opt.set.remove, 1) << row.text;
    }
}

TEST(compiler_options, three_options_refuse_to_be_repeated)
{
    for (const char *option : {"--pdd", "--pdb-in", "--pdb-out"}) {
        pdata_compiler_opt_t opt;
        clear_status_slot();
        const std::string printed = stdout_of([&] {
            EXPECT_EQ(outcome(parse({option, "a", option, "a"}, &opt)), OUTCOME_INVALID_OPERATION);
        });
        EXPECT_EQ(printed, stdout_of([] { usage("compiler"); })) << option;
    }
}

TEST(compiler_options, of_the_others_the_last_one_wins)
{
    const pdata_compiler_opt_t opt = parsed(valid({"--cfg-path",      "a",
                                                   "--cfg-path",      "b",
                                                   "--cfg-name",      "a",
                                                   "--cfg-name",      "b",
                                                   "--sig-export",    "a",
                                                   "--sig-export",    "b",
                                                   "--delete",        "1",
                                                   "--delete",        "2",
                                                   "--pdd-namespace", "1",
                                                   "--pdd-namespace", "2",
                                                   "--description",   "--ignore-sem",
                                                   "--ignore-sem"}));
    EXPECT_STREQ(opt.cfg_path, "b");
    EXPECT_STREQ(opt.cfg_name, "b");
    EXPECT_STREQ(opt.sig_export_name, "b");
    EXPECT_EQ(opt.proto_id, 2U);
    EXPECT_EQ(opt.set.pdd_namespace, 2);
    EXPECT_EQ(opt.set.description, 1);
    EXPECT_EQ(opt.set.ignore_sem, 1);
}

TEST(compiler_options, words_that_are_no_options_are_ignored)
{
    const pdata_compiler_opt_t opt = parsed(
        {"a", "--pdd=in", "b", "--desc", "--pdb-out", "o", "c", "--", "--merge", "--loadable"});
    EXPECT_STREQ(opt.pdd_filename, "in");
    EXPECT_EQ(opt.set.description, 1);
    EXPECT_EQ(opt.set.merge, 0);
    EXPECT_EQ(opt.set.loadable, 0);
}

TEST(compiler_options, a_refused_command_line_prints_the_help_and_records_nothing)
{
    pdata_compiler_opt_t opt;
    for (const words &arguments :
         {words{}, words{"--pdd", "a", "--pdb-in", "b", "--loadable", "--pdb-out", "o"}}) {
        clear_status_slot();
        const std::string printed = stdout_of(
            [&] { EXPECT_EQ(outcome(parse(arguments, &opt)), OUTCOME_INVALID_OPERATION); });
        EXPECT_EQ(printed, stdout_of([] { usage("compiler"); }));
    }
}

TEST(compiler_options, the_help_and_the_list_of_dumps_end_the_process)
{
    pdata_compiler_opt_t opt;
    EXPECT_EXIT((void)parse({"--help"}, &opt), testing::ExitedWithCode(0), "");
    EXPECT_EXIT((void)parse({"--dump-list"}, &opt), testing::ExitedWithCode(0), "");
    EXPECT_EXIT((void)parse({"--pdd", "a", "--help", "--pdd", "b"}, &opt),
                testing::ExitedWithCode(0), "");
}

TEST(compiler_options, an_unknown_option_or_a_missing_argument_ends_the_process_with_1)
{
    pdata_compiler_opt_t opt;
    EXPECT_EXIT((void)parse({"--nonsense"}, &opt), testing::ExitedWithCode(1), "nonsense");
    EXPECT_EXIT((void)parse({"-p"}, &opt), testing::ExitedWithCode(1), "");
    EXPECT_EXIT((void)parse({"--description", "--pdb-out"}, &opt), testing::ExitedWithCode(1),
                "requires an argument");
}

TEST(compiler_options, what_goes_together)
{
    for (unsigned bits = 0; bits < 128; ++bits) {
        pdata_compiler_opt_t opt = {};
        opt.set.pdd = bits & 1;
        opt.set.pdb_in = bits >> 1 & 1;
        opt.set.loadable = bits >> 2 & 1;
        opt.set.description = bits >> 3 & 1;
        opt.set.merge = bits >> 4 & 1;
        opt.set.remove = bits >> 5 & 1;
        opt.set.pdb_out = bits >> 6 & 1;
        const bool one_input = (bits & 3) == 1 || (bits & 3) == 2;
        const bool one_form = (bits & 12) == 4 || (bits & 12) == 8;
        const bool one_change = (bits & 48) != 48;
        const bool good = one_input && one_form && one_change && (bits & 64) != 0;
        EXPECT_EQ(pdata_compiler_parse_mandatory_opt(opt),
                  good ? PDATA_SUCCESS : PDATA_ERR_INVALID_OPERATION)
            << bits;
    }
}

TEST(compiler_dump, names_set_their_flags)
{
    const struct {
        const char *name;
        uint8_t csa_dump_t::*flag;
    } rows[] = {
        {"limit", &csa_dump_t::limit},
        {"tlv", &csa_dump_t::tlv},
        {"digraph", &csa_dump_t::digraph},
        {"graph_info", &csa_dump_t::graph_info},
    };
    for (const auto &row : rows) {
        csa_dump_t dump;
        EXPECT_EQ(pdata_compiler_set_dump(&dump, row.name), PDATA_SUCCESS);
        EXPECT_EQ(dump.limit + dump.tlv + dump.digraph + dump.graph_info, 1) << row.name;
        EXPECT_EQ(dump.*row.flag, 1) << row.name;
        EXPECT_TRUE(dump.proto_name.empty() && dump.attr_name.empty() && dump.way.empty());
        const csa_dump_opt_t *found = pdata_dump_find_opt(row.name);
        ASSERT_NE(found, nullptr);
        EXPECT_STREQ(found->name, row.name);
    }
}

TEST(compiler_dump, flags_accumulate)
{
    const pdata_compiler_opt_t opt = parsed(valid({"--dump", "limit", "--dump", "tlv"}));
    EXPECT_EQ(opt.dump.limit, 1);
    EXPECT_EQ(opt.dump.tlv, 1);
    EXPECT_EQ(opt.dump.digraph, 0);
    EXPECT_EQ(opt.dump.graph_info, 0);
}

TEST(compiler_dump, names_are_compared_exactly)
{
    csa_dump_t dump;
    for (const char *name : {"LIMIT", "limi", "limits", "", " tlv"}) {
        clear_status_slot();
        EXPECT_EQ(outcome(pdata_compiler_set_dump(&dump, name)),
                  OUTCOME_INVALID_ARGUMENT ": pdata_compiler: Invalid dump option [" +
                      std::string(name) + "].");
        EXPECT_EQ(pdata_dump_find_opt(name), nullptr);
    }
    EXPECT_EQ(dump.limit + dump.tlv + dump.digraph + dump.graph_info, 0);
}

TEST(compiler_dump, an_unknown_name_ends_the_parse_without_the_help)
{
    pdata_compiler_opt_t opt;
    clear_status_slot();
    const std::string printed = stdout_of([&] {
        EXPECT_EQ(outcome(parse({"--pdd", "a", "--dump", "LIMIT", "--pdd", "b"}, &opt)),
                  OUTCOME_INVALID_ARGUMENT ": pdata_compiler: Invalid dump option [LIMIT].");
    });
    EXPECT_EQ(printed, "");
    EXPECT_EQ(opt.set.pdd, 1);
}

TEST(compiler_dump, the_list_is_in_the_order_of_the_table)
{
    EXPECT_EQ(stdout_of(pdata_compiler_dump_opt_list),
              "Available dump option:\n\t* limit\n\t* tlv\n\t* digraph\n\t* graph_info\n");
}

TEST(compiler_usage, names_the_program_wherever_it_stands)
{
    const std::string text = stdout_of([] { usage("./some/compiler"); });
    EXPECT_EQ(text.find("\n\033[1mUsage: ./some/compiler \033[0m\n\n"), 0U);
    EXPECT_NE(text.find("\t\t./some/compiler --pdb-in 'in.pdb' --delete 512 --loadable --pdb-out "
                        "out.pdb --cfg-path cfg-name --ignore-sem cfg-path\n\n"),
              std::string::npos);
    EXPECT_NE(text.find("\t\t./some/compiler --pdb-in 'in1.pdb;in2.pdb;' --merge --loadable "
                        "--pdb-out out.pdb --cfg-path cfg-name --ignore-sem cfg-path\n\n"),
              std::string::npos);
}

// Three entries print the name of one option beside the text of another.
TEST(compiler_usage, three_entries_are_crossed)
{
    const std::string text = stdout_of([] { usage("compiler"); });
    for (const char *entry :
         {"\t\033[1m--ignore-sem <cfg-path>\033[0m\n\t\t Pass the path of the configuration "
          "files\n\n",
          "\t\033[1m--cfg-path <cfg>\033[0m\n\t\t Pass the configuration name.\n\n",
          "\t\033[1m--cfg-name \033[0m\n\t\t Ignore the check of the json semantic\n\n",
          "\t\033[1m--sig-export <name>\033[0m\n\t\t \n\n"})
        EXPECT_NE(text.find(entry), std::string::npos) << entry;
}

TEST(compiler_options, a_program_without_a_name_is_refused_like_one_without_options)
{
    pdata_compiler_opt_t opt;
    char *argv[] = {nullptr};
    clear_status_slot();
    const std::string printed = stdout_of([&] {
        EXPECT_EQ(outcome(pdata_compiler_parse_opt(0, argv, &opt)), OUTCOME_INVALID_OPERATION);
    });
    EXPECT_NE(printed.find("Usage: "), std::string::npos);
}

} // namespace
