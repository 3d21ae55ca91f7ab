/// A pdb back into a description.
///
/// The text compiles, with the configuration that the pdb was made with, to the same record of
/// protocol descriptions, byte for byte: the strings of a group enter its pool in the order of the
/// records, so that the order of protocols, rules, attributes and values is all that has to be
/// kept. What the format does not keep is in no text: descriptions of protocols, the split of rules
/// for several protocols, keys that say the default, comments.
///
///     decompiled_t out;
///     if (!decompile_pdb(pdb, out, error))
///         ... error ...
#pragma once

#include <string>
#include <vector>

#include "pdb_view.h"

/// Cases in which a text may compile to something else; texts are untrusted.
struct decompile_lost_t {
    std::vector<std::string> first; ///< LOST_KEPT_MAX of them at most
    size_t count = 0;
};

constexpr size_t LOST_KEPT_MAX = 50;

/// Adds a case.
void decompile_lost_add(decompile_lost_t &lost, std::string text);

/// What a pdb becomes.
struct decompiled_t {
    std::string text;    ///< in the canonical layout
    std::string aliases; ///< the document of its aliases; empty where there are none
    std::string tags;    ///< the same for its tag table
    decompile_lost_t lost;
};

/// Takes the text, piece by piece.
struct decompile_sink_t {
    void (*put)(void *context, std::string_view piece);
    void *context;
};

/// Most bytes of a text, unless a caller says less.
constexpr size_t DECOMPILE_TEXT_MAX = size_t{512} << 20;

/// Decompiles an open pdb, loadable or not, and hands the text to `sink`, rule by rule; without a
/// sink it is not laid out, and only told what is lost. `out.text` stays empty. Returns false with
/// `error` for descriptions that are absent or damaged, or when memory runs out; and, VIEW_COUNT,
/// where the text (before it is laid out), the aliases or the tag table would have `text_max` bytes
/// or more: a small file may name long texts over and over. Linear time; memory of some 60 bytes a
/// rule, and one rule, which is no longer than `text_max` and a string.
[[nodiscard]] bool decompile_pdb_walk(const pdb_view_t &pdb, const decompile_sink_t *sink,
                                      decompiled_t &out, view_error_t &error,
                                      size_t text_max = DECOMPILE_TEXT_MAX);

/// The same with the text in `out`.
[[nodiscard]] bool decompile_pdb(const pdb_view_t &pdb, decompiled_t &out, view_error_t &error,
                                 size_t text_max = DECOMPILE_TEXT_MAX);
