/// A whole input in memory: a file, mapped where that is possible, or standard input.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Most bytes of an input.
constexpr size_t INPUT_FILE_MAX = (size_t{1} << 31) - 1;

/// An input. It owns its bytes; it moves, and the bytes stay where they are.
struct input_file_t {
    std::string name;            ///< as messages show it
    std::vector<uint8_t> buffer; ///< what was read, where nothing is mapped
    void *mapping = nullptr;     ///< what was mapped
    size_t mapping_size = 0;

    input_file_t() = default;
    input_file_t(input_file_t &&other) noexcept;
    input_file_t &operator=(input_file_t &&other) noexcept;
    ~input_file_t();
};

/// Returns what messages call the input at `path`: "standard input" for "-".
std::string input_file_name(const std::string &path);

/// Reads the file at `path`, or standard input for "-". Returns an empty text, or the reason why it
/// cannot be read: the system's, or that it is a directory, or has more than INPUT_FILE_MAX bytes.
[[nodiscard]] std::string input_file_open(const std::string &path, input_file_t &file);

/// Returns the bytes of an input.
std::span<const uint8_t> input_file_bytes(const input_file_t &file);

/// Returns them as text.
std::string_view input_file_text(const input_file_t &file);
