/// Stored protocol descriptions: the writer.
///
/// The layout of one description stands in protodesc_tlv.h and is emitted by one function, which
/// sizes and writes. Names, paths and values are offsets into the string table of the record's
/// group; rule tags are offsets into the table of the tag names. Strings enter a table in the order
/// in which their words are written.
#pragma once

#include <cstdint>
#include <span>

#include "protodesc.h"
#include "tlv_sink.h"

/// A path that a rule may not have.
struct protodesc_path_fault_t {
    uint32_t nr_path = 0; ///< its elements; 0: there is no fault
    csa_str_t protocol;
    csa_str_t last; ///< its last element
};

/// Says on standard error what is wrong with a path. Returns PDATA_ERR_INVALID_ARGUMENT.
[[nodiscard]] pdata_status_t protodesc_path_failed(const protodesc_path_fault_t &fault);

/// Emits a description into a sink, and its strings into the record's two tables.
///
/// An attribute of a type or a way that cannot be stored is PDATA_ERR_PROTODESC_ATTR, an empty
/// string PDATA_ERR_ENGINE, each with a message. A path of one element, or one that does not end
/// with the protocol itself, is noted in `fault` unless one stands there; without `fault` a sink
/// that writes fails at it as protodesc_path_failed says.
[[nodiscard]] pdata_status_t protodesc_emit(const protodesc_build_t &pb, tlv_sink_t &sink,
                                            protodesc_path_fault_t *fault = nullptr);

/// Returns the size in bytes of a stored description. Strings are not looked at.
size_t protodesc_get_tlv_size(const protodesc_build_t &pb);

/// Emits a description at the start of `buf`, which must be zero-filled. Fails, with nothing
/// written, when `buf` is smaller than protodesc_get_tlv_size, and as protodesc_emit does.
[[nodiscard]] pdata_status_t protodesc_serialize(const protodesc_build_t &pb,
                                                 std::span<uint8_t> buf);
