/// Public matchers of many expressions, as far as they are there, behind one operation.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// One matcher with its expressions.
struct bench_peer_t {
    std::string name;
    /// Returns how many expressions all values match, each counted once a value.
    std::function<size_t(const std::vector<std::string> &values)> match;
};

using bench_peers_t = std::vector<std::unique_ptr<bench_peer_t>>;

/// Matchers of the values that end with one of `suffixes`.
bench_peers_t bench_suffix_peers(const std::vector<std::string> &suffixes);

/// Matchers of the values that are, as a whole, one of `expressions` (in JSON, as a description
/// has them).
bench_peers_t bench_expression_peers(const std::vector<std::string> &expressions);
