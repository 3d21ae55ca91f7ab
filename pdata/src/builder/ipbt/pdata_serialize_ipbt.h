/// The IPBT generator: the IPv4 table of the configuration becomes generated source text.
///
/// The table is read into an IPv4 binary tree, which is serialized and written as a byte array
/// with an accessor, for the run-time engine to compile in.
#pragma once

#include "pdata_cfg.h"
#include "pdata_error.h"
#include "text_stream.h"

/// Sizes of the two texts, in bytes.
constexpr size_t IPBT_SOURCE_SIZE = 1000000;
constexpr size_t IPBT_HEADER_SIZE = 500;

/// Generates the source and the header from every loaded file of the IPBT role. The streams start
/// empty, with the sizes above.
///
/// Returns PDATA_ERR_INVALID_ARGUMENT with a message for an absent argument or a stream without
/// size; PDATA_ERR_JSON_BAD_SYNTAX or PDATA_ERR_PRAGMAR with the front end's report for a table
/// that does not parse or cannot be read; PDATA_ERR_IPBT for a value of no known kind;
/// PDATA_ERR_NO_MEMORY; PDATA_ERR_IO for a text that does not fit. Both streams are partly written
/// after a failure.
[[nodiscard]] pdata_status_t pdata_serialize_ipbt(const pdata_cfg_t *cfg, text_stream_t *src,
                                                  text_stream_t *hdr);

struct ipbt_container_t;
struct ipbt_ip4_tree;

/// Registers every value of every rule under every mask of that rule.
[[nodiscard]] pdata_status_t ipbt_fill_tree_from_container(const ipbt_container_t &container,
                                                           ipbt_ip4_tree *tree);
