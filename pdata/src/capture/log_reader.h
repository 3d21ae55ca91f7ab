/// Flows from logs: Suricata's EVE (JSON) and Zeek's (JSON, or tabs with a header).
///
/// The records of one flow are joined by "flow_id" or "uid" within a window: a flow is handed over
/// when a flow event of EVE ends it, when it is the oldest of the window, or at the end of all
/// input. A record without such an id is a flow by itself. Whether a line is one of EVE or of Zeek
/// is told by its members, so streams may be mixed.
#pragma once

#include <functional>
#include <list>

#include "capture_fields.h"

/// Flows that are open at once, unless said otherwise.
constexpr size_t FLOW_WINDOW = 65536;

/// Takes a finished flow.
using flow_sink_t = std::function<void(flow_record_t &)>;

/// A column of a Zeek log.
struct log_column_t {
    uint32_t number;      ///< of the field in a bag, FIELD_UNASKED for one that is not asked for
    bool is_list = false; ///< a value is a set or a list
};

/// What the lines of an input said about those that follow: the header of a Zeek log.
struct log_header_t {
    std::string separator = "\t";
    std::string set_separator = ",";
    std::string empty_field = "(empty)";
    std::string unset_field = "-";
    std::string log; ///< name of the log, from "#path" or the file's name
    std::vector<log_column_t> columns;
};

/// A flow of the window.
struct log_flow_t {
    std::string id;
    flow_record_t record;
};

/// Fields with packets and bytes, of the client first.
struct log_totals_t {
    std::array<uint32_t, 2> packets, bytes;
};

/// Fields that every record is asked for, by their numbers in a bag.
struct log_names_t {
    uint32_t event_type, flow_id, direction, app_proto;
    uint32_t src_ip, src_port, dest_ip, dest_port, proto, icmp_type, icmp_code;
    uint32_t uid, zeek_log, orig_h, orig_p, resp_h, resp_p, service;
    log_totals_t eve_totals, zeek_totals;
};

struct log_reader_t {
    flow_sink_t sink;
    size_t window = FLOW_WINDOW;
    field_bag_t bag;
    capture_rules_t eve_rules;
    capture_rules_t zeek_rules;
    log_names_t names = {};
    std::list<log_flow_t> flows; ///< the oldest first
    std::unordered_map<std::string_view, std::list<log_flow_t>::iterator> by_id; ///< into `flows`
    uint64_t evicted = 0; ///< handed over for want of room
};

/// Makes a reader that hands flows to `sink`.
void log_reader_open(log_reader_t &reader, flow_sink_t sink, size_t window);

/// Begins an input: forgets the header of the one before. `name` is the name of the file, whose
/// part in front of the first point names a Zeek log that does not say itself which one it is.
log_header_t log_reader_begin(std::string_view name);

/// Takes a line. Returns what is wrong with it, empty for nothing.
[[nodiscard]] std::string log_reader_line(log_reader_t &reader, log_header_t &header,
                                          std::string_view line);

/// Hands over what is left of the window.
void log_reader_end(log_reader_t &reader);

/// What the readers of single records share: they find the flow of a record, and turn it.
/// @{

/// What a record says of its flow.
struct log_ends_t {
    std::string id; ///< empty for none
    flow_end_t from;
    flow_end_t to;
    int protocol = -1;
    int icmp_type = -1;
    int icmp_code = -1;
    bool sure = true; ///< `from` is the client
};

/// Returns the flow that a record belongs to, and the side that `from` is.
flow_record_t &log_reader_flow(log_reader_t &reader, const log_ends_t &ends, uint8_t &side);

/// Takes totals over, which grow from record to record; `side` is the client's.
void log_reader_count(const log_reader_t &reader, const log_totals_t &totals, flow_record_t &record,
                      uint8_t side);

/// Hands a flow over, and forgets it: that with an id, or for an empty one that of the last record.
void log_reader_finish(log_reader_t &reader, const std::string &id);

[[nodiscard]] std::string log_reader_eve(log_reader_t &reader);
[[nodiscard]] std::string log_reader_zeek(log_reader_t &reader, std::string_view log);

/// @}
