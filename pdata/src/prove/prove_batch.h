/// Values compiled together, and open to be tried.
///
/// Each value becomes a rule of its own, in a description that is written here and goes the way of
/// all descriptions; a rule is known again by its order.
#pragma once

#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "pdata.h"
#include "prove_number.h"
#include "prove_value.h"

/// Values of a batch at most. More would make each sample be told of more values that it also
/// leads to, and fewer would be compiled one by one.
constexpr size_t PROVE_BATCH_MAX = 512;

struct prove_db_release_t {
    void operator()(pdata_db *db) const { pdata_db_release(db); }
};

struct prove_flow_free_t {
    void operator()(pdata_flow *flow) const { pdata_flow_free(flow); }
};

/// A batch, open. Its attribute and direction are those of its first value.
struct prove_batch_t {
    std::vector<uint8_t> bytes; ///< of the loadable pdb
    std::unique_ptr<pdata_db, prove_db_release_t> db;
    std::unique_ptr<pdata_flow, prove_flow_free_t> flow;
    pdata_attribute attribute = 0;
    std::vector<uint32_t> value_of;  ///< by rule, from 1: the index of its value
    std::vector<pdata_rule> matches; ///< room for an answer
};

/// Compiles values of one attribute, at most PROVE_BATCH_MAX of them, and opens what came out.
/// Returns false where the compiler refuses one, or where they are too much for their tables.
/// std::bad_alloc passes.
[[nodiscard]] bool prove_batch_open(std::span<const prove_value_t *const> values,
                                    prove_batch_t &batch);

/// Tells whether value `index` is found in data, or by a number or an address. std::bad_alloc
/// passes.
[[nodiscard]] bool prove_batch_finds(prove_batch_t &batch, size_t index, std::string_view data);
[[nodiscard]] bool prove_batch_finds(prove_batch_t &batch, size_t index,
                                     const prove_number_t &number);

/// Feeds an attribute with data, or with a number or address, whichever it takes; attribute 0 with
/// nothing. std::bad_alloc passes.
void prove_feed(pdata_db *db, pdata_flow *flow, pdata_attribute attribute, std::string_view data,
                const prove_number_t &number);
