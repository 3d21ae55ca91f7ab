/// Checked writing to a descriptor.
#pragma once

#include <cstdint>
#include <span>

/// Writes all bytes. Returns false with errno set when a write fails; a reader that is gone and a
/// file that becomes larger than the process may write are such failures, not signals.
[[nodiscard]] bool output_write_all(int fd, std::span<const uint8_t> bytes);

/// Has the bytes of a file reach the disk. Returns false with errno set when they did not; a file
/// system that knows no such request is no failure.
[[nodiscard]] bool output_sync_file(int fd);
