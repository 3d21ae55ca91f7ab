/// Targets: what a file name leads to, and the temporary file beside it.
#pragma once

#include <sys/types.h>

#include "output_file.h"

/// What was found at the name of a target.
struct output_target_t {
    bool exists = false;
    bool replaceable = false; ///< a regular file, or none yet: another one may take its place
    mode_t mode = 0;          ///< permissions of the one that exists
    uid_t owner = 0;
    gid_t group = 0;
};

/// Opens a target for writing, as far as it exists, without truncating it: `file.fd`, which is kept
/// open. Gives the name behind its links, `file.target`, when it is replaceable.
///
/// Returns false with errno set when it cannot be opened.
[[nodiscard]] bool output_target_open(const char *filename, output_target_t &target,
                                      output_file_t &file);

/// Opens a new temporary file beside a replaceable target: `file.fd`, with the mode of the target.
/// Where the folder takes none, `file.fd` is the target, `file.refusal` says why, and
/// `file.temporary` stays empty; a target that does not exist is created then.
///
/// Returns false with errno set when neither can be had.
[[nodiscard]] bool output_temporary_open(const output_target_t &target, output_file_t &file);
