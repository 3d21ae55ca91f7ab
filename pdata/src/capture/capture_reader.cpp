#include "capture_reader.h"

#include <algorithm>

namespace
{

void take_line(capture_reader_t &reader, std::string_view line)
{
    packet_t packet;
    std::string fault;
    if (!packet_read(reader.packets, line, packet, fault)) {
        reader.bad_lines += fault.empty() ? 0 : 1;
        return;
    }
    uint8_t side = 0;
    flow_record_t &record = flow_table_add(reader.table, packet, side);
    if (!packet.embedded)
        capture_rules_apply(reader.packets.rules, reader.packets.bag,
                            {{}, packet.layers, side, packet.payload}, record);
}

/// A child, and the piece that it is given.
struct piece_run_t {
    capture_reader_t &reader;
    tshark_sink_t sink = {};
    tshark_child_t child = {};
    uint64_t packets = 0;
};

std::string begin_piece(piece_run_t &run, const capture_file_t &file)
{
    run.packets = 0;
    const std::string fault = tshark_start(run.reader.tshark, run.reader.packets.fields, run.child);
    if (fault.empty())
        run.child.out = file.header;
    return fault;
}

std::string end_piece(piece_run_t &run)
{
    return tshark_finish(run.reader.tshark, run.child, run.sink);
}

/// Feeds the whole capture, from piece to piece.
std::string feed(piece_run_t &run, byte_source_t &source, capture_file_t &file)
{
    std::string_view bytes;
    for (;;) {
        const capture_block_t block = capture_file_next(source, file, bytes);
        if (block == CAPTURE_END || block == CAPTURE_DAMAGED) {
            const std::string fault = end_piece(run);
            return block == CAPTURE_DAMAGED && fault.empty() ? "the capture is damaged or cut short"
                                                             : fault;
        }
        if (block == CAPTURE_PACKET && ++run.packets > run.reader.piece) {
            const std::string ended = end_piece(run);
            flow_table_seam(run.reader.table);
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

} // namespace

std::string capture_reader_open(capture_reader_t &reader)
{
    if (reader.ready)
        return reader.fault;
    reader.ready = true;
    packet_reader_open(reader.packets);
    reader.fault = tshark_open(reader.tshark);
    if (!reader.fault.empty())
        return reader.fault;
    const auto lacks = [&reader](const std::string &field) {
        return !reader.tshark.fields.contains(field);
    };
    std::ranges::copy_if(reader.packets.fields, std::back_inserter(reader.lacking), lacks);
    std::erase_if(reader.packets.fields, lacks);
    return {};
}

void capture_reader_close(capture_reader_t &reader)
{
    tshark_close(reader.tshark);
}

std::string capture_reader_run(capture_reader_t &reader, byte_source_t &source,
                               capture_file_t &file)
{
    piece_run_t run = {reader};
    run.sink = [&reader](std::string_view line) { take_line(reader, line); };
    std::string fault = begin_piece(run, file);
    if (fault.empty())
        fault = feed(run, source, file);
    flow_table_end(reader.table);
    return fault;
}
