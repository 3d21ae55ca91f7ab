/// Text streams: generated text in a buffer of fixed size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "pdata_error.h"

/// A text under construction. It holds at most `size` bytes, one of them for a terminator.
struct text_stream_t {
    std::string text;
    size_t size = 0;
    bool full = false; ///< a piece did not fit: the text is cut and takes no more
};

/// Appends a formatted piece. Returns PDATA_ERR_IO, without a message and with nothing appended,
/// for a piece that does not fit and for every piece behind it.
[[nodiscard, gnu::format(printf, 2, 3)]] pdata_status_t text_stream_print(text_stream_t *stream,
                                                                          const char *format, ...);

/// Makes room for `len` more bytes, or for what the stream takes, at once.
void text_stream_expect(text_stream_t *stream, size_t len);

/// Appends `before`, the decimal digits of a byte, and `after`, as one piece of 32 bytes at most.
/// Returns as text_stream_print does.
[[nodiscard]] pdata_status_t text_stream_put_byte(text_stream_t *stream, std::string_view before,
                                                  uint8_t byte, std::string_view after);
