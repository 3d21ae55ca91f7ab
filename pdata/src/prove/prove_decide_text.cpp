#include <algorithm>

#include "matcher_pieces.h"
#include "prove_bytes.h"
#include "prove_decide.h"
#include "prove_sample.h"
#include "prove_spell.h"

namespace
{

/// Minimum data up to which the length of data is followed; that of more is left to samples.
constexpr uint32_t FOLLOWED_SIZE_MAX = 256;

/// An expression, as text and as it was read.
struct expression_t {
    std::string_view text;
    const rexpand_tree &tree;
};

/// Tells whether the engines of an attribute can look for a form: those of streams do not look for
/// the end of the data.
bool is_taken(const prove_case_t &at, const prove_form_t &form)
{
    const bool looks_for_ends = (at.properties->proper_algo & PATTERN_ALGO_ST) != 0;
    return looks_for_ends ||
           std::none_of(form.pieces.begin(), form.pieces.end(),
                        [](const prove_piece_t &piece) { return piece.place == PROVE_AT_END; });
}

/// A text of commas alone is registered for each part between them, and there is none.
bool is_never_registered(std::string_view text)
{
    return text.find_first_not_of(',') == text.npos;
}

/// Tells whether a set is one byte, or one letter in both cases.
bool is_one_byte(const prove_set_t &set)
{
    if (prove_set_is_empty(set))
        return false;
    const uint8_t byte = prove_set_byte(set, 1, 0);
    return prove_set_equal(set, prove_byte_set(byte, false)) ||
           prove_set_equal(set, prove_byte_set(byte, true));
}

/// Tells whether an automaton takes one text alone, in either case.
bool is_literal(const prove_automaton_t &automaton)
{
    return prove_is_row(automaton) && std::ranges::all_of(automaton.sets, is_one_byte);
}

/// Returns the greatest number of bytes of data that an automaton takes, SIZE_MAX for any number.
size_t longest(const prove_automaton_t &automaton)
{
    std::vector<size_t> size(automaton.sets.size(), 0); // by position: bytes up to it
    for (const uint32_t at : automaton.first)
        size[at] = 1;
    size_t most = 0;
    for (uint32_t at = 0; at < size.size(); ++at) {
        if (size[at] == 0 || prove_set_is_empty(automaton.sets[at]))
            continue;
        if (automaton.is_last[at] != 0)
            most = std::max(most, size[at]);
        for (const uint32_t next : prove_followers(automaton, at)) {
            if (next <= at) // only a repetition leads back
                return SIZE_MAX;
            size[next] = std::max(size[next], size[at] + 1);
        }
    }
    return most;
}

/// Decides what can be decided. No form: it is too large.
void decide(prove_case_t &at, const expression_t &expression, const prove_automaton_t &automaton,
            const prove_form_t *form)
{
    const auto [text, tree] = expression;
    const uint32_t min_size = at.value->min_size;
    const size_t size = longest(automaton);
    if (is_never_registered(at.value->text))
        at.comparison = {true, false, true, std::string(text)};
    else if (size < min_size && !automaton.is_partial)
        at.comparison = {true, false, false, {}};
    else if (form == nullptr)
        at.comparison = {};
    else if (!at.is_empty && (!at.samples.empty() || size == SIZE_MAX) &&
             prove_spelled(tree, *form))
        at.comparison = {true, true, false, {}};
    else if (min_size <= FOLLOWED_SIZE_MAX)
        at.comparison = prove_compare(automaton, *form, min_size,
                                      PROVE_STEPS_BASE + PROVE_STEPS_PER_BYTE * text.size());
}

} // namespace

void prove_case_text(prove_case_t &at, bool decides)
{
    const prove_value_t &value = *at.value;
    const bool icase = at.properties->icase != 0;
    const std::string_view text = matcher_without_final_zero(value.text);
    rexpand_tree tree;
    prove_automaton_t automaton;
    prove_form_t form;
    at.is_refused = !prove_parse(text, tree);
    if (at.is_refused)
        return;
    const prove_made_t made = prove_automaton_make(tree, text.size(), icase, automaton);
    const prove_formed_t formed = prove_form_make(tree, text.size(), icase, form);
    at.is_refused = formed == PROVE_NO_FORM || !is_taken(at, form);
    if (at.is_refused || made != PROVE_MADE)
        return;
    at.is_heavy = form.checks_all;
    at.is_literal = is_literal(automaton);
    at.samples = prove_samples(automaton);
    at.is_empty = at.samples.empty();
    std::erase_if(at.samples,
                  [&](const std::string &sample) { return sample.size() < value.min_size; });
    if (formed == PROVE_FORM_WRAPS) // each piece may lead to as many places as there are pieces
        at.samples.clear();
    if (decides)
        decide(at, {text, tree}, automaton, formed == PROVE_FORMED ? &form : nullptr);
}
