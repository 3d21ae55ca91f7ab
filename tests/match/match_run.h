/// The library and the model on the same flow.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "loadable_reader.h"
#include "pdata.hpp"
#include "runtime_model.h"

/// What a flow comes to: items that count, ascending, and rules, the best first.
struct match_answer_t {
    std::vector<uint32_t> items;
    std::vector<uint32_t> rules;

    bool operator==(const match_answer_t &) const = default;
};

/// Hands a flow to the library, value by value.
void match_feed(const pdata::database &db, pdata::flow &flow, std::span<const flow_value_t> values);

/// Runs a flow through the library; `flow` is reset first.
match_answer_t match_answer(const pdata::database &db, pdata::flow &flow,
                            std::span<const flow_value_t> values);

/// Runs a flow through the model. Returns false with an `error` where it gives up.
[[nodiscard]] bool model_answer(const loadable_pdb_t &pdb, std::span<const flow_value_t> values,
                                match_answer_t &answer, std::string &error);
