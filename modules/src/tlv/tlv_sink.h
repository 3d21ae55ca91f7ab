/// A sink that a format is emitted into: it counts when it has no buffer and writes when it has.
///
/// Every serialized structure is described by one function, `X_emit`, that emits it into a sink.
/// The size operation of a module is tlv_sink_count of that function, its serialize operation
/// tlv_sink_write, so the two cannot disagree. A pair of hand-kept size and write functions was
/// turned down for that reason. What is made only once goes into a growing sink, whose buffer
/// becomes as large as the output.
///
/// Counting is one thing everywhere: the sink has no buffer, every operation advances the offset
/// as it would when writing, and nothing else happens. So a table whose size is known is taken
/// whole, and its bytes are only made where the sink gives a place for them.
///
/// Two framings exist. A blob (the engines) has a 4-byte type and a 4-byte length in bytes,
/// rounded up to a multiple of 4. A record (everything else, see tlv_description.h) has one word
/// with an 8-bit type and a 24-bit length in words. Padding is skipped, not written: the buffer
/// behind a writing sink must be zero-filled.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "csa_buf.h"
#include "csa_endian.h"
#include "tlv.h"

struct tlv_sink_t {
    uint8_t *buf = nullptr;     ///< start of the output, null while counting; not owned
    size_t size = 0;            ///< bytes at `buf`
    size_t offset = 0;          ///< bytes emitted so far
    bool failed = false;        ///< something did not fit in `size`, or was refused by tlv_write
    csa_buf_t *grown = nullptr; ///< the buffer of a growing sink; not owned
};

/// Returns a sink that only counts.
inline tlv_sink_t tlv_sink_counting()
{
    return {};
}

/// Returns a sink that writes into `buf`, which must be zero-filled and outlive the sink.
inline tlv_sink_t tlv_sink_writing(std::span<uint8_t> buf)
{
    // An empty span may carry a null pointer, which would turn the sink into a counting one.
    static uint8_t nothing;
    return {buf.empty() ? &nothing : buf.data(), buf.size(), 0, false};
}

/// Returns a sink that writes into `buf`, which is emptied, grows with the output and must outlive
/// the sink. `expected` bytes are taken at once. When memory runs out the sink fails, frees the
/// buffer and counts on.
tlv_sink_t tlv_sink_growing(csa_buf_t &buf, size_t expected);

/// Cuts the buffer of a growing sink, which has not failed, to what was emitted.
void tlv_sink_finish(tlv_sink_t &sink);

/// Makes the buffer of a growing sink hold `size` bytes at least; false when there is no memory.
[[nodiscard]] bool tlv_sink_grow(tlv_sink_t &sink, size_t size);

/// Takes the next `n` bytes of the output. Returns where to write them, or null while counting
/// and when they do not fit (`failed` is then set; the offset advances all the same).
inline uint8_t *tlv_sink_take(tlv_sink_t &sink, size_t n)
{
    const size_t at = sink.offset;
    sink.offset += n;
    if (sink.buf == nullptr)
        return nullptr;
    if (at > sink.size || n > sink.size - at) {
        if (sink.grown == nullptr || !tlv_sink_grow(sink, at + n)) {
            sink.failed = true;
            return nullptr;
        }
    }
    return sink.buf + at;
}

/// Emits a big-endian word.
inline void tlv_sink_put_word(tlv_sink_t &sink, uint32_t word)
{
    if (uint8_t *at = tlv_sink_take(sink, 4); at != nullptr)
        csa_set_be32(at, word);
}

/// Emits `data` as a big-endian field of `data_size` bytes (1 to 4).
inline void tlv_sink_put(tlv_sink_t &sink, uint32_t data, uint32_t data_size)
{
    uint8_t *at = tlv_sink_take(sink, data_size);
    if (at == nullptr)
        return;
    if (data_size == 4)
        csa_set_be32(at, data);
    else if (tlv_write(at, data, data_size) == nullptr)
        sink.failed = true;
}

/// Emits the bytes of `bytes` as they are.
inline void tlv_sink_put_bytes(tlv_sink_t &sink, std::string_view bytes)
{
    uint8_t *at = tlv_sink_take(sink, bytes.size());
    if (at != nullptr && !bytes.empty())
        std::memcpy(at, bytes.data(), bytes.size());
}

/// Skips bytes up to the next multiple of 4, counted from the start of the sink.
inline void tlv_sink_align(tlv_sink_t &sink)
{
    (void)tlv_sink_take(sink, (0 - sink.offset) & 3); // padding stays as the buffer holds it
}

/// Opens a blob of `type`: emits its header with a length still to come and returns the offset
/// of the header, which tlv_sink_close_blob wants back. Blobs start at a multiple of 4.
inline size_t tlv_sink_open_blob(tlv_sink_t &sink, uint32_t type)
{
    const size_t header = sink.offset;
    tlv_sink_put(sink, type, 4);
    tlv_sink_put(sink, 0, 4);
    return header;
}

/// Closes the blob opened at `header`: pads its value to a multiple of 4 and fills its length in.
inline void tlv_sink_close_blob(tlv_sink_t &sink, size_t header)
{
    tlv_sink_align(sink);
    if (sink.buf != nullptr && !sink.failed)
        tlv_write_4B(sink.buf + header + 4, static_cast<uint32_t>(sink.offset - header - 8));
}

/// Returns the number of bytes that `emit`, a function of a sink, emits.
template <typename Emit>
[[nodiscard]] size_t tlv_sink_count(Emit &&emit)
{
    tlv_sink_t sink = tlv_sink_counting();
    emit(sink);
    return sink.offset;
}

/// Runs `emit`, a function of a sink, into the zero-filled `buf`. Returns the position behind what
/// it emitted, or null when that did not fit or was refused.
template <typename Emit>
[[nodiscard]] uint8_t *tlv_sink_write(std::span<uint8_t> buf, Emit &&emit)
{
    tlv_sink_t sink = tlv_sink_writing(buf);
    emit(sink);
    return sink.failed ? nullptr : buf.data() + sink.offset;
}
