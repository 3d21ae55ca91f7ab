#include "pdata_compiler_options.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

/// Rows of the option table, which are the values that the option parser reports.
enum option_row_t : int {
    OPTION_PDD,
    OPTION_LOADABLE,
    OPTION_DESCRIPTION,
    OPTION_PDB_IN,
    OPTION_PDB_OUT,
    OPTION_CFG_NAME,
    OPTION_CFG_PATH,
    OPTION_IGNORE_SEM,
    OPTION_MERGE,
    OPTION_DELETE,
    OPTION_SIG_EXPORT,
    OPTION_DUMP,
    OPTION_DUMP_LIST,
    OPTION_PDD_NAMESPACE,
    OPTION_HELP,
};

constexpr option options[] = {
    {"pdd", required_argument, nullptr, OPTION_PDD},
    {"loadable", no_argument, nullptr, OPTION_LOADABLE},
    {"description", no_argument, nullptr, OPTION_DESCRIPTION},
    {"pdb-in", required_argument, nullptr, OPTION_PDB_IN},
    {"pdb-out", required_argument, nullptr, OPTION_PDB_OUT},
    {"cfg-name", required_argument, nullptr, OPTION_CFG_NAME},
    {"cfg-path", required_argument, nullptr, OPTION_CFG_PATH},
    {"ignore-sem", no_argument, nullptr, OPTION_IGNORE_SEM},
    {"merge", no_argument, nullptr, OPTION_MERGE},
    {"delete", required_argument, nullptr, OPTION_DELETE},
    {"sig-export", required_argument, nullptr, OPTION_SIG_EXPORT},
    {"dump", required_argument, nullptr, OPTION_DUMP},
    {"dump-list", no_argument, nullptr, OPTION_DUMP_LIST},
    {"pdd-namespace", required_argument, nullptr, OPTION_PDD_NAMESPACE},
    {"help", no_argument, nullptr, OPTION_HELP},
    {nullptr, 0, nullptr, 0},
};

/// One entry of the help: the row that names the option, and the text that the name goes into.
struct usage_row {
    option_row_t row;
    const char *text;
};

// The names of three entries stand beside the texts of others. Oddities O1 and O4.
constexpr usage_row usage_rows[] = {
    {OPTION_PDD, "\t\033[1m--%s <file.pdd>\033[0m\n\t\t Pass a json description of a protocol\n\n"},
    {OPTION_LOADABLE, "\t\033[1m--%s \033[0m\n\t\t Addition of graph to the resulting pdb\n\n"},
    {OPTION_DESCRIPTION, "\t\033[1m--%s \033[0m\n\t\t To not add graph to the resulting pdb\n\n"},
    {OPTION_PDB_IN, "\t\033[1m--%s <'file1.pdb;file2.pdb;'>\033[0m\n\t\t Pass pdb files separated "
                    "by a ;\n\n"},
    {OPTION_IGNORE_SEM,
     "\t\033[1m--%s <cfg-path>\033[0m\n\t\t Pass the path of the configuration files\n\n"},
    {OPTION_CFG_PATH, "\t\033[1m--%s <cfg>\033[0m\n\t\t Pass the configuration name.\n\n"},
    {OPTION_CFG_NAME, "\t\033[1m--%s \033[0m\n\t\t Ignore the check of the json semantic\n\n"},
    {OPTION_PDB_OUT, "\t\033[1m--%s <out_pdb>\033[0m\n\t\t Pass the name of the resulting pdb\n\n"},
    {OPTION_MERGE, "\t\033[1m--%s \033[0m\n\t\t Merge pdb files into one pdb\n\n"},
    {OPTION_DELETE, "\t\033[1m--%s <protoid>\033[0m\n\t\t Delete rules for a specifier protocol "
                    "identifier\n\n"},
    {OPTION_SIG_EXPORT, "\t\033[1m--%s <name>\033[0m\n\t\t \n\n"},
    {OPTION_DUMP, "\t\033[1m--%s <name>\033[0m\n\t\t Dump the specified name functionnality\n\n"},
    {OPTION_DUMP_LIST,
     "\t\033[1m--%s \033[0m\n\t\t Dump the list of available functionnalities\n\n"},
    {OPTION_PDD_NAMESPACE, "\t\033[1m--%s <namespace id>\033[0m\n\t\t Specify the namespace where "
                           "the .pdd file must be loaded\n\n"},
    {OPTION_HELP, "\t\033[1m--%s \033[0m\n\t\t This help\n\n"},
};

void pdata_dump_set_limit(csa_dump_t *dump)
{
    dump->limit = 1;
}

void pdata_dump_set_tlv(csa_dump_t *dump)
{
    dump->tlv = 1;
}

void pdata_dump_set_digraph(csa_dump_t *dump)
{
    dump->digraph = 1;
}

void pdata_dump_set_graph_info(csa_dump_t *dump)
{
    dump->graph_info = 1;
}

constexpr csa_dump_opt_t dump_opt_available[] = {
    {"limit", pdata_dump_set_limit},
    {"tlv", pdata_dump_set_tlv},
    {"digraph", pdata_dump_set_digraph},
    {"graph_info", pdata_dump_set_graph_info},
    {nullptr, nullptr},
};

/// Copies the argument of an option, and says so when it does not fit. Oddity O5.
template <size_t Size>
void copy_text(option_row_t row, char (&buffer)[Size], const char *text)
{
    if (static_cast<size_t>(std::snprintf(buffer, Size, "%s", text)) >= Size)
        std::fprintf(stderr, "pdata_compiler: the argument of --%s is cut to %zu bytes\n",
                     options[row].name, Size - 1);
}

/// Takes an option that may be given once. Returns false when it is there already. Oddity O11.
template <size_t Size>
bool take_once(option_row_t row, int32_t *set, char (&buffer)[Size], const char *text)
{
    if (*set)
        return false;
    copy_text(row, buffer, text);
    *set = 1;
    return true;
}

/// A number as atoi reads it, without its undefined overflow. Oddity O7.
int read_number(const char *text)
{
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

/// The id of a protocol, as read_number reads it. Says so when the text is no such number.
uint32_t read_proto_id(const char *text)
{
    const auto proto_id = static_cast<uint32_t>(read_number(text));
    char *end;
    errno = 0;
    const long number = std::strtol(text, &end, 10);
    const bool fits = errno == 0 && number >= INT32_MIN && number <= int64_t{UINT32_MAX};
    if (!fits || end == text || *end != '\0')
        std::fprintf(stderr, "pdata_compiler: --delete %s is taken for protocol %u\n", text,
                     proto_id);
    return proto_id;
}

[[noreturn]] void end_process(int code)
{
    std::fflush(stdout);
    std::exit(code);
}

pdata_status_t refuse(const char *progname)
{
    usage(progname);
    return PDATA_ERR_INVALID_OPERATION;
}

/// Takes one option. Returns PDATA_ERR_INVALID_OPERATION for a repetition.
pdata_status_t take_option(int row, const char *argument, const char *progname,
                           pdata_compiler_opt_t *opt)
{
    bool taken = true;
    switch (row) {
    case OPTION_PDD:
        taken = take_once(OPTION_PDD, &opt->set.pdd, opt->pdd_filename, argument);
        break;
    case OPTION_LOADABLE:
        opt->set.loadable = 1;
        break;
    case OPTION_DESCRIPTION:
        opt->set.description = 1;
        break;
    case OPTION_PDB_IN:
        taken = take_once(OPTION_PDB_IN, &opt->set.pdb_in, opt->pdb_filename_list, argument);
        break;
    case OPTION_PDB_OUT:
        taken = take_once(OPTION_PDB_OUT, &opt->set.pdb_out, opt->pdb_filename_out, argument);
        break;
    case OPTION_CFG_NAME:
        opt->set.cfg_name = 1;
        copy_text(OPTION_CFG_NAME, opt->cfg_name, argument);
        break;
    case OPTION_CFG_PATH:
        opt->set.cfg_path = 1;
        copy_text(OPTION_CFG_PATH, opt->cfg_path, argument);
        break;
    case OPTION_IGNORE_SEM:
        opt->set.ignore_sem = 1;
        break;
    case OPTION_MERGE:
        opt->set.merge = 1;
        break;
    case OPTION_DELETE:
        opt->set.remove = 1;
        opt->proto_id = read_proto_id(argument);
        break;
    case OPTION_SIG_EXPORT:
        copy_text(OPTION_SIG_EXPORT, opt->sig_export_name, argument);
        opt->set.sig_export = 1;
        break;
    case OPTION_DUMP:
        return pdata_compiler_set_dump(&opt->dump, argument);
    case OPTION_DUMP_LIST:
        pdata_compiler_dump_opt_list();
        end_process(0);
    case OPTION_PDD_NAMESPACE:
        opt->set.pdd_namespace = read_number(argument);
        break;
    case OPTION_HELP:
        usage(progname);
        end_process(0);
    default: // an unknown option, or one without its argument
        usage(progname);
        end_process(1);
    }
    return taken ? PDATA_SUCCESS : PDATA_ERR_INVALID_OPERATION;
}

} // namespace

pdata_status_t pdata_compiler_parse_opt(int argc, char **argv, pdata_compiler_opt_t *opt)
{
    *opt = {};
    const char *progname = argc > 0 ? argv[0] : "";
    optind = 0; // start over, whatever was parsed before
    for (int row; (row = getopt_long(argc, argv, "", options, nullptr)) != -1;) {
        const pdata_status_t status = take_option(row, optarg, progname, opt);
        if (status == PDATA_ERR_INVALID_OPERATION)
            return refuse(progname);
        PDATA_TRY(status);
    }
    if (pdata_compiler_parse_mandatory_opt(*opt) != PDATA_SUCCESS)
        return refuse(progname);
    return PDATA_SUCCESS;
}

pdata_status_t pdata_compiler_parse_mandatory_opt(const pdata_compiler_opt_t &opt)
{
    if (opt.set.pdd == opt.set.pdb_in)
        return PDATA_ERR_INVALID_OPERATION;
    if (opt.set.loadable == opt.set.description)
        return PDATA_ERR_INVALID_OPERATION;
    if (opt.set.merge && opt.set.remove)
        return PDATA_ERR_INVALID_OPERATION;
    if (!opt.set.pdb_out)
        return PDATA_ERR_INVALID_OPERATION;
    return PDATA_SUCCESS;
}

pdata_status_t pdata_compiler_set_dump(csa_dump_t *dump, const char *name)
{
    const csa_dump_opt_t *row = pdata_dump_find_opt(name);
    if (row == nullptr)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "pdata_compiler: Invalid dump option [%s].",
                          name);
    row->csa_dump_set_opt(dump);
    std::fprintf(stderr, "pdata_compiler: --dump %s has no effect\n", name);
    return PDATA_SUCCESS;
}

const csa_dump_opt_t *pdata_dump_find_opt(const char *name)
{
    for (const csa_dump_opt_t *row = dump_opt_available; row->name != nullptr; ++row)
        if (std::strcmp(row->name, name) == 0)
            return row;
    return nullptr;
}

void pdata_compiler_dump_opt_list()
{
    std::printf("Available dump option:\n");
    for (const csa_dump_opt_t *row = dump_opt_available; row->name != nullptr; ++row)
        std::printf("\t* %s\n", row->name);
}

const option *pdata_compiler_option_table()
{
    return options;
}

void usage(const char *progname)
{
    std::printf("\n\033[1mUsage: %s \033[0m\n\n", progname);
    for (const usage_row &row : usage_rows)
        std::printf(row.text, options[row.row].name);
    // Oddities O2 and O3.
    std::printf("\n\033[1mExamples:\033[0m\n\n");
    std::printf("\t\033[1mDelete rules for the protocol identifier 512 and add graph\033[0m\n"
                "\t\t%s --%s 'in.pdb' --%s 512 --%s --%s out.pdb --%s cfg-name --%s cfg-path\n\n",
                progname, options[OPTION_PDB_IN].name, options[OPTION_DELETE].name,
                options[OPTION_LOADABLE].name, options[OPTION_PDB_OUT].name,
                options[OPTION_CFG_PATH].name, options[OPTION_IGNORE_SEM].name);
    std::printf("\t\033[1mMerge two pdb files into one and add graph support\033[0m\n"
                "\t\t%s --%s 'in1.pdb;in2.pdb;' --%s --%s --%s out.pdb --%s cfg-name --%s "
                "cfg-path\n\n",
                progname, options[OPTION_PDB_IN].name, options[OPTION_MERGE].name,
                options[OPTION_LOADABLE].name, options[OPTION_PDB_OUT].name,
                options[OPTION_CFG_PATH].name, options[OPTION_IGNORE_SEM].name);
    std::printf("\t\033[1mTypical usage (from root dir):\033[0m\n"
                "\t\tPDB_OUT=foo.pdb PDD_IN=libtvprotocols/protocols_signature_list.pdd ; "
                "./libtvprotocols/pdata/bin/pdata_compiler --%s $PDD_IN --%s $PDB_OUT --%s --%s "
                "cfg-name --%s cfg-path\n",
                options[OPTION_PDD].name, options[OPTION_PDB_OUT].name,
                options[OPTION_LOADABLE].name, options[OPTION_CFG_PATH].name,
                options[OPTION_IGNORE_SEM].name);
}
