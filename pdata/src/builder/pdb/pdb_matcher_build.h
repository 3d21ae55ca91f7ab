/// The matcher pass: every list of the matcher table becomes a serialized matcher.
///
/// The section that it leaves, big-endian, lengths in words: a header of root type 4 and one of
/// the list of matchers; per matcher a record with a meta record (offset of the protocol's name,
/// offset of the attribute's name, direction) and a data record (matcher_builder.h); the string
/// table of those names.
#pragma once

#include "csa_dump.h"
#include "matcher_builder.h"
#include "pdata_sig_export.h"
#include "pdb.h"

/// Builds and serializes every matcher, the newest list first, and gives every value its item.
/// Failures are those of the engines, the export and the rule table, most of them with a line on
/// standard error that shows the value.
[[nodiscard]] pdata_status_t pdb_matcher_build(pdb_build_t *pdb_build, const csa_dump_t &dump,
                                               pdata_sig_export_t *sig_export);

/// A matcher being built from its list.
struct pdb_matcher_run_t {
    pdb_build_t *pdb_build;
    pdata_sig_export_t *sig_export; ///< may be null
    pdb_matcher_list_t &list;
    matcher_build matcher;
    matcher_type_t matcher_type;
};

/// Registers one value of the list. The value is split at commas, empty pieces skipped: the
/// numbers of a list are one item of the rule, while a stream value is registered whole once for
/// every piece. Oddity O132.
[[nodiscard]] pdata_status_t pdb_matcher_build_register(pdb_matcher_run_t *run,
                                                        pdb_matcher_elt *elt);

/// Serializes a finalized matcher into the section.
[[nodiscard]] pdata_status_t pdb_matcher_build_serialize(pdb_build_t *pdb_build,
                                                         const matcher_build &matcher,
                                                         const matcher_key_t &key,
                                                         const csa_dump_t &dump);

/// Write the string table and then the two header words of the section.
[[nodiscard]] pdata_status_t pdb_matcher_build_serialize_hstring(pdb_build_t *pdb_build);
[[nodiscard]] pdata_status_t pdb_matcher_build_serialize_header(pdb_build_t *pdb_build);
