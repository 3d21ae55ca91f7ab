#include "prove_classes.h"

#include <algorithm>
#include <bit>
#include <string_view>
#include <utility>

#include "prove_bytes.h"

namespace
{

/// Bytes in the order in which they make texts that read well.
constexpr std::string_view READABLE =
    "x0 .-/yzabcdefghijklmnopqrstuvw123456789XYZABCDEFGHIJKLMNOPQRSTUVW_";

/// Makes the members of `from` that are in `set` a class, unless they all are.
void split_class(prove_classes_t &classes, const prove_set_t &set, uint8_t from, uint32_t inside)
{
    if (inside == 0 || inside == classes.size[from])
        return;
    const auto to = static_cast<uint8_t>(classes.nr++);
    for (uint32_t c = 0; c < 256; ++c)
        if (classes.class_of[c] == from && prove_set_has(set, c))
            classes.class_of[c] = to;
    classes.size[to] = static_cast<uint16_t>(inside);
    classes.size[from] = static_cast<uint16_t>(classes.size[from] - inside);
}

/// Calls `take` with every member of a set.
template <typename Take>
void each_byte(const prove_set_t &set, const Take &take)
{
    for (uint32_t word = 0; word < set.size(); ++word)
        for (uint64_t left = set[word]; left != 0; left &= left - 1)
            take(static_cast<uint8_t>(word * 64 + static_cast<uint32_t>(std::countr_zero(left))));
}

/// Splits every class of which `set` has some members but not all.
void split(prove_classes_t &classes, const prove_set_t &set)
{
    std::array<uint16_t, 256> inside{}; // by class: its members in the set
    each_byte(set, [&](uint8_t c) { ++inside[classes.class_of[c]]; });
    const uint32_t nr = classes.nr;
    for (uint32_t from = 0; from < nr; ++from)
        split_class(classes, set, static_cast<uint8_t>(from), inside[from]);
}

/// Splits for a set of a byte, or of a letter in both cases, which most sets are.
bool split_small(prove_classes_t &classes, const prove_set_t &set)
{
    uint8_t bytes[2];
    uint32_t nr = 0;
    for (const uint64_t word : set)
        nr += static_cast<uint32_t>(std::popcount(word));
    if (nr == 0 || nr > 2)
        return nr == 0;
    uint32_t at = 0;
    each_byte(set, [&](uint8_t c) { bytes[at++] = c; });
    const uint8_t first = classes.class_of[bytes[0]];
    const bool together = nr == 2 && classes.class_of[bytes[1]] == first;
    if (nr == 2 && !together)
        return false;
    if (classes.size[first] == nr)
        return true;
    const auto to = static_cast<uint8_t>(classes.nr++);
    for (uint32_t i = 0; i < nr; ++i)
        classes.class_of[bytes[i]] = to;
    classes.size[to] = static_cast<uint16_t>(nr);
    classes.size[first] = static_cast<uint16_t>(classes.size[first] - nr);
    return true;
}

void refine(prove_classes_t &classes, const prove_set_t &set)
{
    if (!split_small(classes, set))
        split(classes, set);
}

/// Chooses the member of each class that stands for it.
void choose_bytes(prove_classes_t &classes)
{
    for (uint32_t c = 256; c-- > 0;)
        classes.byte_of[classes.class_of[c]] = static_cast<uint8_t>(c);
    for (size_t i = READABLE.size(); i-- > 0;) {
        const auto c = static_cast<uint8_t>(READABLE[i]);
        classes.byte_of[classes.class_of[c]] = c;
    }
}

/// Notes the classes of each position, large ones first, so that a byte is any byte where it can
/// be.
void note_taken(prove_classes_t &classes, const prove_automaton_t &automaton)
{
    std::array<uint8_t, 256> order{};
    for (uint32_t i = 0; i < classes.nr; ++i)
        order[i] = static_cast<uint8_t>(i);
    std::sort(order.begin(), order.begin() + classes.nr, [&](uint8_t a, uint8_t b) {
        return std::pair(classes.size[b], classes.byte_of[a]) <
               std::pair(classes.size[a], classes.byte_of[b]);
    });
    classes.taken_begin.reserve(automaton.sets.size() + 1);
    for (const prove_set_t &set : automaton.sets) {
        classes.taken_begin.push_back(static_cast<uint32_t>(classes.taken.size()));
        for (uint32_t i = 0; i < classes.nr; ++i)
            if (prove_set_has(set, classes.byte_of[order[i]]))
                classes.taken.push_back(order[i]);
    }
    classes.taken_begin.push_back(static_cast<uint32_t>(classes.taken.size()));
}

} // namespace

prove_classes_t prove_classes_make(const prove_automaton_t &automaton, const prove_form_t &form)
{
    prove_classes_t classes;
    for (const prove_set_t &set : automaton.sets)
        refine(classes, set);
    for (const prove_piece_t &piece : form.pieces)
        for (const char c : piece.bytes)
            refine(classes, prove_byte_set(static_cast<uint8_t>(c), form.icase));
    choose_bytes(classes);
    note_taken(classes, automaton);
    return classes;
}
