#include "field_transform.h"

#include <algorithm>
#include <array>

#include "certificate.h"
#include "field_bag.h"
#include "field_header.h"
#include "field_proof.h"

namespace
{

using values_t = std::vector<flow_attr_t>;

values_t as_text(const field_text_t &text, std::string_view)
{
    const proved_t proved = field_prove(text);
    return {field_bytes(proved.text, proved.incomplete)};
}

values_t as_url(const field_text_t &text, std::string_view)
{
    return text.text.find("://") == std::string_view::npos ? values_t() : as_text(text, {});
}

values_t as_open(const field_text_t &text, std::string_view)
{
    return {field_bytes(field_without_replaced(text.text).text, true)};
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
    const proved_t proved = field_prove(text);
    return {field_bytes(host_of(proved.text), proved.incomplete)};
}

/// The host of "scheme://user@host:port/path".
values_t as_url_host(const field_text_t &text, std::string_view)
{
    const proved_t proved = field_prove(text);
    std::string_view rest = proved.text;
    const size_t scheme = rest.find("://");
    if (scheme == std::string_view::npos)
        return {};
    rest.remove_prefix(scheme + 3);
    const size_t end = rest.find_first_of("/?#");
    rest = rest.substr(0, end);
    rest.remove_prefix(rest.rfind('@') + 1);
    return {field_bytes(host_of(rest), proved.incomplete && end == std::string_view::npos)};
}

/// The host of "sip:user@host:port;parameters".
values_t as_sip_host(const field_text_t &text, std::string_view)
{
    const proved_t proved = field_prove(text);
    std::string_view rest = proved.text;
    rest.remove_prefix(std::min(rest.find(':') + 1, rest.size()));
    rest.remove_prefix(rest.rfind('@') + 1);
    const size_t end = rest.find_first_of(";?>");
    return {field_bytes(host_of(rest.substr(0, end)),
                        proved.incomplete && end == std::string_view::npos)};
}

values_t as_percent(const field_text_t &text, std::string_view)
{
    const proved_t proved = field_prove(text);
    return {field_bytes(percent_decoded(proved.text), proved.incomplete)};
}

values_t as_path(const field_text_t &text, std::string_view)
{
    const proved_t proved = field_prove(text);
    const size_t query = proved.text.find('?');
    return {field_bytes(percent_decoded(proved.text.substr(0, query)),
                        proved.incomplete && query == std::string_view::npos)};
}

values_t as_query(const field_text_t &text, std::string_view)
{
    const proved_t proved = field_prove(text);
    const size_t query = proved.text.find('?');
    if (query == std::string_view::npos)
        return {};
    return {field_bytes(percent_decoded(proved.text.substr(query + 1)), proved.incomplete)};
}

/// One part of a distinguished name, where it has that.
values_t part_of_name(const field_text_t &text, std::string_view key)
{
    const std::string part = name_part(text.text, key);
    if (part.empty())
        return {};
    const proved_t proved = field_without_replaced(part);
    return {field_bytes(proved.text, proved.incomplete)};
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
        values.push_back(field_bytes(name, false));
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
    transformation_t{"line", field_line},
    transformation_t{"header", field_header},
    transformation_t{"host_header", field_host_header},
    transformation_t{"payload_header", field_payload_header},
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
