#include "pdata_diag.h"

#include <cstdarg>
#include <cstdio>

void pdata_diag_write(const char *level, pdata_diag_t row, uint32_t line, ...)
{
    const pdata_diag_row_t &shown = pdata_diag_rows[row];
    char msg[PDATA_MSG_SIZE];
    va_list args;
    va_start(args, line);
    std::vsnprintf(msg, sizeof(msg), shown.text, args);
    va_end(args);
    std::fprintf(stderr, "[%-7s][%u][%s] %s", level, line, shown.function, msg);
}
