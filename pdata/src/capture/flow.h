/// A flow: what was seen of one conversation, as attribute values, in memory and as a line of text.
///
/// The line is what people write in tests and what tools pipe to each other:
///
///     ip:address stc 192.0.2.7; tcp:port stc 443; ssl:common_name cts "www.example.com"
///
/// Values stand apart by ";" and any number of blanks. A value is "protocol:attribute", the
/// direction ("cts" client to server, "stc" server to client) and what was seen: a decimal number,
/// an IPv4 or IPv6 address, or bytes in quotes. In quotes "\xHH" stands for a byte and "\\" and
/// "\"" for themselves; behind the quotes "*N" repeats the text, "+" joins it with the next one:
/// "\x00"*4+"SMB". "..." behind the last quotes says that more was sent than was seen. Instead of a
/// value, "has" and a protocol's name says that the flow has that protocol.
///
/// JSON was turned down for the line: these lines are written by hand, side by side with the
/// descriptions, and a text with quotes in it should be readable.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Directions, numbered as everywhere in memory.
enum flow_way_t : uint32_t {
    FLOW_WAY_NONE = 0, ///< of "has"
    FLOW_WAY_CTS = 1,
    FLOW_WAY_STC = 2,
};

/// What a value is.
enum flow_kind_t : uint32_t {
    FLOW_PROTOCOL, ///< "has": the flow has `protocol`; no attribute
    FLOW_BYTES,
    FLOW_NUMBER,
    FLOW_IP4,
    FLOW_IP6,
};

/// One attribute value.
struct flow_attr_t {
    std::string protocol;
    std::string attribute;
    flow_way_t way = FLOW_WAY_NONE;
    flow_kind_t kind = FLOW_PROTOCOL;
    std::string bytes;                    ///< of FLOW_BYTES
    uint64_t number = 0;                  ///< of FLOW_NUMBER
    std::array<uint8_t, 16> address = {}; ///< of FLOW_IP4 the first 4 bytes, of FLOW_IP6 all
    bool incomplete = false;              ///< more was sent than was seen

    bool operator==(const flow_attr_t &) const = default;
};

/// The values of a flow in the order in which they were seen.
using flow_values_t = std::vector<flow_attr_t>;

/// Most bytes of a value that a line may spell.
constexpr size_t FLOW_TEXT_MAX = size_t{1} << 20;

/// Most bytes of all values that a line may spell: "*N" makes much of a short line.
constexpr size_t FLOW_TEXTS_MAX = 64 * FLOW_TEXT_MAX;

/// Where and why a line was not understood.
struct flow_error_t {
    size_t column = 0; ///< bytes from the start of the line, from 1
    std::string text;
};

/// Reads a line into `values`, which is emptied first. Returns false, with an `error`, for a line
/// that is none: then `values` holds what stood in front of the mistake. An empty line is a flow
/// without values; a carriage return at the end is let go.
[[nodiscard]] bool flow_read(std::string_view line, flow_values_t &values, flow_error_t &error);

/// Returns a flow as a line, without a line end: printable ASCII as it is, every other byte as
/// "\xHH". What flow_read makes of it is equal to `values`.
std::string flow_write(std::span<const flow_attr_t> values);

/// Returns one value as it stands in a line, without its protocol, attribute and direction.
std::string flow_write_value(const flow_attr_t &value);

/// Reads an address from text into `value`, whose kind becomes FLOW_IP4 or FLOW_IP6. Returns false
/// for anything else; `value` is then as it was.
[[nodiscard]] bool flow_read_address(std::string_view text, flow_attr_t &value);
