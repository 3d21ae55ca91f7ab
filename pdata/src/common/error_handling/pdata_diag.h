/// Diagnostics: the lines on standard error that accompany a failure or a doubt.
///
/// A line shows the source line that reports it, the function it belongs to, and a text. Functions
/// and texts are rows of one table, pdata_diag.def; a call names its row and gives what the text
/// takes, which is checked as the call is compiled. Diagnostics carry no status: the operation
/// returns its own.
#pragma once

#include <cstdint>
#include <string_view>
#include <type_traits>

#include "pdata_error.h"

/// The rows, each PDATA_DIAG_ and its name in the table.
enum pdata_diag_t : uint32_t {
#define PDATA_DIAG(row, function, text) PDATA_DIAG_##row,
#include "pdata_diag.def"
#undef PDATA_DIAG
};

struct pdata_diag_row_t {
    const char *function; ///< shown in brackets
    const char *text;     ///< takes %u, %s and %.*s
};

inline constexpr pdata_diag_row_t pdata_diag_rows[] = {
#define PDATA_DIAG(row, function, text) {function, text},
#include "pdata_diag.def"
#undef PDATA_DIAG
};

/// What a value fits in a text: 'u' for %u, 's' for %s, 'i' and 's' for %.*s, 0 for nothing.
template <typename Value>
consteval char pdata_diag_kind()
{
    if constexpr (std::is_same_v<Value, const char *>)
        return 's';
    if constexpr (std::is_same_v<Value, int> || std::is_same_v<Value, uint16_t>)
        return 'i';
    if constexpr (std::is_enum_v<Value> || std::is_same_v<Value, uint32_t>)
        return 'u';
    return 0;
}

/// Tells whether a text takes exactly these values.
template <typename... Values>
consteval bool pdata_diag_takes(std::string_view text)
{
    const char kinds[] = {pdata_diag_kind<Values>()..., 0};
    size_t taken = 0;
    for (size_t at = text.find('%'); at != text.npos; at = text.find('%', at + 1)) {
        if (text.substr(at, 4) == "%.*s" && kinds[taken++] != 'i')
            return false;
        if (taken >= sizeof...(Values) || kinds[taken++] != (text[at + 1] == 'u' ? 'u' : 's'))
            return false;
    }
    return taken == sizeof...(Values);
}

/// A row and the source line that reports it; made of the row alone in a call.
template <typename... Values>
struct pdata_diag_site_t {
    consteval pdata_diag_site_t(pdata_diag_t diag, uint32_t at = __builtin_LINE())
        : row(diag), line(at)
    {
        if (!pdata_diag_takes<Values...>(pdata_diag_rows[diag].text))
            throw "the text of the row takes other values";
    }

    pdata_diag_t row;
    uint32_t line;
};

/// While one of these lives, no diagnostic is written: for who compiles to learn whether it can be
/// done.
struct pdata_diag_silence_t {
    pdata_diag_silence_t();
    ~pdata_diag_silence_t();
    pdata_diag_silence_t(const pdata_diag_silence_t &) = delete;
    pdata_diag_silence_t &operator=(const pdata_diag_silence_t &) = delete;
};

/// Writes "[level  ][line][function] " and the text of a row on standard error.
void pdata_diag_write(const char *level, pdata_diag_t row, uint32_t line, ...);

/// Reports an error.
template <typename... Values>
void pdata_diag_error(pdata_diag_site_t<std::type_identity_t<Values>...> site, Values... values)
{
    pdata_diag_write("ERROR", site.row, site.line, values...);
}

/// Reports a warning.
template <typename... Values>
void pdata_diag_warning(pdata_diag_site_t<std::type_identity_t<Values>...> site, Values... values)
{
    pdata_diag_write("WARNING", site.row, site.line, values...);
}

/// Reports an error where `status` is a failure, and returns `status`.
template <typename... Values>
[[nodiscard]] pdata_status_t
pdata_diag_failed(pdata_status_t status, pdata_diag_site_t<std::type_identity_t<Values>...> site,
                  Values... values)
{
    if (status != PDATA_SUCCESS)
        pdata_diag_write("ERROR", site.row, site.line, values...);
    return status;
}
