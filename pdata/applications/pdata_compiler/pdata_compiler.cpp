#include "pdata_compiler.h"

#include <cstdio>
#include <iterator>
#include <memory>
#include <utility>

#include "pdata_cfg.h"
#include "pdata_compile.h"
#include "pdata_compiler_files.h"
#include "pdata_compiler_options.h"
#include "pdata_compiler_sources.h"
#include "pdata_merge.h"
#include "pdata_remove.h"
#include "pdata_serialize.h"
#include "pdata_sig_export.h"
#include "pdb_version.h"

namespace
{

/// The run's working record.
struct pdata_compiler_t {
    pdata_compiler_opt_t opt{};
    pdb_list_t pdb;      ///< the output pdb
    pdd_t pdd;           ///< the description
    pdb_t pdb_loadable;  ///< the compiled output
    pdb_in_list_t input; ///< the input pdbs
    std::unique_ptr<pdata_sig_export_t> sig_export;
    pdata_cfg_t *cfg = nullptr;
    uint32_t network_endian = 1; ///< 0: the words of an input pdb are in host order
    bool ended = false;          ///< the run ends at once, without clean-up and status line
};

void pdata_compiler_init(pdata_compiler_t *run)
{
    pdb_header_end(&run->pdb[0]);
    pdata_pdb_version_set(PDB_VERSION);
}

/// One of the three immediate ends. Oddity O17.
pdata_status_t end_at_once(pdata_compiler_t &run, const char *message)
{
    std::fputs(message, stderr);
    run.ended = true;
    return PDATA_ERR_IO;
}

pdata_status_t load_configuration(pdata_compiler_t &run)
{
    const opt_set_t &set = run.opt.set;
    if (set.cfg_path) {
        run.cfg = pdata_cfg_load_from_file(set.cfg_name ? run.opt.cfg_name : nullptr,
                                           run.opt.cfg_path, pdata_compiler_read);
        if (run.cfg == nullptr)
            return end_at_once(run, "load configuration failed.\n");
    }
    if (run.cfg == nullptr)
        return end_at_once(run, "Configuration for pdata_compiler is mandatory.\n");
    run.cfg->ignore_sem = set.ignore_sem ? 1 : 0;
    return PDATA_SUCCESS;
}

pdata_status_t generate_sources(const pdata_cfg_t *cfg)
{
    generated_sources_t sources;
    PDATA_TRY(pdata_compiler_psa(cfg, sources));
    return pdata_compiler_ipbt(cfg, sources);
}

/// What a description becomes: a merge or a removal means nothing here, and the sources are in
/// place before the description is read. Oddities O15 and O29.
pdata_status_t description_flow(pdata_compiler_t &run)
{
    PDATA_TRY(load_configuration(run));
    PDATA_TRY(generate_sources(run.cfg));
    PDATA_TRY(pdata_compiler_init_pdd(&run.pdd, run.opt.pdd_filename, run.opt.set.pdd_namespace));
    return pdata_serialize(&run.pdd, &run.pdb, run.cfg, nullptr, PDATA_TYPE_PROTOCOL);
}

/// What the input pdbs become, as the first part of the output: nothing, unless it is merged, has
/// rules removed, or is to be loadable. Oddity O16.
pdata_status_t pdb_list_flow(pdata_compiler_t &run)
{
    const opt_set_t &set = run.opt.set;
    PDATA_TRY(
        pdata_compiler_fill_pdb_list(run.opt.pdb_filename_list, &run.input, &run.network_endian));
    const size_t nr_input = run.input.size();
    if (set.merge) {
        if (nr_input < 2)
            return PDATA_ERR_INVALID_OPERATION;
        if (nr_input > 2)
            std::fprintf(stderr, "pdata_compiler: --merge merges the first 2 of %zu pdbs\n",
                         nr_input);
        const pdb_list_t *pdb_in[] = {&run.input.front().pdb, &std::next(run.input.begin())->pdb};
        const pdata_status_t merged = pdata_merge(pdb_in, &run.pdb[0]);
        if (merged != PDATA_SUCCESS)
            return merged;
    } else if (set.remove) {
        if (nr_input == 0)
            return PDATA_ERR_INVALID_OPERATION;
        const pdata_status_t removed =
            pdata_remove(run.input.front().pdb, run.opt.proto_id, &run.pdb[0]);
        if (removed != PDATA_SUCCESS)
            return removed;
    } else if (set.loadable) {
        if (nr_input != 1)
            return PDATA_ERR_INVALID_OPERATION;
        pdb_header_memcpy(&run.pdb[0], run.input.front().pdb[0]);
    }
    pdb_header_end(&run.pdb[1]);
    return PDATA_SUCCESS;
}

/// Puts the other parts of the input behind the first part of the output, and a load state.
pdata_status_t complete_from_input(pdata_compiler_t &run)
{
    const pdb_list_t *source =
        run.opt.set.merge ? pdata_parts_source(run.input) : &run.input.front().pdb;
    if (source == nullptr)
        return end_at_once(run, "You need at least one pdb with TLV_TYPE_ROOT_STRING in merge "
                                "operation.\n");
    return pdata_parts_complete(*source, run.pdb);
}

pdata_status_t write_output(pdata_compiler_t &run)
{
    if (!run.opt.set.loadable)
        return pdata_compiler_write_pdb(run.pdb, run.opt.pdb_filename_out);
    if (run.opt.set.pdb_in)
        PDATA_TRY(complete_from_input(run));
    PDATA_TRY(pdata_compile(&run.pdb, &run.pdb_loadable, run.sig_export.get(), run.opt.dump,
                            run.network_endian));
    return pdata_compiler_write_pdb_loadable(run.pdb_loadable, run.opt.pdb_filename_out);
}

/// Everything between the start and the final step.
pdata_status_t run_flows(pdata_compiler_t &run, int argc, char **argv)
{
    PDATA_TRY(pdata_compiler_parse_opt(argc, argv, &run.opt));
    if (run.opt.set.sig_export) {
        run.sig_export = pdata_sig_export_init(run.opt.sig_export_name);
        if (run.sig_export == nullptr)
            return PDATA_ERR_SIG_EXPORT;
    }
    PDATA_TRY(run.opt.set.pdd ? description_flow(run) : pdb_list_flow(run));
    return write_output(run);
}

/// Lets the export write what it has. A run that has failed before keeps its status and message.
pdata_status_t release_export(pdata_compiler_t &run, pdata_status_t status)
{
    char msg[PDATA_MSG_SIZE + 1];
    std::snprintf(msg, sizeof(msg), "%s", pdata_status_msg_get());
    const pdata_status_t exported =
        pdata_guard([&] { return pdata_sig_export_clean(std::move(run.sig_export)); });
    if (status == PDATA_SUCCESS)
        return exported;
    pdata_status_msg_set(msg);
    return status;
}

/// Frees what the run holds, and says what it came to.
pdata_status_t final_step(pdata_compiler_t &run, pdata_status_t status)
{
    if (run.cfg != nullptr)
        pdata_cfg_unload(run.cfg);
    pdata_compiler_clean_pdb(&run.input, &run.pdb);
    status = release_export(run, status);
    if (status != PDATA_SUCCESS)
        std::printf("(%u:%s)\n%s\n", status, pdata_status_code2str(status), pdata_status_msg_get());
    return status;
}

} // namespace

int pdata_compiler_main(int argc, char **argv)
{
    pdata_compiler_t run;
    pdata_compiler_init(&run);
    const pdata_status_t status = pdata_guard([&] { return run_flows(run, argc, argv); });
    return static_cast<int>(run.ended ? status : final_step(run, status));
}
