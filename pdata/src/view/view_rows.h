/// What the pattern engines have in common: an alphabet, and rows of 16-bit words.
#pragma once

#include "format_loadable.h"
#include "view_cursor.h"

/// An alphabet: the code of each byte. Codes that an engine reserves denote no byte: neither 0,
/// the code of a byte outside the alphabet, nor the others, which the last bytes of an alphabet of
/// more bytes than codes have.
struct view_alphabet_t {
    const uint8_t *code = nullptr; ///< ALPHABET_MAP_COUNT codes by byte, each below `size`
    uint32_t size = 0;             ///< codes, reserved ones included: the width of a row
};

/// Opens the value of an alphabet record of an engine that reserves `nr_reserved` codes.
[[nodiscard]] bool view_alphabet_open(const view_area_t &area, uint32_t nr_reserved,
                                      view_alphabet_t &alphabet, view_error_t &error);

/// A transition table: rows of `width` words, one for each state.
struct view_rows_t {
    view_area_t area; ///< the rows, and at most two bytes of padding
    uint32_t width = 0;
    uint32_t nr_row = 0;
};

/// Lays rows of `width` words over `area`; no width is 0.
[[nodiscard]] bool view_rows_open(const view_area_t &area, uint32_t width, view_rows_t &rows,
                                  view_error_t &error);

/// Returns the first word of a row, as stored. The row must lie within the table.
inline const uint8_t *view_row(const view_rows_t &rows, uint32_t row)
{
    return rows.area.data + size_t{row} * rows.width * 2;
}

/// Returns a word of a row; both must lie within the table.
inline uint16_t view_row_word(const view_rows_t &rows, uint32_t row, uint32_t column)
{
    return csa_get_be16(view_row(rows, row) + size_t{column} * 2);
}

/// Returns the place of a word in the file, in bytes.
inline size_t view_row_offset(const view_rows_t &rows, uint32_t row, uint32_t column)
{
    return rows.area.offset + (size_t{row} * rows.width + column) * 2;
}
