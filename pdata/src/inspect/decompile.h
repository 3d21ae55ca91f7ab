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

/// Decompiles an open pdb, loadable or not, and hands the text to `sink`, rule by rule; without a
/// sink it is not laid out, and only told what is lost. `out.text` stays empty. Returns false with
/// `error` for descriptions that are absent or damaged, whose text would exceed 512 MiB, or when
/// memory runs out. Linear time; memory of some 60 bytes a rule, and one rule.
[[nodiscard]] bool decompile_pdb_walk(const pdb_view_t &pdb, const decompile_sink_t *sink,
                                      decompiled_t &out, view_error_t &error);

/// The same with the text in `out`.
[[nodiscard]] bool decompile_pdb(const pdb_view_t &pdb, decompiled_t &out, view_error_t &error);
