/// The compiled form of a value: literal pieces that must be found, and whether the complete value
/// is checked then.
///
/// Each permutation of a value is a way to be found. Data is found by a way when all its pieces
/// stand in the data, each ending behind the end of the one before it, a piece of the beginning at
/// the beginning, one of the end at the end. A way with a check finds data that holds its one
/// piece and is what the value describes; a form says of it only that the data holds the piece,
/// as nothing is asked of a form but data that the value describes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "rexpand_ast.h"

/// Bytes of pieces that a form may have, beyond PROVE_PIECES_PER_BYTE for every byte of its value.
constexpr size_t PROVE_PIECES_BASE = 16384;
constexpr size_t PROVE_PIECES_PER_BYTE = 64;

/// Where a piece must stand.
enum prove_place_t : uint8_t {
    PROVE_ANYWHERE = 0,
    PROVE_AT_BEGIN = 1,
    PROVE_AT_END = 2,
    PROVE_WHOLE = 3, ///< it is the data
};

/// One piece. Where case does not matter its letters are small.
struct prove_piece_t {
    std::string bytes;
    prove_place_t place = PROVE_ANYWHERE;
};

/// One way to be found: pieces `first` to `first` + `nr` - 1.
struct prove_way_t {
    uint32_t first = 0;
    uint32_t nr = 0;
};

/// The form of a value.
struct prove_form_t {
    std::vector<prove_piece_t> pieces;
    std::vector<prove_way_t> ways;
    bool checks_all = false; ///< the complete value is tried on all data
    bool icase = false;      ///< capitals of the data count as small letters
};

/// How the making of a form ended.
enum prove_formed_t : uint8_t {
    PROVE_FORMED = 0,
    PROVE_NO_FORM,    ///< the compiler refuses the value, or finds it too costly
    PROVE_FORM_LARGE, ///< it has too many pieces to follow
    PROVE_FORM_WRAPS, ///< a way has more than 255 pieces: their numbers, of 8 bits, wrap
};

/// Makes the form that the compiler gives an expression of `size` bytes, of an attribute whose case
/// does not matter when `icase` is set. std::bad_alloc passes.
[[nodiscard]] prove_formed_t prove_form_make(const rexpand_tree &tree, size_t size, bool icase,
                                             prove_form_t &form);
