/// Lists of addresses and of ports, read into ranges and merged.
///
///     addresses  blocks "192.0.2.0/24", ranges "192.0.2.1-192.0.2.9", single ones, IPv4 and IPv6
///     ports      "80", "8000-8080", "443/tcp", "53/udp"; without a transport both
///
/// Several entries of a line stand apart by blanks or commas, blanks around the dash of a range do
/// not count, and "#" begins a comment. Bits behind the prefix of a block do not count.
#pragma once

#include <array>

#include "import_values.h"

/// A number of up to 128 bits.
using import_number_t = unsigned __int128;

/// The numbers of a kind: its attribute, and how wide its numbers are.
enum number_kind_t : uint32_t {
    NUMBER_IP,
    NUMBER_IP6,
    NUMBER_TCP_PORT,
    NUMBER_UDP_PORT,
};
constexpr size_t NUMBER_KINDS = 4;

/// Numbers from `first` to `last`, both included.
struct number_range_t {
    import_number_t first = 0;
    import_number_t last = 0;
    import_place_t place; ///< of the first entry that is in it
};

/// The ranges of each kind, and what could not be read.
struct number_import_t {
    std::array<std::vector<number_range_t>, NUMBER_KINDS> ranges;
    std::vector<import_finding_t> findings;
};

/// Reads an address, of IPv6 where `wide` is set.
bool import_address(std::string_view text, bool wide, import_number_t &number);

/// Reads a list called `file`, of ports or of addresses, and adds what it holds.
void import_numbers_read(bool ports, const std::string &file, std::string_view text,
                         number_import_t &numbers);

/// Sorts ranges and merges those that overlap or touch.
void import_numbers_merge(std::vector<number_range_t> &ranges);

/// Returns values that fire on the numbers of merged ranges and on no others: an item a value, or
/// many where `compact` is set. IPv6 ranges are cut into the fewest blocks.
std::vector<import_value_t>
import_number_values(number_kind_t kind, const std::vector<number_range_t> &ranges, bool compact);
