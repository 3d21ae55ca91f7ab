#include "log_reader.h"

#include <algorithm>

namespace
{

void ask_names(log_names_t &names, field_bag_t &bag)
{
    const auto ask = [&bag](const char *name) { return field_bag_ask(bag, name); };
    names = {
        .event_type = ask("event_type"),
        .flow_id = ask("flow_id"),
        .direction = ask("direction"),
        .app_proto = ask("app_proto"),
        .src_ip = ask("src_ip"),
        .src_port = ask("src_port"),
        .dest_ip = ask("dest_ip"),
        .dest_port = ask("dest_port"),
        .proto = ask("proto"),
        .icmp_type = ask("icmp_type"),
        .icmp_code = ask("icmp_code"),
        .uid = ask("uid"),
        .zeek_log = ask("_path"),
        .orig_h = ask("id.orig_h"),
        .orig_p = ask("id.orig_p"),
        .resp_h = ask("id.resp_h"),
        .resp_p = ask("id.resp_p"),
        .service = ask("service"),
        .eve_totals = {{ask("flow.pkts_toserver"), ask("flow.pkts_toclient")},
                       {ask("flow.bytes_toserver"), ask("flow.bytes_toclient")}},
        .zeek_totals = {{ask("orig_pkts"), ask("resp_pkts")},
                        {ask("orig_ip_bytes"), ask("resp_ip_bytes")}},
    };
}

flow_record_t record_of(const log_ends_t &ends)
{
    flow_record_t record;
    record.ends = {ends.from, ends.to};
    record.trust = ends.sure ? FLOW_TRUST_OPENING : FLOW_TRUST_FIRST;
    record.protocol = static_cast<uint8_t>(std::max(ends.protocol, 0));
    record.has_ports = ends.protocol == 6 || ends.protocol == 17 || ends.protocol == 132;
    record.icmp_type = ends.icmp_type;
    record.icmp_code = ends.icmp_code;
    return record;
}

void hand_over_oldest(log_reader_t &reader)
{
    log_flow_t &oldest = reader.flows.front();
    reader.by_id.erase(oldest.id);
    reader.sink(oldest.record);
    reader.flows.pop_front();
}

flow_record_t &add_flow(log_reader_t &reader, const log_ends_t &ends)
{
    while (reader.flows.size() >= std::max<size_t>(reader.window, 1)) {
        ++reader.evicted;
        hand_over_oldest(reader);
    }
    reader.flows.push_back({ends.id, record_of(ends)});
    const auto added = std::prev(reader.flows.end());
    if (!added->id.empty())
        reader.by_id.emplace(added->id, added);
    return added->record;
}

} // namespace

void log_reader_open(log_reader_t &reader, flow_sink_t sink, size_t window)
{
    reader.sink = std::move(sink);
    reader.window = window;
    ask_names(reader.names, reader.bag);
    reader.eve_rules = capture_rules("eve", reader.bag);
    reader.zeek_rules = capture_rules("zeek", reader.bag);
}

log_header_t log_reader_begin(std::string_view name)
{
    log_header_t header;
    name.remove_prefix(name.rfind('/') + 1);
    header.log = name.substr(0, name.find('.'));
    return header;
}

void log_reader_end(log_reader_t &reader)
{
    while (!reader.flows.empty())
        hand_over_oldest(reader);
}

flow_record_t &log_reader_flow(log_reader_t &reader, const log_ends_t &ends, uint8_t &side)
{
    const auto found = reader.by_id.find(ends.id);
    if (ends.id.empty() || found == reader.by_id.end()) {
        side = 0;
        return add_flow(reader, ends);
    }
    flow_record_t &record = found->second->record;
    side = record.ends[0] == ends.from ? 0 : 1;
    if (ends.sure)
        flow_record_set_client(record, side, FLOW_TRUST_OPENING);
    return record;
}

void log_reader_count(const log_reader_t &reader, const log_totals_t &totals, flow_record_t &record,
                      uint8_t side)
{
    const auto grow = [&reader](uint64_t &total, uint32_t name) {
        const int64_t value = field_bag_number(reader.bag, name, 0);
        total = std::max(total, static_cast<uint64_t>(std::max<int64_t>(value, 0)));
    };
    for (size_t way = 0; way < 2; ++way) {
        grow(record.packets[side ^ way], totals.packets[way]);
        grow(record.bytes[side ^ way], totals.bytes[way]);
    }
}

void log_reader_finish(log_reader_t &reader, const std::string &id)
{
    auto flow = std::prev(reader.flows.end());
    if (!id.empty()) {
        const auto found = reader.by_id.find(id);
        flow = found->second;
        reader.by_id.erase(found);
    }
    reader.sink(flow->record);
    reader.flows.erase(flow);
}
