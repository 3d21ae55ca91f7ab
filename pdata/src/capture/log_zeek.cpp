#include <algorithm>
#include <array>
#include <utility>

#include "certificate.h"
#include "log_reader.h"

namespace
{

/// A member by which a log of Zeek is known that does not say which one it is.
struct telltale_t {
    const char *log;
    std::string_view member;
};
constexpr std::array telltales = {
    telltale_t{"conn", "\"conn_state\":"},
    telltale_t{"dns", "\"trans_id\":"},
    telltale_t{"dns", "\"qclass\":"},
    telltale_t{"sip", "\"call_id\":"},
    telltale_t{"quic", "\"client_initial_dcid\":"},
    telltale_t{"quic", "\"client_scid\":"},
    telltale_t{"http", "\"trans_depth\":"},
    telltale_t{"ssl", "\"established\":"},
};

/// The logs whose fields the table knows.
constexpr std::array<std::string_view, 6> known_logs = {"conn", "dns",  "sip",
                                                        "quic", "http", "ssl"};

std::string_view log_of(std::string_view line, std::string_view said, std::string_view file)
{
    if (!said.empty())
        return said;
    if (std::ranges::find(known_logs, file) != known_logs.end())
        return file;
    for (const telltale_t &row : telltales)
        if (line.find(row.member) != std::string_view::npos)
            return row.log;
    return file;
}

/// Appends a text to `plain`, with bytes in place of "\xHH".
void unescape(std::string_view text, std::string &plain)
{
    for (size_t i = 0; i < text.size(); ++i) {
        const bool escape = text.substr(i).starts_with("\\x");
        const std::string byte =
            escape ? hex_bytes(text.substr(std::min(i + 2, text.size()), 2)) : "";
        plain += byte.size() == 1 ? byte.front() : text[i];
        i += byte.size() == 1 ? 3 : 0;
    }
}

/// Adds a value to a bag, without its escapes.
void put_unescaped(field_bag_t &bag, uint32_t number, std::string_view value)
{
    if (value.find('\\') == std::string_view::npos) {
        field_bag_put(bag, number, value);
        return;
    }
    const size_t begin = bag.made.size();
    unescape(value, bag.made);
    field_bag_put(bag, number, std::string_view(bag.made).substr(begin));
}

/// Takes the text in front of a separator off the front.
std::string_view take_part(std::string_view &text, std::string_view separator)
{
    const size_t end = separator.empty() ? std::string_view::npos : text.find(separator);
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + separator.size());
    return part;
}

/// Fields of which a value is a set or a list.
bool is_list(std::string_view field)
{
    return field.ends_with("_mime_types");
}

/// Takes a line of the header, as in "#path<tab>conn".
void read_header(const field_bag_t &bag, log_header_t &header, std::string_view line)
{
    std::string_view rest = line;
    const bool first = line.starts_with("#separator ");
    const std::string_view key = take_part(rest, first ? " " : header.separator);
    if (first) {
        header.separator.clear();
        unescape(rest, header.separator);
    } else if (key == "#set_separator")
        header.set_separator = rest;
    else if (key == "#empty_field")
        header.empty_field = rest;
    else if (key == "#unset_field")
        header.unset_field = rest;
    else if (key == "#path")
        header.log = rest;
    else if (key == "#fields") {
        header.columns.clear();
        while (!rest.empty()) {
            const std::string_view field = take_part(rest, header.separator);
            const auto known = bag.numbers.find(field);
            header.columns.push_back(
                {known == bag.numbers.end() ? FIELD_UNASKED : known->second, is_list(field)});
        }
    }
}

/// Adds the value of a column, or the elements of a list.
void add_column(log_reader_t &reader, const log_header_t &header, const log_column_t &column,
                std::string_view value)
{
    do
        put_unescaped(reader.bag, column.number,
                      column.is_list ? take_part(value, header.set_separator)
                                     : std::exchange(value, {}));
    while (!value.empty());
}

std::string read_columns(log_reader_t &reader, const log_header_t &header, std::string_view line)
{
    if (header.columns.empty())
        return "neither JSON nor a record of a Zeek log with its header";
    field_bag_clear(reader.bag, line.size());
    size_t nr = 0;
    bool more = true;
    for (; more && nr < header.columns.size(); ++nr) {
        const size_t left = line.size();
        const std::string_view value = take_part(line, header.separator);
        more = value.size() != left;
        const log_column_t &column = header.columns[nr];
        if (column.number != FIELD_UNASKED && value != header.unset_field &&
            value != header.empty_field)
            add_column(reader, header, column, value);
    }
    return more || nr != header.columns.size() ? "another number of columns than its log has" : "";
}

log_ends_t read_ends(const log_reader_t &reader)
{
    const log_names_t &names = reader.names;
    const auto port = [&reader](uint32_t name) {
        return static_cast<uint16_t>(
            std::clamp<int64_t>(field_bag_number(reader.bag, name, 0), 0, 65535));
    };
    log_ends_t ends;
    (void)flow_end_read(field_bag_first(reader.bag, names.orig_h), ends.from);
    (void)flow_end_read(field_bag_first(reader.bag, names.resp_h), ends.to);
    ends.from.port = port(names.orig_p);
    ends.to.port = port(names.resp_p);
    ends.protocol = ip_protocol_number(field_bag_first(reader.bag, names.proto));
    if (const std::string_view id = field_bag_first(reader.bag, names.uid); !id.empty())
        ends.id = "zeek " + std::string(id);
    return ends;
}

/// What stands as ports of ICMP is its type and code.
void turn_icmp(log_ends_t &ends)
{
    if (ends.protocol != 1 && ends.protocol != 58)
        return;
    ends.protocol = ends.from.kind == FLOW_IP6 ? 58 : 1;
    ends.icmp_type = ends.from.port <= 255 ? ends.from.port : -1;
    ends.icmp_code = ends.to.port <= 255 ? ends.to.port : -1;
    ends.from.port = ends.to.port = 0;
}

/// The protocol of logs that do not say it.
int protocol_of_log(std::string_view log)
{
    if (log == "quic")
        return 17;
    return log == "http" || log == "ssl" ? 6 : -1;
}

/// Says the protocols of "service", which stand apart by commas.
void say_services(flow_record_t &record, std::string_view services)
{
    if (services.empty())
        return;
    flow_record_add_protocol(record, ip_protocol_name(record.protocol));
    while (!services.empty()) {
        const std::string_view name = take_part(services, ",");
        if (!name.empty() && name.front() != '-')
            flow_record_add_protocol(record, name);
    }
}

} // namespace

std::string log_reader_zeek(log_reader_t &reader, std::string_view log)
{
    log_ends_t ends = read_ends(reader);
    if (ends.from.kind == FLOW_PROTOCOL || ends.to.kind == FLOW_PROTOCOL)
        return "";
    if (ends.protocol < 0)
        ends.protocol = protocol_of_log(log);
    turn_icmp(ends);
    uint8_t side = 0;
    flow_record_t &record = log_reader_flow(reader, ends, side);
    if (log == "conn")
        say_services(record, field_bag_first(reader.bag, reader.names.service));
    log_reader_count(reader, reader.names.zeek_totals, record, side);
    capture_rules_apply(reader.zeek_rules, reader.bag, {log, {}, side, {}}, record);
    if (ends.id.empty())
        log_reader_finish(reader, ends.id);
    return {};
}

std::string log_reader_line(log_reader_t &reader, log_header_t &header, std::string_view line)
{
    if (line.empty())
        return {};
    if (line.front() == '#') {
        read_header(reader.bag, header, line);
        return {};
    }
    if (line.front() != '{') {
        const std::string fault = read_columns(reader, header, line);
        return fault.empty() ? log_reader_zeek(reader, header.log) : fault;
    }
    if (!field_bag_read_json(reader.bag, line))
        return "no JSON object";
    if (!field_bag_first(reader.bag, reader.names.event_type).empty())
        return log_reader_eve(reader);
    if (field_bag_first(reader.bag, reader.names.orig_h).empty())
        return "neither an event of EVE nor a record of Zeek";
    const std::string log(
        log_of(line, field_bag_first(reader.bag, reader.names.zeek_log), header.log));
    return log_reader_zeek(reader, log);
}
