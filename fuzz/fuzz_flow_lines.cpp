// Lines of logs and of tshark as input: what they lead to is a flow line that reads back the same.
#include <cstdint>
#include <cstdlib>

#include "flow_table.h"

namespace
{

void check_flow(flow_record_t &record)
{
    const flow_values_t values = flow_record_values(record, true);
    flow_values_t again;
    flow_error_t error;
    if (!flow_read(flow_write(values), again, error) || again != values)
        std::abort();
}

template <typename Take>
void for_each_line(std::string_view text, const Take &take)
{
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        take(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void run_logs(std::string_view text)
{
    log_reader_t logs;
    log_reader_open(logs, check_flow, 2);
    log_header_t header = log_reader_begin("ssl.log");
    for_each_line(text, [&](std::string_view line) { (void)log_reader_line(logs, header, line); });
    log_reader_end(logs);
}

void run_packets(std::string_view text)
{
    packet_reader_t reader;
    packet_reader_open(reader);
    flow_table_t table;
    table.sink = check_flow;
    table.window = 2;
    for_each_line(text, [&](std::string_view line) {
        packet_t packet;
        std::string fault;
        uint8_t side = 0;
        if (!packet_read(reader, line, packet, fault))
            return;
        flow_record_t &record = flow_table_add(table, packet, side);
        capture_rules_apply(reader.rules, reader.bag, {{}, packet.layers, side, packet.payload},
                            record);
    });
    flow_table_end(table);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    run_logs(text);
    run_packets(text);
    return 0;
}
