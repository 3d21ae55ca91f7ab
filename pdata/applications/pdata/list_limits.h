/// What "pdata list --limits" says: how full each limit of the format is.
#pragma once

#include "console.h"
#include "exit_status.h"
#include "input_file.h"

/// Lists the limits of a pdb, the fullest first; EXIT_STATUS_FINDINGS when one was passed, or when
/// the pdb is unsafe to read.
exit_status_t list_limits(console_t &console, const input_file_t &file);
