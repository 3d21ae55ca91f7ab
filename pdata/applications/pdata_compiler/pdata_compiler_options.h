/// The command line: fifteen long options, no short ones.
#pragma once

#include <getopt.h>

#include <cstdint>

#include "csa_dump.h"
#include "pdata_error.h"

/// Which options were given: 1, or 0. The namespace is the number itself.
struct opt_set_t {
    int32_t ignore_sem;
    int32_t cfg_path;
    int32_t cfg_name;
    int32_t pdd;
    int32_t pdb_in;
    int32_t loadable;
    int32_t description;
    int32_t merge;
    int32_t remove;
    int32_t pdb_out;
    int32_t sig_export;
    int32_t pdd_namespace;
};

/// The parsed command line. A text argument is cut to its buffer less the terminator, which is said
/// on standard error.
struct pdata_compiler_opt_t {
    opt_set_t set;
    char cfg_path[256];
    char cfg_name[256];
    char pdd_filename[256];
    char pdb_filename_list[512];
    char pdb_filename_out[256];
    char sig_export_name[256];
    uint32_t proto_id; ///< of --delete
    csa_dump_t dump;
};

/// A dump option: its name and what it switches on.
struct csa_dump_opt_t {
    const char *name; ///< null in the last row
    void (*csa_dump_set_opt)(csa_dump_t *dump);
};

/// Parses the command line into `opt`. Ends the process itself for --help and --dump-list (0) and
/// for an unknown option or a missing argument (1). Words that are no options are ignored.
/// Oddities O12 and O13.
///
/// Returns PDATA_ERR_INVALID_ARGUMENT, with a message, for an unknown dump name, and
/// PDATA_ERR_INVALID_OPERATION, after the usage, for options that do not go together or repeat.
[[nodiscard]] pdata_status_t pdata_compiler_parse_opt(int argc, char **argv,
                                                      pdata_compiler_opt_t *opt);

/// Checks which options go together. Returns PDATA_ERR_INVALID_OPERATION, without a message, when
/// they do not. Oddity O14.
[[nodiscard]] pdata_status_t pdata_compiler_parse_mandatory_opt(const pdata_compiler_opt_t &opt);

/// Switches a dump on by its exact name, and says on standard error that none has an effect.
/// Oddity O10. An unknown one is PDATA_ERR_INVALID_ARGUMENT with a message.
[[nodiscard]] pdata_status_t pdata_compiler_set_dump(csa_dump_t *dump, const char *name);

/// Returns the row of a dump name, or null.
const csa_dump_opt_t *pdata_dump_find_opt(const char *name);

/// Prints the names of the dumps on standard output.
void pdata_compiler_dump_opt_list();

/// Returns the options that are parsed, ended by a row without a name.
const option *pdata_compiler_option_table();

/// Prints the help on standard output.
void usage(const char *progname);
