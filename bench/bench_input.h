/// What the benchmarks of whole flows start from: generated texts, the shipped configuration, and
/// a place for files.
#pragma once

#include <string>
#include <string_view>

#include "description_generator.h"
#include "pdata_cfg.h"
#include "pdata_serialize.h"

/// The size that targets are set for, and twice that size.
inline constexpr description_shape_t bench_shape = {3700, 20000, 0, 1};
inline constexpr description_shape_t bench_double_shape = {7400, 40000, 0, 1};

/// Returns the path of the shipped configuration, and the configuration itself, loaded once.
const char *bench_cfg_path();
const pdata_cfg_t *bench_cfg();

/// Returns a description as the driver reads it: a copy of the text.
pdd_t bench_pdd(std::string_view text);

/// Returns the text of the shipped example.
std::string bench_example();

/// Returns the path of a file of that name in a temporary directory, which is removed at the end.
std::string bench_file(const std::string &name);

/// Serializes a description. Ends the program when that fails.
void bench_serialize(const pdd_t &pdd, pdb_list_t *pdb);
