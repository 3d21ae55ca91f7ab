#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "pdata_compiler_files.h"

namespace
{

/// Bytes of a file at most: a size is a signed 32-bit number.
constexpr size_t FILE_SIZE_MAX = INT32_MAX;

/// Bytes that are read at a time where the size is not known.
constexpr size_t CHUNK_SIZE = 1 << 16;

class input_t
{
public:
    explicit input_t(const char *filename) : fd(open(filename, O_RDONLY | O_CLOEXEC | O_NOCTTY)) {}
    ~input_t()
    {
        if (fd != -1)
            close(fd);
    }
    input_t(const input_t &) = delete;
    input_t &operator=(const input_t &) = delete;

    const int fd;
};

/// Reads into `into` until it is full or the input ends. Returns the bytes read, or -1.
ssize_t read_some(int fd, std::span<uint8_t> into)
{
    size_t done = 0;
    while (done < into.size()) {
        const ssize_t nr = read(fd, into.data() + done, into.size() - done);
        if (nr < 0 && errno == EINTR)
            continue;
        if (nr < 0)
            return -1;
        if (nr == 0)
            break;
        done += static_cast<size_t>(nr);
    }
    return static_cast<ssize_t>(done);
}

/// Reads a file of known size. Returns null, or why it cannot be read.
const char *read_sized(int fd, size_t size, csa_buf_t &buf)
{
    if (size > FILE_SIZE_MAX)
        return std::strerror(EFBIG);
    buf.resize(size);
    const ssize_t nr = read_some(fd, buf);
    if (nr < 0)
        return std::strerror(errno);
    return static_cast<size_t>(nr) == size ? nullptr : "it became shorter while it was read";
}

/// Reads an input that cannot be asked for its size, to its end.
const char *read_to_end(int fd, csa_buf_t &buf)
{
    for (;;) {
        const size_t before = buf.size();
        buf.resize(before + std::max(CHUNK_SIZE, before / 2));
        const ssize_t nr = read_some(fd, std::span(buf).subspan(before));
        if (nr < 0)
            return std::strerror(errno);
        const size_t size = before + static_cast<size_t>(nr);
        if (size > FILE_SIZE_MAX)
            return std::strerror(EFBIG);
        const bool ended = size < buf.size();
        buf.resize(size);
        if (ended)
            return nullptr;
    }
}

/// Reads a device: a terminal to its end, another one only when it holds nothing.
const char *read_device(int fd, csa_buf_t &buf)
{
    if (isatty(fd) == 1)
        return read_to_end(fd, buf);
    uint8_t first;
    const ssize_t nr = read_some(fd, {&first, 1});
    if (nr < 0)
        return std::strerror(errno);
    return nr == 0 ? nullptr : "it is a device";
}

const char *read_input(int fd, csa_buf_t &buf)
{
    struct stat st;
    if (fstat(fd, &st) != 0)
        return std::strerror(errno);
    if (S_ISREG(st.st_mode))
        return read_sized(fd, static_cast<size_t>(st.st_size), buf);
    if (S_ISFIFO(st.st_mode))
        return read_to_end(fd, buf); // a socket cannot be opened
    return S_ISCHR(st.st_mode) ? read_device(fd, buf)
                               : std::strerror(S_ISDIR(st.st_mode) ? EISDIR : ENODEV);
}

} // namespace

bool pdata_compiler_read(const char *filename, csa_buf_t *buf)
{
    buf->clear();
    const input_t input(filename);
    if (input.fd == -1)
        return false;
    const char *reason = read_input(input.fd, *buf);
    if (reason == nullptr)
        return true;
    std::fprintf(stderr, "pdata_compiler: %s: %s\n", filename, reason);
    buf->clear();
    return false;
}
