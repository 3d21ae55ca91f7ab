// Progress is for people at a terminal who have waited for a second.
#include <gtest/gtest.h>

#include <memory>

#include "progress.h"

namespace
{

using namespace std::chrono_literals;

const progress_clock_t::time_point START{};

/// Standard error as a terminal, and what was written to it.
struct terminal_t {
    std::unique_ptr<std::FILE, int (*)(std::FILE *)> file{std::tmpfile(), std::fclose};
    console_t console = {nullptr, file.get()};

    explicit terminal_t(bool is_terminal) { console.progress = is_terminal; }

    std::string text()
    {
        std::string read(static_cast<size_t>(std::ftell(file.get())), '\0');
        std::rewind(file.get());
        read.resize(std::fread(read.data(), 1, read.size(), file.get()));
        return read;
    }
};

constexpr progress_step_t READ = {"read", "KiB", 10};
constexpr progress_step_t PROVED = {"proved", "values", 0};

TEST(Progress, IsShownAfterASecondAndThenFiveTimesASecond)
{
    terminal_t terminal(true);
    progress_t progress = progress_begin(terminal.console, START);
    size_t done = 0;
    for (const auto since : {999ms, 1000ms, 1199ms, 1200ms})
        progress_show(progress, PROVED, ++done, 4, START + since);
    EXPECT_EQ(terminal.text(), "\r\x1b[Kproved 2 of 4 values\r\x1b[Kproved 4 of 4 values");
}

TEST(Progress, WritesOverItsLineAndWipesIt)
{
    terminal_t terminal(true);
    progress_t progress = progress_begin(terminal.console, START);
    progress_show(progress, READ, 9 * 1024 + 1023, 10 * 1024, START + 1s);
    progress_show(progress, PROVED, 1, 2, START + 2s);
    progress_end(progress);
    progress_end(progress);
    EXPECT_EQ(terminal.text(), "\r\x1b[Kread 9 of 10 KiB\r\x1b[Kproved 1 of 2 values\r\x1b[K");
}

TEST(Progress, WipesNothingWhereNothingWasShown)
{
    terminal_t terminal(true);
    progress_t progress = progress_begin(terminal.console, START);
    progress_end(progress);
    EXPECT_EQ(terminal.text(), "");
}

TEST(Progress, IsNeverShownWithoutATerminal)
{
    terminal_t terminal(false);
    progress_t progress = progress_begin(terminal.console, START);
    progress_show(progress, READ, 1024, 2048, START + 1h);
    progress_end(progress);
    EXPECT_EQ(terminal.text(), "");
}

} // namespace
