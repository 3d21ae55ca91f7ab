#include "view_rows.h"

#include "format_types.h"
#include "view_take.h"

namespace
{

bool check_codes(const view_area_t &map, uint32_t size, view_error_t &error)
{
    for (size_t byte = 0; byte < map.size; ++byte)
        if (map.data[byte] >= size)
            return view_fail(error, VIEW_REFERENCE, map.offset + byte, "byte %zu has code %u of %u",
                             byte, map.data[byte], size);
    return true;
}

} // namespace

bool view_alphabet_open(const view_area_t &area, uint32_t nr_reserved, view_alphabet_t &alphabet,
                        view_error_t &error)
{
    view_cursor_t cursor = view_walk(area, VIEW_BLOBS);
    view_area_t size;
    view_area_t map;
    if (!view_take(cursor, ALPHABET_TLV_SIZE, "size", size, error, 4) ||
        !view_take(cursor, ALPHABET_TLV_MAP, "codes", map, error, ALPHABET_MAP_COUNT) ||
        !view_take_end(cursor, error))
        return view_within(error, "alphabet");
    alphabet = {map.data, view_word(size, 0)};
    if (alphabet.size < nr_reserved || alphabet.size > nr_reserved + ALPHABET_MAP_COUNT)
        return view_fail(error, VIEW_COUNT, size.offset, "alphabet: %u codes, not %u to %u",
                         alphabet.size, nr_reserved, nr_reserved + ALPHABET_MAP_COUNT);
    return check_codes(map, alphabet.size, error) || view_within(error, "alphabet");
}

bool view_rows_open(const view_area_t &area, uint32_t width, view_rows_t &rows, view_error_t &error)
{
    const size_t row_size = size_t{width} * 2;
    const size_t left = area.size % row_size;
    if (left != 0 && left != 2)
        return view_fail(error, VIEW_LENGTH, area.offset,
                         "transitions: %zu bytes do not hold rows of %zu", area.size, row_size);
    rows = {area, width, static_cast<uint32_t>(area.size / row_size)};
    return true;
}
