#include "capture_reader.h"

namespace
{

/// A capture on its way: its flows, its packets, and the child and the piece that it is given.
struct capture_run_t {
    const capture_setup_t &setup;
    capture_counts_t &counts;
    int source;
    flow_table_t table = {};
    packet_reader_t reader = {};
    tshark_sink_t sink = {};
    tshark_child_t child = {};
    uint64_t packets = 0;
};

void take_line(capture_run_t &run, std::string_view line)
{
    packet_t packet;
    std::string fault;
    if (!packet_read(run.reader, line, packet, fault)) {
        run.counts.bad_lines += fault.empty() ? 0 : 1;
        return;
    }
    uint8_t side = 0;
    flow_record_t &record = flow_table_add(run.table, packet, side);
    if (!packet.embedded)
        capture_rules_apply(run.reader.rules, run.reader.bag,
                            {{}, packet.layers, side, packet.payload}, record);
}

std::string begin_piece(capture_run_t &run, const capture_file_t &file)
{
    run.packets = 0;
    const std::string fault = tshark_start(run.setup.fields, run.child);
    if (fault.empty())
        run.child.out = file.header;
    return fault;
}

std::string end_piece(capture_run_t &run)
{
    return tshark_finish(run.child, run.sink);
}

/// Feeds the whole capture, from piece to piece.
std::string feed(capture_run_t &run, byte_source_t &source, capture_file_t &file)
{
    std::string_view bytes;
    for (;;) {
        const capture_block_t block = capture_file_next(source, file, bytes);
        if (block == CAPTURE_END || block == CAPTURE_DAMAGED) {
            const std::string fault = end_piece(run);
            return block == CAPTURE_DAMAGED && fault.empty() ? "the capture is damaged or cut short"
                                                             : fault;
        }
        if (block == CAPTURE_PACKET && ++run.packets > run.setup.piece) {
            const std::string ended = end_piece(run);
            flow_table_seam(run.table);
            const std::string fault = ended.empty() ? begin_piece(run, file) : ended;
            if (!fault.empty())
                return fault;
            run.packets = 1;
        }
        if (!tshark_feed(run.child, bytes, run.sink)) {
            const std::string fault = end_piece(run);
            return fault.empty() ? "tshark ended early" : fault;
        }
    }
}

/// A capture that is being made is answered as it comes: while more of it is waited for, what there
/// is of it goes its way.
void wait_for_more(void *context)
{
    capture_run_t &run = *static_cast<capture_run_t *>(context);
    tshark_wait(run.child, run.source, run.sink);
}

/// Asks tshark which of the fields that the table wants it has.
void ask(capture_setup_t &setup)
{
    packet_reader_t reader;
    packet_reader_open(reader);
    setup.fields = std::move(reader.fields);
    setup.fault = tshark_ask(setup.fields, setup.lacking);
}

} // namespace

const std::string &capture_setup_ask(capture_setup_t &setup)
{
    std::call_once(setup.asked, ask, setup);
    return setup.fault;
}

std::string capture_read(capture_setup_t &setup, byte_source_t &source, capture_file_t &file,
                         const flow_sink_t &sink, capture_counts_t &counts)
{
    if (!capture_setup_ask(setup).empty())
        return setup.fault;
    capture_run_t run = {setup, counts, source.fd};
    run.sink = [&run](std::string_view line) { take_line(run, line); };
    run.table.sink = sink;
    run.table.window = setup.window;
    run.table.payload_bytes = setup.payload_bytes;
    packet_reader_open(run.reader);
    std::string fault = begin_piece(run, file);
    source.before_read = wait_for_more;
    source.context = &run;
    if (fault.empty())
        fault = feed(run, source, file);
    source.before_read = nullptr;
    flow_table_end(run.table);
    counts.evicted += run.table.evicted;
    return fault;
}
