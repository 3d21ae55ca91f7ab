#include "flow_input.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <sys/stat.h>

#include "input_file.h"
#include "line_input.h"

namespace
{

/// What files of gzip, zstd, bzip2 and xz begin with. No log does.
constexpr std::string_view compressed[] = {"\x1F\x8B", "\x28\xB5\x2F\xFD", "BZh", "\xFD\x37zXZ"};

struct flow_input_run_t {
    const flow_input_options_t &options;
    console_t &console;
    flow_totals_t &totals;
    const flow_sink_t &sink;
    capture_setup_t setup = {};
    log_reader_t logs = {};
    bool said_lacking = false;
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

void flush(void *console)
{
    console_flush(*static_cast<console_t *>(console));
}

void read_lines(flow_input_run_t &run, byte_source_t &source, const std::string &name)
{
    log_header_t header = log_reader_begin(name);
    source.before_read = flush; // what was found so far goes out before more is waited for
    source.context = &run.console;
    const auto take = [&](std::string_view line, uint64_t, flow_error_t &error) {
        error.text = log_reader_line(run.logs, header, line);
        return error.text.empty();
    };
    run.totals.bad_lines += line_input_read(run.console, name, source, take);
}

void fail(flow_input_run_t &run, const std::string &name, const std::string &reason)
{
    console_error(run.console, "{}: {}", name, reason);
    run.status = EXIT_STATUS_FILE;
}

/// Says once which fields of the table this machine's tshark does not have.
void say_lacking(flow_input_run_t &run)
{
    std::string names;
    for (const std::string &field : run.setup.lacking)
        names += (names.empty() ? "" : ", ") + field;
    if (!std::exchange(run.said_lacking, true) && !names.empty())
        console_error(run.console, "this tshark lacks the fields {}", names);
}

/// Tells whether an input may be waited for: it is a pipe, a terminal or a socket, and no file.
bool is_growing(int fd)
{
    struct stat status;
    return fstat(fd, &status) == 0 && !S_ISREG(status.st_mode);
}

void read_capture(flow_input_run_t &run, capture_inputs_t &inputs, capture_input_t &input,
                  const std::string &name)
{
    if (capture_setup_ask(run.setup).empty())
        say_lacking(run);
    const bool grows = is_growing(input.source.fd);
    capture_inputs_take(inputs, input, [&run, grows](flow_record_t &record) {
        hand_over(run, record);
        if (grows)
            flush(&run.console);
    });
    run.totals.bad_lines += input.counts.bad_lines;
    run.totals.evicted += input.counts.evicted;
    if (!input.fault.empty())
        fail(run, name, input.fault);
}

bool is_compressed(byte_source_t &source)
{
    const std::string_view head = byte_source_peek(source, 8);
    return std::ranges::any_of(compressed,
                               [head](std::string_view magic) { return head.starts_with(magic); });
}

void read_input(flow_input_run_t &run, capture_inputs_t &inputs, size_t number)
{
    capture_input_t &input = capture_inputs_begin(inputs, number);
    const std::string name = input_file_name(input.path);
    if (input.system_error != 0)
        fail(run, name, std::strerror(input.system_error));
    else if (input.is_capture)
        read_capture(run, inputs, input, name);
    else if (is_compressed(input.source))
        fail(run, name, "compressed; unpack it on the way, as in \"zcat FILE | pdata flows -\"");
    else
        read_lines(run, input.source, name);
    if (input.source.system_error != 0)
        fail(run, name, std::strerror(input.source.system_error));
    capture_inputs_end(input);
}

/// Says how many lines could not be read, those of tshark too, which nobody named. A summary in
/// JSON has the number.
void say_bad_lines(const flow_input_run_t &run)
{
    const uint64_t bad = run.totals.bad_lines;
    if (bad != 0 && run.console.format != OUTPUT_JSON)
        console_error(run.console, "{} {} could not be read", bad, bad == 1 ? "line" : "lines");
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
    app.add_option(
           "INPUT", options.inputs,
           "Captures (pcap, pcapng) and logs: EVE (JSON), Zeek (JSON, or tabs with a header);\n"
           "- is standard input")
        ->required();
    app.add_flag("--initiator", options.initiator,
                 "Address and port of the initiator too, not of the responder alone");
    app.add_option("--window", options.window,
                   "Flows that are open at once; beyond that the oldest is ended")
        ->check(CLI::Range(size_t{1}, size_t{1} << 24))
        ->capture_default_str();
    app.add_option("--piece", options.piece, "Packets of a capture that one tshark is given")
        ->check(CLI::Range(uint64_t{1}, uint64_t{1} << 32))
        ->capture_default_str();
    app.add_option("--jobs", options.jobs,
                   "Captures that are read at once; what comes out is the same")
        ->type_name("N")
        ->check(CLI::Range(size_t{1}, size_t{256}))
        ->capture_default_str();
}

exit_status_t flow_input_run(const flow_input_options_t &options, console_t &console,
                             flow_totals_t &totals, const flow_sink_t &sink)
{
    flow_input_run_t run = {options, console, totals, sink};
    log_reader_open(
        run.logs, [&run](flow_record_t &record) { hand_over(run, record); }, options.window);
    run.setup.window = options.window;
    run.setup.payload_bytes = options.payload;
    run.setup.piece = options.piece;
    capture_inputs_t inputs(run.setup);
    capture_inputs_open(inputs, options.inputs, options.jobs);
    for (size_t number = 0; number < options.inputs.size(); ++number)
        read_input(run, inputs, number);
    log_reader_end(run.logs);
    totals.evicted += run.logs.evicted;
    say_bad_lines(run);
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
