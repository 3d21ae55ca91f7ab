#include "input_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr const char *too_large = "more than 2147483647 bytes";

/// Reads a stream to its end.
std::string read_all(int fd, std::vector<uint8_t> &buffer)
{
    constexpr size_t step = size_t{1} << 16;
    size_t filled = 0;
    for (;;) {
        buffer.resize(filled + std::max(step, filled / 2));
        const ssize_t n = read(fd, buffer.data() + filled, buffer.size() - filled);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return std::strerror(errno);
        filled += static_cast<size_t>(n);
        if (filled > INPUT_FILE_MAX)
            return too_large;
        if (n == 0)
            break;
    }
    buffer.resize(filled);
    return {};
}

/// Maps a regular file, and reads everything else.
std::string load(int fd, input_file_t &file)
{
    struct stat info;
    if (fstat(fd, &info) != 0)
        return std::strerror(errno);
    if (S_ISDIR(info.st_mode))
        return std::strerror(EISDIR);
    const auto size = static_cast<uint64_t>(info.st_size);
    if (!S_ISREG(info.st_mode) || size == 0)
        return read_all(fd, file.buffer);
    if (size > INPUT_FILE_MAX)
        return too_large;
    void *mapping = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (mapping == MAP_FAILED)
        return read_all(fd, file.buffer);
    file.mapping = mapping;
    file.mapping_size = size;
    return {};
}

} // namespace

input_file_t::input_file_t(input_file_t &&other) noexcept
    : name(std::move(other.name)), buffer(std::move(other.buffer)),
      mapping(std::exchange(other.mapping, nullptr)),
      mapping_size(std::exchange(other.mapping_size, 0))
{
}

input_file_t &input_file_t::operator=(input_file_t &&other) noexcept
{
    std::swap(name, other.name);
    std::swap(buffer, other.buffer);
    std::swap(mapping, other.mapping);
    std::swap(mapping_size, other.mapping_size);
    return *this;
}

input_file_t::~input_file_t()
{
    if (mapping != nullptr)
        munmap(mapping, mapping_size);
}

std::string input_file_name(const std::string &path)
{
    return path == "-" ? "standard input" : path;
}

std::string input_file_open(const std::string &path, input_file_t &file)
{
    file = {};
    file.name = input_file_name(path);
    if (path == "-")
        return load(STDIN_FILENO, file);
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return std::strerror(errno);
    std::string reason = load(fd, file);
    close(fd);
    return reason;
}

std::span<const uint8_t> input_file_bytes(const input_file_t &file)
{
    if (file.mapping != nullptr)
        return {static_cast<const uint8_t *>(file.mapping), file.mapping_size};
    return file.buffer;
}

std::string_view input_file_text(const input_file_t &file)
{
    const std::span<const uint8_t> bytes = input_file_bytes(file);
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}
