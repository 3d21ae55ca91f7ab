/// The pdb builder on its own, as tests run it: with limits and logs of their choice.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "loadable_fixture.h"

/// The limits of every compile.
constexpr pdb_params_t PARAMS = {32, 32768, 16, 2, 4};

/// A log that is kept in memory.
struct memory_log_t {
    char *text = nullptr;
    size_t size = 0;
    std::FILE *file = open_memstream(&text, &size);

    memory_log_t() = default;
    ~memory_log_t()
    {
        std::fclose(file);
        std::free(text);
    }
    memory_log_t(const memory_log_t &) = delete;
    memory_log_t &operator=(const memory_log_t &) = delete;

    std::string str()
    {
        std::fflush(file);
        return {text, size};
    }
};

/// One run of the builder over a pdb.
struct builder_run_t {
    pdb_list_t list;
    pdb_context_t context;
    std::string diagnostics;

    explicit builder_run_t(const pdb_list_t &pdb, const pdb_params_t &params = PARAMS) : list(pdb)
    {
        clear_status_slot();
        pdata_pdb_version_set("1.540.1-24");
        EXPECT_EQ(outcome(pdb_builder_init(&context, &params)), "0");
        context.pdb = list;
    }
    explicit builder_run_t(const pdb_model &model) : builder_run_t(make_pdb(model)) {}
    ~builder_run_t() { pdb_builder_clean(&context); }
    builder_run_t(const builder_run_t &) = delete;
    builder_run_t &operator=(const builder_run_t &) = delete;

    std::string serialize(pdata_sig_export_t *sig_export = nullptr, uint32_t network_endian = 1)
    {
        std::string text;
        diagnostics = mask_lines(stderr_of([&] {
            text = outcome(pdb_builder_serialize(&context, {}, sig_export, network_endian));
        }));
        return text;
    }
    const pdb_build_tlv_t &sections() const { return context.pdb_build.pdb_build_tlv; }
};

/// What the table of matchers or that of rules prints.
inline std::string printed(const pdb_matcher_tab_t &table)
{
    memory_log_t log;
    pdb_matcher_tab_print(table, log.file);
    return log.str();
}
inline std::string printed(const pdb_rule_tab_t &table)
{
    memory_log_t log;
    pdb_rule_tab_print(table, log.file);
    return log.str();
}

/// A diagnostic line of an error as mask_lines leaves it.
inline std::string error_line(std::string_view function, std::string_view message)
{
    std::string line = "[ERROR  ][#][";
    line += function;
    line += "] ";
    line += message;
    return line;
}
