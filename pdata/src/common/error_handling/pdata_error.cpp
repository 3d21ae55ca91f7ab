#include "pdata_error.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "module_error.h"

namespace
{

pdata_status_t pdata_status_code = PDATA_SUCCESS;
char pdata_status_msg[PDATA_MSG_SIZE + 1];

/// Statuses that have a name; 55, 109, 110, 111, 201 and 202 have none.
struct status_row {
    pdata_status_t status;
    const char *name;
};

constexpr status_row status_names[] = {
    {PDATA_SUCCESS, "PDATA_SUCCESS"},
    {PDATA_ERR_NO_MEMORY, "PDATA_ERR_NO_MEMORY"},
    {PDATA_ERR_INVALID_ARGUMENT, "PDATA_ERR_INVALID_ARGUMENT"},
    {PDATA_ERR_IO, "PDATA_ERR_IO"},
    {PDATA_ERR_INVALID_OPERATION, "PDATA_ERR_INVALID_OPERATION"},
    {PDATA_ERR_REGEX, "PDATA_ERR_REGEX"},
    {PDATA_ERR_JSON_BAD_SYNTAX, "PDATA_ERR_JSON_BAD_SYNTAX"},
    {PDATA_ERR_JSON_BAD_SEMANTIC, "PDATA_ERR_JSON_BAD_SEMANTIC"},
    {PDATA_ERR_PROTODESC_ATTR, "PDATA_ERR_PROTODESC_ATTR"},
    {PDATA_ERR_PROTODESC_ID_OR_NAME_OR_NS, "PDATA_ERR_PROTODESC_ID_OR_NAME_OR_NS"},
    {PDATA_ERR_PRAGMAR, "PDATA_ERR_PRAGMAR"},
    {PDATA_ERR_OVERFLOW, "PDATA_ERR_OVERFLOW"},
    {PDATA_ERR_SIG_EXPORT, "PDATA_ERR_SIG_EXPORT"},
    {PDATA_ERR_TLV_NOT_FOUND, "PDATA_ERR_TLV_NOT_FOUND"},
    {PDATA_ERR_RULE_ENGINE, "PDATA_ERR_RULE_ENGINE"},
    {PDATA_ERR_ZLIB, "PDATA_ERR_ZLIB"},
    {PDATA_ERR_PDB, "PDATA_ERR_PDB"},
    {PDATA_ERR_PLU, "PDATA_ERR_PLU"},
    {PDATA_ERR_ENGINE, "PDATA_ERR_ENGINE"},
    {PDATA_ERR_PROTODESC_TAG, "PDATA_ERR_PROTODESC_TAG"},
    {PDATA_STATUS_ENGINE_CLASSIFIED, "PDATA_STATUS_ENGINE_CLASSIFIED"},
};

} // namespace

void pdata_status_code_set(pdata_status_t status_code)
{
    pdata_status_code = status_code;
}

void pdata_status_msg_set(const char *status_msg)
{
    const size_t n = std::strlen(status_msg) + 1;
    const size_t kept = n <= PDATA_MSG_SIZE ? n : PDATA_MSG_SIZE - 1;
    std::memmove(pdata_status_msg, status_msg, kept);
    pdata_status_msg[kept] = '\0';
}

pdata_status_t pdata_status_code_get()
{
    return pdata_status_code;
}

const char *pdata_status_msg_get()
{
    return pdata_status_msg;
}

const char *pdata_status_code2str(uint32_t e)
{
    for (const status_row &row : status_names)
        if (row.status == e)
            return row.name;
    return "error doesn't have a corresponding string.";
}

pdata_status_t module_err2pdata_status(uint32_t module, int module_error_code)
{
    switch (module_error_code) {
    case MODULE_SUCCESS:
        return PDATA_SUCCESS;
    case MODULE_ERR_NO_MEMORY:
        return PDATA_ERR_NO_MEMORY;
    case MODULE_ERR_OPERATION:
        return PDATA_ERR_INVALID_OPERATION;
    case MODULE_ERR_OVERFLOW:
        return PDATA_ERR_OVERFLOW;
    default:
        return module >= 1 && module <= 5 ? PDATA_ERR_REGEX : PDATA_ERR_ENGINE;
    }
}

pdata_status_t pdata_fail(pdata_status_t status, const char *format, ...)
{
    char msg[PDATA_MSG_SIZE];
    va_list args;
    va_start(args, format);
    std::vsnprintf(msg, sizeof(msg), format, args);
    va_end(args);
    pdata_status_code_set(status);
    pdata_status_msg_set(msg);
    return status;
}
