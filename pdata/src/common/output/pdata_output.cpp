#include "pdata_output.h"

#include <csignal>
#include <cstdio>
#include <cstring>

namespace
{

pdata_status_t cannot_write(const output_error_t &error, pdata_status_t status)
{
    std::fprintf(stderr, "pdata_compiler: %s: %s\n", error.filename, error.reason);
    std::signal(SIGPIPE, SIG_IGN); // the message may go to the pipe that took no output
    if (status != PDATA_SUCCESS)
        return status;
    return pdata_fail(PDATA_ERR_IO, "Cannot write on filename %s \n", error.filename);
}

pdata_status_t cannot_add(const output_error_t &error, const char *cannot_open)
{
    if (error.failure != OUTPUT_CANNOT_OPEN)
        return cannot_write(error, PDATA_SUCCESS);
    if (cannot_open == nullptr)
        return cannot_write(error, PDATA_ERR_IO);
    return pdata_fail(PDATA_ERR_IO, cannot_open, error.filename);
}

} // namespace

pdata_status_t pdata_output_add(output_t &output, const char *filename, output_parts_t parts,
                                output_sync_t sync, const char *cannot_open)
{
    output_error_t error;
    if (!output_add(output, filename, parts, sync, error))
        return cannot_add(error, cannot_open);
    if (const int refusal = output.files.back().refusal; refusal != 0)
        std::fprintf(stderr,
                     "pdata_compiler: %s: written directly, its folder takes no new file: %s\n",
                     filename, std::strerror(refusal));
    return PDATA_SUCCESS;
}

pdata_status_t pdata_output_commit(output_t &output, pdata_status_t status)
{
    output_error_t error;
    return output_commit(output, error) ? status : cannot_write(error, status);
}
