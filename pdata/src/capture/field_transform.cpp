#include "field_transform.h"

#include <algorithm>
#include <array>

#include "certificate.h"
#include "field_bag.h"

namespace
{

using values_t = std::vector<flow_attr_t>;

flow_attr_t bytes_value(std::string_view bytes, bool incomplete)
{
    flow_attr_t value;
    value.kind = FLOW_BYTES;
    value.bytes = bytes;
    value.incomplete = incomplete;
    return value;
}

/// A text with the place where it stops being what was sent.
struct proved_t {
    std::string_view text;
    bool incomplete;
};

/// Cuts a text where bytes were replaced.
proved_t without_replaced(std::string_view text)
{
    const size_t replaced = text.find("\xEF\xBF\xBD");
    return {text.substr(0, replaced), replaced != std::string_view::npos};
}

/// Tells whether a text ended at a zero byte of its frame.
bool cut_at_zero(std::string_view text, std::string_view payload)
{
    if (payload.find('\0') == std::string_view::npos)
        return false;
    const std::string with_zero = std::string(text) + '\0';
    return payload.find(with_zero) != std::string_view::npos;
}

proved_t prove(const field_text_t &text)
{
    proved_t proved = without_replaced(text.text);
    if (proved.incomplete)
        return proved;
    const bool size_differs =
        text.size >= 0 && static_cast<uint64_t>(text.size) != text.text.size();
    proved.incomplete = size_differs || (text.size < 0 && cut_at_zero(text.text, text.payload));
    return proved;
}

values_t as_text(const field_text_t &text, std::string_view)
{
    const proved_t proved = prove(text);
    return {bytes_value(proved.text, proved.incomplete)};
}

values_t as_url(const field_text_t &text, std::string_view)
{
    return text.text.find("://") == std::string_view::npos ? values_t() : as_text(text, {});
}

values_t as_open(const field_text_t &text, std::string_view)
{
    return {bytes_value(without_replaced(text.text).text, true)};
}

values_t as_number(const field_text_t &text, std::string_view)
{
    const int64_t number = field_number(text.text, -1);
    if (number < 0)
        return {};
    flow_attr_t value;
    value.kind = FLOW_NUMBER;
    value.number = static_cast<uint64_t>(number);
    return {value};
}

values_t as_host(const field_text_t &text, std::string_view)
{
    const proved_t proved = prove(text);
    return {bytes_value(host_of(proved.text), proved.incomplete)};
}

/// The host of "scheme://user@host:port/path".
values_t as_url_host(const field_text_t &text, std::string_view)
{
    const proved_t proved = prove(text);
    std::string_view rest = proved.text;
    const size_t scheme = rest.find("://");
    if (scheme == std::string_view::npos)
        return {};
    rest.remove_prefix(scheme + 3);
    const size_t end = rest.find_first_of("/?#");
    rest = rest.substr(0, end);
    rest.remove_prefix(rest.rfind('@') + 1);
    return {bytes_value(host_of(rest), proved.incomplete && end == std::string_view::npos)};
}

/// The host of "sip:user@host:port;parameters".
values_t as_sip_host(const field_text_t &text, std::string_view)
{
    const proved_t proved = prove(text);
    std::string_view rest = proved.text;
    rest.remove_prefix(std::min(rest.find(':') + 1, rest.size()));
    rest.remove_prefix(rest.rfind('@') + 1);
    const size_t end = rest.find_first_of(";?>");
    return {bytes_value(host_of(rest.substr(0, end)),
                        proved.incomplete && end == std::string_view::npos)};
}

values_t as_percent(const field_text_t &text, std::string_view)
{
    const proved_t proved = prove(text);
    return {bytes_value(percent_decoded(proved.text), proved.incomplete)};
}

values_t as_path(const field_text_t &text, std::string_view)
{
    const proved_t proved = prove(text);
    const size_t query = proved.text.find('?');
    return {bytes_value(percent_decoded(proved.text.substr(0, query)),
                        proved.incomplete && query == std::string_view::npos)};
}

values_t as_query(const field_text_t &text, std::string_view)
{
    const proved_t proved = prove(text);
    const size_t query = proved.text.find('?');
    if (query == std::string_view::npos)
        return {};
    return {bytes_value(percent_decoded(proved.text.substr(query + 1)), proved.incomplete)};
}

/// A header line without its end, which proves that all of it is there.
proved_t header_line(const field_text_t &text)
{
    proved_t proved = without_replaced(text.text);
    const size_t end = proved.text.find_last_not_of("\r\n") + 1;
    proved.incomplete = proved.incomplete || end == proved.text.size();
    proved.text = proved.text.substr(0, end);
    return proved;
}

values_t as_line(const field_text_t &text, std::string_view)
{
    const proved_t proved = header_line(text);
    return {bytes_value(proved.text, proved.incomplete)};
}

bool same_but_case(char a, char b)
{
    return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b;
}

/// Returns a header's value without what stands around it.
std::string_view without_blanks(std::string_view value)
{
    value.remove_prefix(std::min(value.find_first_not_of(" \t\r"), value.size()));
    return value.substr(0, value.find_last_not_of(" \t\r") + 1);
}

/// What stands behind "name:" of a header line.
values_t as_header(const field_text_t &text, std::string_view name)
{
    const proved_t proved = header_line(text);
    const size_t colon = proved.text.find(':');
    if (colon == std::string_view::npos ||
        !std::ranges::equal(proved.text.substr(0, colon), name, same_but_case))
        return {};
    return {bytes_value(without_blanks(proved.text.substr(colon + 1)), proved.incomplete)};
}

/// The value of a header among the lines of a frame's payload, which is given in hexadecimal.
values_t as_payload_header(const field_text_t &text, std::string_view name)
{
    const std::string payload = hex_bytes(text.text);
    for (std::string_view rest = payload; !rest.empty() && !rest.starts_with("\r\n");) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos ||
            !std::ranges::equal(line.substr(0, colon), name, same_but_case))
            continue;
        const bool ends = line.data() + line.size() < payload.data() + payload.size();
        return {bytes_value(without_blanks(line.substr(colon + 1)), !ends)};
    }
    return {};
}

values_t as_host_header(const field_text_t &text, std::string_view name)
{
    values_t values = as_header(text, name);
    for (flow_attr_t &value : values)
        value.bytes = std::string(host_of(value.bytes));
    return values;
}

/// One part of a distinguished name, where it has that.
values_t part_of_name(const field_text_t &text, std::string_view key)
{
    const std::string part = name_part(text.text, key);
    if (part.empty())
        return {};
    const proved_t proved = without_replaced(part);
    return {bytes_value(proved.text, proved.incomplete)};
}

values_t as_common_name(const field_text_t &text, std::string_view)
{
    return part_of_name(text, "CN");
}

values_t as_organization(const field_text_t &text, std::string_view)
{
    return part_of_name(text, "O");
}

values_t all_bytes(const std::vector<std::string> &names)
{
    values_t values;
    for (const std::string &name : names)
        values.push_back(bytes_value(name, false));
    return values;
}

values_t as_der_common_name(const field_text_t &text, std::string_view)
{
    return all_bytes(certificate_read(hex_bytes(text.text)).common_names);
}

values_t as_der_organization(const field_text_t &text, std::string_view)
{
    return all_bytes(certificate_read(hex_bytes(text.text)).organizations);
}

values_t as_der_alt_names(const field_text_t &text, std::string_view)
{
    return all_bytes(certificate_read(hex_bytes(text.text)).alt_names);
}

struct transformation_t {
    std::string_view name;
    values_t (*run)(const field_text_t &text, std::string_view argument);
};

constexpr std::array transformations = {
    transformation_t{"text", as_text},
    transformation_t{"sized", as_text},
    transformation_t{"sized_url", as_url},
    transformation_t{"open", as_open},
    transformation_t{"number", as_number},
    transformation_t{"host", as_host},
    transformation_t{"url_host", as_url_host},
    transformation_t{"sip_host", as_sip_host},
    transformation_t{"percent", as_percent},
    transformation_t{"path", as_path},
    transformation_t{"query", as_query},
    transformation_t{"line", as_line},
    transformation_t{"header", as_header},
    transformation_t{"host_header", as_host_header},
    transformation_t{"payload_header", as_payload_header},
    transformation_t{"common_name", as_common_name},
    transformation_t{"organization", as_organization},
    transformation_t{"der_common_name", as_der_common_name},
    transformation_t{"der_organization", as_der_organization},
    transformation_t{"der_alt_names", as_der_alt_names},
};

} // namespace

std::vector<flow_attr_t> field_transform(std::string_view transformation, const field_text_t &text)
{
    const size_t colon = std::min(transformation.find(':'), transformation.size());
    const auto *row = std::ranges::find(transformations, transformation.substr(0, colon),
                                        &transformation_t::name);
    if (row == transformations.end())
        return {};
    return row->run(text, transformation.substr(std::min(colon + 1, transformation.size())));
}

std::string_view host_of(std::string_view host)
{
    if (host.starts_with('['))
        return host.substr(1, host.find(']') - 1);
    const size_t colon = host.find(':');
    return colon == host.rfind(':') ? host.substr(0, colon) : host;
}

std::string percent_decoded(std::string_view text)
{
    std::string decoded;
    for (size_t i = 0; i < text.size(); ++i) {
        const std::string byte = text[i] == '%' ? hex_bytes(text.substr(i + 1, 2)) : "";
        decoded += byte.size() == 1 ? byte.front() : text[i];
        i += byte.size() == 1 ? 2 : 0;
    }
    return decoded;
}
