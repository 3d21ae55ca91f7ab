// Captures and logs as bytes: their packets, blocks and lines.
#include <gtest/gtest.h>

#include <array>
#include <random>

#include <sys/mman.h>
#include <unistd.h>

#include "capture_file.h"

namespace
{

using namespace std::string_literals;

/// A file in memory, to be read from its beginning.
class memory_file
{
public:
    explicit memory_file(const std::string &bytes) : fd(memfd_create("test", MFD_CLOEXEC))
    {
        for (size_t at = 0; at < bytes.size();)
            at += static_cast<size_t>(
                pwrite(fd, bytes.data() + at, bytes.size() - at, static_cast<off_t>(at)));
    }
    memory_file(const memory_file &) = delete;
    memory_file &operator=(const memory_file &) = delete;
    ~memory_file() { close(fd); }

    const int fd;
};

TEST(capture_file, a_line_that_is_too_long_is_left_out)
{
    const std::string longest(BYTE_SOURCE_LINE_MAX, 'x');
    for (const bool ends : {true, false}) {
        const memory_file file("a\r\n" + longest + "x" + longest.substr(0, 1000000) +
                               (ends ? "\nb\nc" : ""));
        byte_source_t source = {file.fd};
        std::string_view line;
        EXPECT_EQ(byte_source_line(source, line), LINE_READ);
        EXPECT_EQ(line, "a");
        EXPECT_EQ(byte_source_line(source, line), LINE_TOO_LONG);
        for (const char *left : {"b", "c"}) {
            EXPECT_EQ(byte_source_line(source, line), ends ? LINE_READ : LINE_NONE);
            EXPECT_TRUE(!ends || line == left) << line;
        }
        EXPECT_EQ(byte_source_line(source, line), LINE_NONE);
    }
}

std::string little(uint32_t number)
{
    return {reinterpret_cast<const char *>(&number), sizeof number};
}

std::string block(uint32_t type, const std::string &body)
{
    const std::string size = little(static_cast<uint32_t>(12 + body.size()));
    return little(type) + size + body + size;
}

// Packets are blocks of three types; interfaces, names and secrets go into the header, up to 1 MiB.
TEST(capture_file, blocks_are_packets_for_the_header_or_neither)
{
    const std::string section = block(0x0A0D0D0A, little(0x1A2B3C4D) + std::string(12, '\0'));
    const std::string many(600000, 'n');
    const std::vector<std::pair<std::string, capture_block_t>> blocks = {
        {section, CAPTURE_OTHER},           {block(1, "face"), CAPTURE_OTHER},
        {block(6, "pack"), CAPTURE_PACKET}, {block(3, "pack"), CAPTURE_PACKET},
        {block(2, "pack"), CAPTURE_PACKET}, {block(4, many), CAPTURE_OTHER},
        {block(4, many), CAPTURE_OTHER},    {block(10, "keys"), CAPTURE_OTHER},
        {block(5, "stat"), CAPTURE_OTHER}};
    std::string bytes;
    for (const auto &[block_bytes, kind] : blocks)
        bytes += block_bytes;
    const memory_file memory(bytes);
    byte_source_t source = {memory.fd};
    capture_file_t file;
    std::string_view got;
    ASSERT_TRUE(capture_file_open(source, file));
    for (const auto &[block_bytes, kind] : blocks) {
        EXPECT_EQ(capture_file_next(source, file, got), kind);
        EXPECT_EQ(got, block_bytes);
    }
    EXPECT_EQ(capture_file_next(source, file, got), CAPTURE_END);
    EXPECT_EQ(file.header, section + block(1, "face") + block(4, many) + block(10, "keys"));
}

TEST(capture_file, captures_count_in_microseconds_or_nanoseconds)
{
    for (const uint32_t magic : {0xA1B2C3D4U, 0xA1B23C4DU, 0xD4C3B2A1U, 0x4D3CB2A1U}) {
        const memory_file memory(little(magic) + std::string(20, '\0'));
        byte_source_t source = {memory.fd};
        capture_file_t file;
        EXPECT_TRUE(capture_file_open(source, file)) << std::hex << magic;
        EXPECT_EQ(file.header.size(), 24u);
    }
}

/// Reads bytes as a capture to its end.
void read_capture(const std::string &bytes)
{
    std::array<int, 2> ends;
    ASSERT_EQ(pipe(ends.data()), 0);
    ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    byte_source_t source = {ends[0]};
    capture_file_t file;
    std::string_view block;
    bool more = capture_file_open(source, file);
    while (more) {
        more = capture_file_next(source, file, block) <= CAPTURE_OTHER;
        EXPECT_LE(block.size(), bytes.size());
    }
    close(ends[0]);
}

TEST(capture_file, damaged_captures_end)
{
    const std::string old = "\xD4\xC3\xB2\xA1"s + std::string(20, '\1') + std::string(8, '\0') +
                            "\4\0\0\0\4\0\0\0abcd"s;
    const std::string next = "\x0A\x0D\x0D\x0A\x1C\0\0\0\x4D\x3C\x2B\x1A\1\0\0\0"s +
                             std::string(8, '\xFF') + "\x1C\0\0\0"s +
                             "\6\0\0\0\x10\0\0\0abcd\x10\0\0\0"s;
    std::mt19937 random(2);
    for (int round = 0; round < 4000; ++round) {
        std::string bytes = round % 2 == 0 ? old : next;
        bytes.resize(random() % (bytes.size() + 1));
        for (size_t edit = random() % 3; edit > 0 && !bytes.empty(); --edit)
            bytes[random() % bytes.size()] = static_cast<char>(random() % 256);
        read_capture(bytes);
    }
}

} // namespace
