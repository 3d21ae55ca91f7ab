#include "field_header.h"

#include <algorithm>

#include "certificate.h"
#include "csa_char.h"
#include "csa_cut.h"
#include "field_proof.h"

namespace
{

/// A header line without its end, which proves that all of it is there.
proved_t header_line(const field_text_t &text)
{
    proved_t proved = field_without_replaced(text.text);
    const size_t end = proved.text.find_last_not_of("\r\n") + 1;
    proved.incomplete = proved.incomplete || end == proved.text.size();
    proved.text = proved.text.substr(0, end);
    return proved;
}

/// Returns a header's value without what stands around it.
std::string_view without_blanks(std::string_view value)
{
    value.remove_prefix(std::min(value.find_first_not_of(" \t\r"), value.size()));
    return value.substr(0, value.find_last_not_of(" \t\r") + 1);
}

} // namespace

std::vector<flow_attr_t> field_line(const field_text_t &text, std::string_view)
{
    const proved_t proved = header_line(text);
    return {field_bytes(proved.text, proved.incomplete)};
}

std::vector<flow_attr_t> field_header(const field_text_t &text, std::string_view name)
{
    const proved_t proved = header_line(text);
    const size_t colon = proved.text.find(':');
    if (colon == std::string_view::npos ||
        !std::ranges::equal(proved.text.substr(0, colon), name, {}, char_small))
        return {};
    return {field_bytes(without_blanks(proved.text.substr(colon + 1)), proved.incomplete)};
}

std::vector<flow_attr_t> field_payload_header(const field_text_t &text, std::string_view name)
{
    const std::string payload = hex_bytes(text.text);
    for (std::string_view rest = payload; !rest.empty() && !rest.starts_with("\r\n");) {
        const std::string_view line = csa_cut(rest, '\n');
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos ||
            !std::ranges::equal(line.substr(0, colon), name, {}, char_small))
            continue;
        const bool ends = line.data() + line.size() < payload.data() + payload.size();
        return {field_bytes(without_blanks(line.substr(colon + 1)), !ends)};
    }
    return {};
}

std::vector<flow_attr_t> field_host_header(const field_text_t &text, std::string_view name)
{
    std::vector<flow_attr_t> values = field_header(text, name);
    for (flow_attr_t &value : values)
        value.bytes = std::string(host_of(value.bytes));
    return values;
}
