/// The values of stored descriptions, one after another, and the items of a loadable pdb that they
/// became.
///
/// A loadable pdb keeps its descriptions, but no link from an item to the value that it stands
/// for. The link is worked out: values are filed in the order in which they are stored, under one
/// matcher for each protocol, attribute and direction; matchers are built with the newest first,
/// the values of each with the newest first, and every value takes the next item id. A value of
/// both directions keeps the id that it got first, and a text with commas takes one id for each
/// part between them. A table in the pdb was turned down: it would change the format.
#pragma once

#include <string_view>
#include <vector>

#include "pdb_view.h"

/// One value of a stored description. Texts point into the file.
struct view_stored_value_t {
    std::string_view protocol; ///< whose rule it is
    uint32_t rule = 0;         ///< index of the rule in its protocol, from 0
    uint32_t sub_rule = 0;     ///< index of the sub-rule in its rule, from 0
    std::string_view bottom;   ///< whose attribute it is, behind aliases
    std::string_view attribute;
    uint32_t way = 0; ///< as in memory: ATTR_WAY_CTS, ATTR_WAY_STC or ATTR_WAY_BOTH
    std::string_view text;
    uint32_t offset = 0;  ///< place of a stream's pattern; 0 for none
    bool preempt = false; ///< of a preempt rule
};

/// Who takes values one after another. They live as long as the call.
struct view_value_sink_t {
    void (*put)(void *context, const view_stored_value_t &value);
    void *context;
};

/// Hands out all values of the protocol descriptions of an open pdb, in the order in which they
/// are stored. Returns false with `error` for descriptions that are damaged; what stood in front
/// was handed out.
[[nodiscard]] bool view_values_walk(const pdb_view_t &pdb, const view_value_sink_t &sink,
                                    view_error_t &error);

/// Reads all these values. Returns false with `error` for descriptions that are damaged, and with
/// VIEW_MEMORY when memory runs out; `values` then holds what stood in front of it.
[[nodiscard]] bool view_values_read(const pdb_view_t &pdb, std::vector<view_stored_value_t> &values,
                                    view_error_t &error);

/// No value.
constexpr uint32_t VIEW_VALUE_NONE = 0xFFFFFFFF;

/// Works out which value each item of a loadable pdb stands for: `origins`, by item id, is the
/// index of its value in `values`; that of id 0 is VIEW_VALUE_NONE.
///
/// Returns false with `error` where the matchers of the file are not those of the values, as in a
/// pdb that somebody else compiled or changed, or when memory runs out. Who knows how many items
/// there are compares: `origins` has one more.
[[nodiscard]] bool view_values_origins(const pdb_view_t &pdb,
                                       const std::vector<view_stored_value_t> &values,
                                       std::vector<uint32_t> &origins, view_error_t &error);
