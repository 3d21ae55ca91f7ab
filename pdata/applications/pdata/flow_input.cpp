#include "flow_input.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "byte_source.h"

namespace
{

/// Bad lines of an input that are named; the rest are counted.
constexpr uint64_t named_lines = 10;

struct flow_input_run_t {
    const flow_input_options_t &options;
    console_t &console;
    flow_totals_t &totals;
    const flow_sink_t &sink;
    log_reader_t logs = {};
    exit_status_t status = EXIT_STATUS_FINE;
};

void hand_over(flow_input_run_t &run, flow_record_t &record)
{
    ++run.totals.flows;
    run.totals.packets += record.packets[0] + record.packets[1];
    run.totals.bytes += record.bytes[0] + record.bytes[1];
    run.totals.dropped_values += record.dropped;
    run.sink(record);
}

void read_lines(flow_input_run_t &run, byte_source_t &source, const std::string &name)
{
    log_header_t header = log_reader_begin(name);
    uint64_t number = 0;
    uint64_t bad = 0;
    std::string_view line;
    for (line_result_t read; (read = byte_source_line(source, line)) != LINE_NONE;) {
        ++number;
        const std::string fault = read == LINE_READ ? log_reader_line(run.logs, header, line)
                                                    : "a line of more than 16 MiB";
        if (!fault.empty() && ++bad <= named_lines)
            console_error(run.console, "{}:{}: {}", name, number, fault);
    }
    if (bad > named_lines)
        console_error(run.console, "{}: {} bad lines in all", name, bad);
    run.totals.bad_lines += bad;
}

void fail(flow_input_run_t &run, const std::string &name, const std::string &reason)
{
    console_error(run.console, "{}: {}", name, reason);
    run.status = EXIT_STATUS_FILE;
}

void read_input(flow_input_run_t &run, const std::string &path)
{
    const bool standard = path == "-";
    const std::string name = standard ? "standard input" : path;
    byte_source_t source = {standard ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    if (source.fd < 0) {
        fail(run, name, std::strerror(errno));
        return;
    }
    read_lines(run, source, name);
    if (source.system_error != 0)
        fail(run, name, std::strerror(source.system_error));
    if (!standard)
        close(source.fd);
}

json_document_t end_document(const flow_record_t &record, const flow_end_t &end)
{
    json_document_t document = {{"address", flow_end_text(end)}};
    if (record.has_ports)
        document["port"] = end.port;
    return document;
}

} // namespace

void flow_input_declare(CLI::App &app, flow_input_options_t &options)
{
    app.add_option("INPUT", options.inputs,
                   "Logs: EVE (JSON), Zeek (JSON, or tabs with a header); - is standard input")
        ->required();
    app.add_flag("--initiator", options.initiator,
                 "Address and port of the initiator too, not of the responder alone");
    app.add_option("--window", options.window,
                   "Flows that are open at once; beyond that the oldest is ended")
        ->check(CLI::Range(size_t{1}, size_t{1} << 24))
        ->capture_default_str();
}

exit_status_t flow_input_run(const flow_input_options_t &options, console_t &console,
                             flow_totals_t &totals, const flow_sink_t &sink)
{
    flow_input_run_t run = {options, console, totals, sink};
    const flow_sink_t counted = [&run](flow_record_t &record) { hand_over(run, record); };
    log_reader_open(run.logs, counted, options.window);
    for (const std::string &path : options.inputs)
        read_input(run, path);
    log_reader_end(run.logs);
    totals.evicted += run.logs.evicted;
    return run.status;
}

void flow_fill(json_document_t &document, const flow_record_t &record)
{
    document["initiator"] = end_document(record, record.ends[record.client]);
    document["responder"] = end_document(record, record.ends[1 - record.client]);
    document["transport"] = ip_protocol_name(record.protocol);
    if (!record.tunnel.empty())
        document["tunnel"] = record.tunnel;
    document["generation"] = record.generation;
    document["seam"] = record.seam;
    document["packets"] = record.packets[0] + record.packets[1];
    document["bytes"] = record.bytes[0] + record.bytes[1];
}

json_document_t flow_totals_document(const flow_totals_t &totals)
{
    return {{"flows", totals.flows},     {"packets", totals.packets},
            {"bytes", totals.bytes},     {"bad_lines", totals.bad_lines},
            {"evicted", totals.evicted}, {"dropped_values", totals.dropped_values}};
}
