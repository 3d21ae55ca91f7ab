/// A loadable pdb, open, with the way from its rules and items back to its descriptions.
#pragma once

#include <map>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "prove_batch.h"
#include "view_values.h"

/// A rule of the descriptions: its protocol, and its index there, from 0.
using prove_rule_name_t = std::pair<std::string_view, uint32_t>;

/// The values of a rule that became items; they stand side by side among all values where all of
/// the rule did.
struct prove_rule_values_t {
    prove_rule_name_t name;
    uint32_t first = 0;
    uint32_t nr = 0;
};

/// Where the rules of a protocol stand among all rules of the descriptions.
struct prove_protocol_t {
    size_t first = 0;
    bool is_one = true; ///< no other protocol has its name
};

/// An open pdb. Everything points into its bytes.
struct prove_catalog_t {
    std::unique_ptr<pdata_db, prove_db_release_t> db;
    std::unique_ptr<pdata_flow, prove_flow_free_t> flow;
    std::vector<view_stored_value_t> values; ///< of the descriptions
    std::vector<uint32_t> rule_of;           ///< by value: its rule; 0 where it has none
    std::vector<prove_rule_values_t> rules;  ///< by rule
    std::vector<uint32_t> rows;              ///< by protocol and index: the rule; 0 for none
    std::unordered_map<std::string_view, prove_protocol_t> protocols; ///< by name
    std::vector<uint32_t> value_of; ///< by item: its value; VIEW_VALUE_NONE of id 0
    std::vector<uint64_t> checks;   ///< by matcher, from 1: values that are tried on all data
    /// By protocol, attribute and direction: those that were asked for.
    std::map<std::tuple<std::string_view, std::string_view, pdata_direction>, pdata_attribute>
        attributes;
};

/// Opens a pdb, whose bytes must outlive the catalog. Returns false for one that cannot be read.
/// std::bad_alloc passes.
[[nodiscard]] bool prove_catalog_open(std::span<const uint8_t> pdb, prove_catalog_t &catalog);

/// Returns the rule of the pdb that a rule of the descriptions became; 0 for one that it has not,
/// or of a protocol whose name another one has.
uint32_t prove_catalog_rule(const prove_catalog_t &catalog, const prove_rule_name_t &name);

/// Returns how many values data of an attribute is tried on whatever it is.
uint64_t prove_catalog_cost(const prove_catalog_t &catalog, pdata_attribute attribute);

/// Returns the attribute that data is handed over for, 0 for one that the pdb does not test. The
/// names must outlive the catalog.
pdata_attribute prove_catalog_attribute(prove_catalog_t &catalog, std::string_view protocol,
                                        std::string_view attribute, pdata_direction direction);
