/// Classes of bytes that neither a value nor its pieces tell apart.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "prove_automaton.h"
#include "prove_form.h"

/// A partition of all bytes.
struct prove_classes_t {
    std::array<uint8_t, 256> class_of{}; ///< by byte
    std::array<uint16_t, 256> size{256}; ///< by class: its members
    std::array<uint8_t, 256> byte_of{};  ///< by class: the member that reads best
    uint32_t nr = 1;                     ///< classes
    std::vector<uint8_t> taken;          ///< classes that position 0 takes, then position 1
    std::vector<uint32_t> taken_begin;   ///< by position: where its classes begin; and the end
};

/// Makes the classes of a value and its form. std::bad_alloc passes.
prove_classes_t prove_classes_make(const prove_automaton_t &automaton, const prove_form_t &form);

/// Returns the classes that a position takes.
inline std::span<const uint8_t> prove_classes_at(const prove_classes_t &classes, uint32_t position)
{
    const uint32_t begin = classes.taken_begin[position];
    return std::span(classes.taken).subspan(begin, classes.taken_begin[position + 1] - begin);
}
