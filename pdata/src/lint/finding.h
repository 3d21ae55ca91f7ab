/// Findings: what a check of descriptions has to say.
///
/// Every id is a row of diagnostics.def, with its level; docs/diagnostics.md has a section for
/// each. A finding names bytes of an input; lines and columns are worked out when all findings are
/// known (lint_places.h). Its views point into the texts of the inputs, which must outlive it.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// How much a finding matters.
enum finding_level_t : uint8_t {
    FINDING_LEVEL_OFF,
    FINDING_LEVEL_NOTE, ///< shown only where its id is switched on
    FINDING_LEVEL_WARNING,
    FINDING_LEVEL_ERROR,
};

/// The ids, each FINDING_ and its row in diagnostics.def.
enum finding_id_t : uint8_t {
#define DIAGNOSTIC(row, id, level, text) FINDING_##row,
#include "diagnostics.def"
#undef DIAGNOSTIC
    FINDING_NR, ///< the number of ids
};

/// One row of diagnostics.def.
struct finding_kind_t {
    std::string_view id;
    finding_level_t level;
    std::string_view text; ///< in one line
};

/// Every row, at the index of its finding_id_t.
inline constexpr finding_kind_t finding_kinds[] = {
#define DIAGNOSTIC(row, id, level, text) {id, FINDING_LEVEL_##level, text},
#include "diagnostics.def"
#undef DIAGNOSTIC
};

/// Bytes `begin` to `end` (exclusive) of an input.
struct finding_place_t {
    uint32_t file = 0; ///< index among the inputs
    uint32_t begin = 0;
    uint32_t end = 0;
};

/// Another place that a finding refers to.
struct finding_related_t {
    finding_place_t place;
    std::string text; ///< "the other one stands here"
};

/// A change that mends a finding and nothing else: `text` takes the place of the bytes.
struct finding_edit_t {
    finding_place_t place;
    std::string text; ///< as it stands in the description, quotes and escapes included
};

/// One finding. `protocol` and `value` are as they are written, without their quotes.
struct finding_t {
    finding_id_t id = FINDING_REFUSED;
    finding_place_t place;
    std::string_view protocol;  ///< empty: none
    uint32_t rule = 0;          ///< of the protocol, from 1; 0: none
    std::string_view attribute; ///< its key; empty: none
    std::string_view value;     ///< empty: none
    std::string message;        ///< "the range 80-90 overlaps 85-95"
    std::string hint;           ///< what to do: "write \"80-95\""; may be empty
    std::string sample;         ///< bytes of data that show it; empty: none
    std::optional<finding_related_t> related;
    std::vector<finding_edit_t> edits; ///< safe ones alone; all of them or none
};

/// Returns the kind of an id.
inline const finding_kind_t &finding_kind(finding_id_t id)
{
    return finding_kinds[id];
}

/// Returns the id of that name, or FINDING_NR.
finding_id_t finding_find(std::string_view name);

/// Returns the name of a level: "error", "warning", "note" or "off".
std::string_view finding_level_name(finding_level_t level);

/// Returns 16 hexadecimal digits of what makes a finding the same from run to run: its id,
/// protocol, rule, attribute and value, and no place (FNV-1a; Fowler, Noll and Vo, 1991).
std::string finding_fingerprint(const finding_t &finding);
