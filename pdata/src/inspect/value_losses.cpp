#include "value_losses.h"

#include <map>
#include <set>
#include <tuple>

#include "csa_char.h"
#include "format_limits.h"
#include "matcher_pieces.h"
#include "pdb_attr_properties.h"
#include "pdb_limits.h"
#include "preempt_overlap.h"
#include "rexpand.h"
#include "value_form.h"
#include "value_ranges.h"
#include "view_values.h"

namespace
{

/// Protocol, attribute and direction of a matcher.
using loss_key_t = std::tuple<std::string_view, std::string_view, uint32_t>;

std::string subject_of(const loss_key_t &key)
{
    const auto &[protocol, attribute, way] = key;
    return std::string(protocol) + ':' + std::string(attribute) + ' ' + attr_way2str(way);
}

std::string place_of(const view_stored_value_t &value)
{
    return "rule " + std::to_string(value.rule + 1) + " of " + std::string(value.protocol);
}

/// Hands all values to `take`, once for each direction, with the properties of their attribute.
template <typename Take>
void each_value(const pdb_view_t &pdb, Take take)
{
    const auto put = [](void *context, const view_stored_value_t &value) {
        const pdb_attr_properties_t *row =
            pdb_get_attr_properties(csa_str(value.bottom), csa_str(value.attribute));
        for (const uint32_t way : {ATTR_WAY_CTS, ATTR_WAY_STC})
            if (row != nullptr && (value.way & way) != 0)
                (*static_cast<Take *>(context))(loss_key_t{value.bottom, value.attribute, way},
                                                *row, value);
    };
    view_error_t error;
    (void)view_values_walk(pdb, {put, &take}, error); // a verified pdb reads to its end
}

/// What is lost of one kind.
struct loss_t {
    uint64_t count = 0;
    std::string first; ///< where

    void add(std::string place)
    {
        if (count++ == 0)
            first = std::move(place);
    }
};

void add_loss(std::vector<view_limit_t> &limits, const loss_key_t &key, const char *name,
              const char *lost, const loss_t &loss)
{
    if (loss.count != 0)
        limits.push_back({subject_of(key), name, loss.count, 0, lost, loss.first});
}

/// The texts that a matcher has in its automaton, each once, and where each stands first.
struct matcher_texts_t {
    std::vector<overlap_text_t> texts;
    std::vector<std::string> places;
    std::set<std::tuple<std::string, uint32_t, bool>> known;
    size_t bytes = 0;
};

void add_text(matcher_texts_t &matcher, const pdb_attr_properties_t &row, std::string bytes,
              const view_stored_value_t &value)
{
    for (char &c : bytes)
        c = row.icase != 0 ? char_small(c) : c;
    const uint32_t offset = value.offset != 0 ? value.offset : OVERLAP_ANYWHERE;
    if (matcher.bytes > PDB_LIMITS_TEXTS_MAX ||
        !matcher.known.emplace(bytes, offset, value.preempt).second)
        return;
    matcher.bytes += bytes.size() + sizeof(overlap_text_t);
    matcher.texts.push_back({std::move(bytes), offset, value.preempt});
    matcher.places.push_back(place_of(value));
}

/// Adds the pieces that a value without an offset has in the automaton.
void add_pieces(matcher_texts_t &matcher, const pdb_attr_properties_t &row,
                const view_stored_value_t &value)
{
    rexpand_permutation_list list;
    if (rexpand_process(matcher_without_final_zero(value.text), MATCHER_PERMUTATION_MAX, nullptr,
                        &list, VALUE_FORM_EXPANSION_MAX) != 0)
        return;
    for (const rexpand_permutation &permutation : list) {
        if (matcher_is_marked(permutation)) {
            if (const rexpand_pattern_t *piece = matcher_longest_piece(permutation))
                add_text(matcher, row, piece->str, value);
            continue;
        }
        if (permutation.patterns.empty())
            return;
        for (const rexpand_pattern_t &piece : permutation.patterns)
            if (piece.type == REXPAND_TYPE_REGULAR)
                add_text(matcher, row, piece.str, value);
    }
}

void add_value(matcher_texts_t &matcher, const pdb_attr_properties_t &row,
               const view_stored_value_t &value)
{
    std::string bytes;
    std::string_view fault;
    if (value.text.size() > VALUE_FORM_TEXT_MAX)
        return;
    if (value.offset == 0)
        add_pieces(matcher, row, value);
    else if (matcher_unescape(matcher_without_final_zero(value.text), bytes, fault))
        add_text(matcher, row, bytes, value);
}

/// Beyond the numbers of its states an automaton does other things than it should.
constexpr const char *lost_beside_preempts =
    "states beyond; what preempts and other texts overlap is not judged before fewer or shorter "
    "texts stay within the limit";

void add_matcher_losses(const matcher_texts_t &matcher, const loss_key_t &key,
                        std::vector<view_limit_t> &limits)
{
    const size_t states = overlap_states(matcher.texts);
    if (states > OVERLAP_STATES_MAX)
        limits.push_back({subject_of(key), "states of texts beside preempts", states,
                          OVERLAP_STATES_MAX, lost_beside_preempts});
    if (states > OVERLAP_STATES_MAX || matcher.bytes > PDB_LIMITS_TEXTS_MAX)
        return;
    const std::vector<bool> lost = preempt_overlaps(matcher.texts);
    loss_t preempts;
    loss_t others;
    for (size_t i = 0; i < lost.size(); ++i)
        if (lost[i])
            (matcher.texts[i].preempt ? preempts : others).add(matcher.places[i]);
    add_loss(limits, key, "preempts that lost an overlap",
             "preempts in data in which another text runs into them", preempts);
    add_loss(limits, key, "texts that lost an overlap with a preempt",
             "texts in data in which they begin within a preempt", others);
}

/// What long lists lose, which many rules may share, by their properties and their place.
using lost_ranges_t = std::map<std::pair<const pdb_attr_properties_t *, const char *>, std::string>;

/// Returns the first range that a list loses, empty for none.
std::string lost_range(lost_ranges_t &known, const pdb_attr_properties_t &row,
                       std::string_view text)
{
    const auto find = [&]() -> std::string {
        const auto lost = value_ranges_lost(value_ranges(row, text));
        return lost.empty() ? "" : value_range_text(row.proper_type, lost[0].low, lost[0].high);
    };
    if (text.size() <= VALUE_FORM_TEXT_MAX)
        return find();
    const auto [found, is_new] = known.try_emplace({&row, text.data()});
    if (is_new)
        found->second = find();
    return found->second;
}

/// The texts of the matchers that have preempts.
using matchers_t = std::map<loss_key_t, matcher_texts_t>;

matchers_t matchers_with_preempts(const pdb_view_t &pdb)
{
    matchers_t matchers;
    each_value(pdb, [&](const loss_key_t &key, const pdb_attr_properties_t &row,
                        const view_stored_value_t &value) {
        if (value.preempt && row.proper_type == MATCHER_TYPE_STREAM)
            matchers.try_emplace(key);
    });
    return matchers;
}

} // namespace

void range_losses(const pdb_view_t &pdb, std::vector<view_limit_t> &limits)
{
    std::map<loss_key_t, loss_t> losses;
    lost_ranges_t known;
    each_value(pdb, [&](const loss_key_t &key, const pdb_attr_properties_t &row,
                        const view_stored_value_t &value) {
        if (row.proper_type == MATCHER_TYPE_STREAM)
            return;
        const std::string lost = lost_range(known, row, value.text);
        if (!lost.empty())
            losses[key].add(lost + " in " + place_of(value));
    });
    for (const auto &[key, loss] : losses)
        add_loss(limits, key, "lists with overlapping ranges that lost a tail",
                 "numbers behind the end of a range within another one", loss);
}

void preempt_losses(const pdb_view_t &pdb, std::vector<view_limit_t> &limits)
{
    matchers_t matchers = matchers_with_preempts(pdb);
    if (matchers.empty())
        return;
    each_value(pdb, [&](const loss_key_t &key, const pdb_attr_properties_t &row,
                        const view_stored_value_t &value) {
        if (const auto found = matchers.find(key); found != matchers.end())
            add_value(found->second, row, value);
    });
    for (const auto &[key, matcher] : matchers)
        add_matcher_losses(matcher, key, limits);
}
