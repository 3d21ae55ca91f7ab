/// Outputs of the compiler: output files, with their statuses and what is said about them.
#pragma once

#include "output_file.h"
#include "pdata_error.h"

/// Adds a file to a set, as output_add does. Says on standard error when it will be written
/// directly because its folder takes no new file.
///
/// PDATA_ERR_IO: when it cannot be opened with the message `cannot_open`, which takes the file name
/// as its one %s, or, for null, with the reason on standard error alone; else as
/// pdata_output_commit.
[[nodiscard]] pdata_status_t pdata_output_add(output_t &output, const char *filename,
                                              output_parts_t parts, output_sync_t sync,
                                              const char *cannot_open);

/// Puts the files of a set in place. `status` is what the run came to so far, and is returned.
///
/// When a file cannot be written, standard error says why; a run without a failure so far gets
/// PDATA_ERR_IO with the message "Cannot write on filename %s \n".
[[nodiscard]] pdata_status_t pdata_output_commit(output_t &output, pdata_status_t status);
