#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "capture_inputs.h"
#include "failing_alloc.h"

namespace
{

namespace fs = std::filesystem;

std::string little(uint64_t number, size_t size)
{
    std::string bytes;
    for (size_t i = 0; i < size; ++i)
        bytes += static_cast<char>(number >> (8 * i));
    return bytes;
}

std::string big(uint64_t number, size_t size)
{
    const std::string bytes = little(number, size);
    return {bytes.rbegin(), bytes.rend()};
}

/// Ports from here on are those of no protocol that tshark knows.
constexpr uint32_t first_port = 50000;

/// A datagram of 10.0.0.1 from a port to port 9 of 10.0.0.2, as a packet of a capture.
std::string packet(uint32_t port)
{
    const std::string datagram = big(port, 2) + big(9, 2) + big(12, 2) + big(0, 2) + "data";
    const std::string header = "\x45" + big(0, 1) + big(32, 2) + big(0, 4) + "\x40\x11" +
                               big(0, 2) + big(0x0A000001, 4) + big(0x0A000002, 4);
    const std::string frame = std::string(12, '\0') + big(0x0800, 2) + header + datagram;
    const auto size = static_cast<uint32_t>(frame.size());
    return little(1700000000, 4) + little(0, 4) + little(size, 4) + little(size, 4) + frame;
}

/// A folder with captures of one datagram a flow.
struct captures_t {
    fs::path folder = fs::temp_directory_path() / ("inputs_test." + std::to_string(getpid()));
    std::vector<std::string> paths;

    captures_t() { fs::create_directory(folder); }
    ~captures_t() { fs::remove_all(folder); }

    void add(uint32_t flows)
    {
        paths.push_back(folder / std::to_string(paths.size()));
        std::ofstream file(paths.back(), std::ios::binary);
        file << little(0xA1B2C3D4, 4) << little(0x00040002, 4) << little(0, 8) << little(65535, 4)
             << little(1, 4);
        for (uint32_t i = 0; i < flows; ++i)
            file << packet(first_port + i);
    }

    void add_text(const std::string &text)
    {
        paths.push_back(folder / std::to_string(paths.size()));
        std::ofstream(paths.back()) << text;
    }
};

/// What came of inputs: ports of the flows, and a text for what is no capture. As many flows wait
/// already as `ahead` says.
std::vector<std::string> run(const captures_t &captures, size_t jobs, size_t ahead)
{
    std::vector<std::string> got;
    capture_setup_t setup;
    setup.piece = 5000;
    capture_inputs_t inputs(setup);
    inputs.ahead = ahead;
    capture_inputs_open(inputs, captures.paths, jobs);
    for (size_t i = 0; i < captures.paths.size(); ++i) {
        capture_input_t &input = capture_inputs_begin(inputs, i);
        std::string_view line;
        if (input.system_error != 0)
            got.emplace_back("none");
        else if (!input.is_capture)
            while (byte_source_line(input.source, line) != LINE_NONE)
                got.emplace_back(line);
        else
            capture_inputs_take(inputs, input, [&got](flow_record_t &record) {
                got.push_back(std::to_string(record.ends[record.client].port));
            });
        EXPECT_EQ(input.fault, "");
        capture_inputs_end(input);
    }
    return got;
}

bool has_tshark()
{
    return std::system("tshark --version >/dev/null 2>&1") == 0;
}

} // namespace

TEST(capture_inputs_test, flows_come_in_the_order_of_the_inputs_whatever_the_threads)
{
    if (!has_tshark())
        GTEST_SKIP() << "tshark is not installed";
    captures_t captures;
    std::vector<std::string> expected;
    const auto expect = [&expected](uint32_t flows) {
        for (uint32_t i = 0; i < flows; ++i)
            expected.push_back(std::to_string(first_port + i));
    };
    for (const uint32_t flows : {4000U, 3U, 8500U}) {
        captures.add(flows);
        expect(flows);
    }
    captures.add_text("a line\n");
    captures.paths.push_back(captures.folder / "missing");
    captures.add(8000); // with those before it, more than may wait
    expected.insert(expected.end(), {"a line", "none"});
    expect(8000);
    static_assert(3 + 8500 + 8000 > CAPTURE_AHEAD);
    for (const size_t jobs : {1U, 2U, 5U})
        EXPECT_EQ(run(captures, jobs, jobs == 2 ? CAPTURE_AHEAD : 0), expected) << jobs;
}

/// Whichever thread memory runs out in, it is told, and nobody waits for ever. There is no tshark.
TEST(capture_inputs_test, memory_that_runs_out_in_a_thread_is_told)
{
    captures_t captures;
    captures.add(1);
    captures.add_text("a line\n");
    const std::string path = std::getenv("PATH");
    setenv("PATH", captures.folder.c_str(), 1);
    size_t failures = 0;
    for (size_t nth = 1; nth < 3000; nth += 1 + nth / 8) {
        bool told = false;
        failing_alloc_arm(nth);
        try {
            capture_setup_t setup;
            capture_inputs_t inputs(setup);
            capture_inputs_open(inputs, captures.paths, 2);
            for (size_t i = 0; i < captures.paths.size(); ++i) {
                capture_input_t &input = capture_inputs_begin(inputs, i);
                if (input.is_capture)
                    capture_inputs_take(inputs, input, [](flow_record_t &) {});
            }
        } catch (const std::bad_alloc &) {
            told = true;
        }
        EXPECT_EQ(failing_alloc_disarm(), told) << nth;
        failures += told ? 1 : 0;
    }
    setenv("PATH", path.c_str(), 1);
    EXPECT_GT(failures, 20u);
}

TEST(capture_inputs_test, threads_end_when_nobody_takes_their_flows)
{
    if (!has_tshark())
        GTEST_SKIP() << "tshark is not installed";
    captures_t captures;
    for (size_t i = 0; i < 4; ++i)
        captures.add(5000);
    const auto stop = [](const flow_record_t &) { throw std::runtime_error("enough"); };
    capture_setup_t setup;
    EXPECT_THROW(
        {
            capture_inputs_t inputs(setup);
            capture_inputs_open(inputs, captures.paths, 3);
            capture_inputs_take(inputs, capture_inputs_begin(inputs, 0), stop);
        },
        std::runtime_error);
}
