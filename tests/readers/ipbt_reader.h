/// Reader of serialized IPv4 binary trees: checks one and finds the protocols of an address.
///
/// It works on the blob alone. Every length, index and offset is checked when the blob is opened,
/// so that a lookup can neither leave it nor run in circles.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

/// A checked tree, whose blob must outlive the reader.
struct ipbt_reader {
    std::span<const uint8_t> nodes; ///< three words per node: both children, the list's offset
    std::span<const uint8_t> data;  ///< lists: a count and as many protocol ids, in words
};

/// Opens the tree `blob`, which must hold nothing else. Returns 0, or -1 for a damaged one: the
/// reader must then not be used.
[[nodiscard]] int ipbt_reader_open(ipbt_reader *reader, std::span<const uint8_t> blob);

/// Returns the protocols of all prefixes that hold `address` (host order, the first octet most
/// significant), those of the shortest prefix first.
std::vector<uint32_t> ipbt_reader_find(const ipbt_reader &reader, uint32_t address);
