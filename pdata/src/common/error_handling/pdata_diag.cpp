#include "pdata_diag.h"

#include <cstdarg>
#include <cstdio>

namespace
{

uint32_t silences = 0; // that live

} // namespace

pdata_diag_silence_t::pdata_diag_silence_t()
{
    ++silences;
}

pdata_diag_silence_t::~pdata_diag_silence_t()
{
    --silences;
}

void pdata_diag_write(const char *level, pdata_diag_t row, uint32_t line, ...)
{
    if (silences != 0)
        return;
    const pdata_diag_row_t &shown = pdata_diag_rows[row];
    char msg[PDATA_MSG_SIZE];
    va_list args;
    va_start(args, line);
    std::vsnprintf(msg, sizeof(msg), shown.text, args);
    va_end(args);
    std::fprintf(stderr, "[%-7s][%u][%s] %s", level, line, shown.function, msg);
}
