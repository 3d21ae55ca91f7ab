/// Random expressions as authors write them, and random data that an expression describes.
#pragma once

#include <random>
#include <string>
#include <string_view>

/// Where randomness comes from.
struct random_expression_t {
    std::mt19937 random;

    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random() % limit); }
    bool one_in(uint32_t n) { return below(n) == 0; }
};

/// Makes an expression; its parts nest up to three deep.
std::string make_expression(random_expression_t &random);

/// Makes data that `text` describes, in the other case now and then when `icase` is set. What it
/// makes of a class that holds no byte is not described.
std::string make_described(random_expression_t &random, std::string_view text, bool icase);
