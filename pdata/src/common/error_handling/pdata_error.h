/// Statuses: the numbered outcome of every operation, and the one slot that remembers a failure.
///
/// The operation that first detects a failure records its code and a message and returns the
/// code; every caller passes it up unchanged. The driver prints code, name and message once, at
/// the end, and exits with the code. Nothing clears the slot during a run (oddity O32). Exceptions
/// were turned down: a status is part of every format's contract and reads in the signature.
/// PDATA_TRY passes one up; pdata_guard makes one of memory that runs out.
#pragma once

#include <cstdint>
#include <new>
#include <stdexcept>

/// Outcomes; the process exits with the number. Six codes have no name text in
/// pdata_status_code2str. Oddity O30.
enum pdata_status : uint32_t {
    PDATA_SUCCESS = 0,
    PDATA_ERR_NO_MEMORY = 1,
    PDATA_ERR_INVALID_ARGUMENT = 2,
    PDATA_ERR_IO = 3,
    PDATA_ERR_INVALID_OPERATION = 4,
    PDATA_ERR_REGEX = 50,
    PDATA_ERR_JSON_BAD_SYNTAX = 51,
    PDATA_ERR_JSON_BAD_SEMANTIC = 52,
    PDATA_ERR_PROTODESC_ATTR = 53,
    PDATA_ERR_PROTODESC_ID_OR_NAME_OR_NS = 54,
    PDATA_ERR_INVALID_PDB = 55,
    PDATA_ERR_PRAGMAR = 56,
    PDATA_ERR_OVERFLOW = 100,
    PDATA_ERR_SIG_EXPORT = 101,
    PDATA_ERR_TLV_NOT_FOUND = 102,
    PDATA_ERR_RULE_ENGINE = 103,
    PDATA_ERR_ZLIB = 104,
    PDATA_ERR_PDB = 105,
    PDATA_ERR_PLU = 106,
    PDATA_ERR_ENGINE = 107,
    PDATA_ERR_PROTODESC_TAG = 108,
    PDATA_ERR_CSM = 109,
    PDATA_ERR_PSA = 110,
    PDATA_ERR_IPBT = 111,
    PDATA_STATUS_ENGINE_CLASSIFIED = 200,
    PDATA_STATUS_ENGINE_FASTPASS = 201,
    PDATA_STATUS_ENGINE_CDN_RULE_CLASSIFIED = 202,
};

using pdata_status_t = pdata_status;

/// Size of a message, its terminator included; a message keeps one character less.
constexpr uint32_t PDATA_MSG_SIZE = 1024;

/// The modules that module_err2pdata_status tells apart.
enum pdata_module_t : uint32_t {
    PDATA_MODULE_NUMBER = 1,
    PDATA_MODULE_STREAM = 2,
    PDATA_MODULE_STREAM_PATTERN = 3,
    PDATA_MODULE_HSTRING = 6,
};

/// Records a code.
void pdata_status_code_set(pdata_status_t status_code);

/// Records a copy of a text, cut at 1023 characters.
void pdata_status_msg_set(const char *status_msg);

/// Returns the recorded code, PDATA_SUCCESS at start.
pdata_status_t pdata_status_code_get();

/// Returns the recorded message, empty at start. It lives as long as the process.
const char *pdata_status_msg_get();

/// Returns the name of a status, or "error doesn't have a corresponding string." for a code
/// without a name.
const char *pdata_status_code2str(uint32_t e);

/// Translates the code of an engine module into a status. Oddity O31.
pdata_status_t module_err2pdata_status(uint32_t module, int module_error_code);

/// Reports a failure at its origin: formats the message, records it with the code, and returns
/// the code.
[[gnu::format(printf, 2, 3)]] pdata_status_t pdata_fail(pdata_status_t status, const char *format,
                                                        ...);

/// Runs an operation that returns a status and turns memory that runs out inside it into
/// PDATA_ERR_NO_MEMORY. The entry points of the program go through it; an operation below them
/// catches nothing unless it must restore a state, or names a message or status of its own.
template <typename Operation>
[[nodiscard]] pdata_status_t pdata_guard(Operation &&operation)
{
    try {
        return operation();
    } catch (const std::bad_alloc &) {
        return PDATA_ERR_NO_MEMORY;
    } catch (const std::length_error &) {
        return PDATA_ERR_NO_MEMORY;
    }
}

/// Evaluates an expression that is a status, and returns a failure from the function around it.
#define PDATA_TRY(expression) PDATA_TRY_NAMED(PDATA_TRY_NAME(__COUNTER__), expression)

// The name differs in every use, so that an expression may hold a lambda that uses PDATA_TRY.
#define PDATA_TRY_NAME(number) PDATA_TRY_JOINED(number)
#define PDATA_TRY_JOINED(number) pdata_status_##number
#define PDATA_TRY_NAMED(name, expression)                                                          \
    do {                                                                                           \
        if (const pdata_status_t name = (expression); name != PDATA_SUCCESS)                       \
            return name;                                                                           \
    } while (false)
