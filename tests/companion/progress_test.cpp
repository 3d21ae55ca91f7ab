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

TEST(Progress, IsDueAfterASecondAndThenFiveTimesASecond)
{
    terminal_t terminal(true);
    progress_t progress = progress_begin(terminal.console, START);
    EXPECT_FALSE(progress_is_due(progress, START + 999ms));
    EXPECT_TRUE(progress_is_due(progress, START + 1000ms));
    progress_show(progress, "proved 1 of 2 values", START + 1000ms);
    EXPECT_FALSE(progress_is_due(progress, START + 1199ms));
    EXPECT_TRUE(progress_is_due(progress, START + 1200ms));
}

TEST(Progress, WritesOverItsLineAndWipesIt)
{
    terminal_t terminal(true);
    progress_t progress = progress_begin(terminal.console, START);
    progress_show(progress, "read 9 of 9 KiB", START + 1s);
    progress_show(progress, "proved 1 of 2 values", START + 2s);
    progress_end(progress);
    progress_end(progress);
    EXPECT_EQ(terminal.text(), "\r\x1b[Kread 9 of 9 KiB\r\x1b[Kproved 1 of 2 values\r\x1b[K");
}

TEST(Progress, WipesNothingWhereNothingWasShown)
{
    terminal_t terminal(true);
    progress_t progress = progress_begin(terminal.console, START);
    progress_end(progress);
    EXPECT_EQ(terminal.text(), "");
}

TEST(Progress, IsNeverDueWithoutATerminal)
{
    terminal_t terminal(false);
    const progress_t progress = progress_begin(terminal.console, START);
    EXPECT_FALSE(progress_is_due(progress, START + 1h));
}

} // namespace
