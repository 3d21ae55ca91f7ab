// A tshark of a few lines of shell, and a system that refuses what a child needs.
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "byte_source.h"
#include "failing_call.h"
#include "tshark.h"
#include "work_folder.h"

namespace
{

/// Tests with a tshark of their own.
class tshark_test : public work_folder
{
protected:
    tshark_test() : path(std::getenv("PATH"))
    {
        setenv("PATH", folder.c_str(), 1);
        be("PATH=/usr/bin:/bin; cat > rest; echo done; echo more");
    }
    ~tshark_test() override { setenv("PATH", path.c_str(), 1); }

    /// Makes a tshark of a script.
    static void be(const std::string &script)
    {
        std::ofstream("tshark") << "#!/bin/sh\n" << script << "\n";
        EXPECT_EQ(chmod("tshark", 0700), 0);
    }

    tshark_child_t child;
    std::string printed;
    const tshark_sink_t sink = [this](std::string_view line) { printed.append(line).append("\n"); };

private:
    std::string path;
};

/// More than is gathered before it is handed on, and than a pipe holds.
const std::string plenty(300000, 'x');

TEST_F(tshark_test, what_it_is_given_and_prints_arrives)
{
    ASSERT_EQ(tshark_start({"a.b"}, child), "");
    EXPECT_TRUE(tshark_feed(child, plenty, sink));
    EXPECT_EQ(tshark_finish(child, sink), "");
    EXPECT_EQ(printed, "done\nmore\n");
    EXPECT_EQ(file_text("rest"), plenty);
}

TEST_F(tshark_test, a_child_that_cannot_be_started_leaves_nothing_open)
{
    const int first_free = dup(0);
    close(first_free);
    const std::pair<call_t, int> calls[] = {
        {CALL_MEMFD, 1}, {CALL_PIPE, 1}, {CALL_PIPE, 2}, {CALL_FCNTL, 2}};
    for (const auto &[call, nth] : calls) {
        const failing_call failing(call, EMFILE, nth);
        EXPECT_EQ(tshark_start({}, child), "tshark: Too many open files");
    }
    EXPECT_EQ(chmod("tshark", 0600), 0);
    EXPECT_EQ(tshark_start({}, child), "tshark: Permission denied");
    unlink("tshark");
    EXPECT_NE(tshark_start({}, child).find("which is not there"), std::string::npos);
    const int behind = dup(0);
    close(behind);
    EXPECT_EQ(behind, first_free);
}

TEST_F(tshark_test, calls_that_are_interrupted_are_made_again)
{
    for (const call_t call : {CALL_READ, CALL_WRITE, CALL_POLL, CALL_WAIT})
        for (const int error : {EINTR, EAGAIN}) {
            if (error == EAGAIN && call != CALL_READ && call != CALL_WRITE)
                continue;
            printed.clear();
            ASSERT_EQ(tshark_start({}, child), "");
            const failing_call failing(call, error);
            EXPECT_TRUE(tshark_feed(child, plenty, sink));
            EXPECT_EQ(tshark_finish(child, sink), "");
            EXPECT_EQ(printed, "done\nmore\n") << call;
            EXPECT_EQ(file_text("rest"), plenty) << call;
        }
}

TEST_F(tshark_test, calls_that_fail_end_the_child)
{
    for (const call_t call : {CALL_WRITE, CALL_POLL}) {
        ASSERT_EQ(tshark_start({}, child), "");
        {
            const failing_call failing(call, EIO);
            EXPECT_FALSE(tshark_feed(child, plenty, sink));
        }
        EXPECT_EQ(tshark_finish(child, sink), "");
    }
    ASSERT_EQ(tshark_start({}, child), "");
    const failing_call failing(CALL_READ, EIO);
    EXPECT_EQ(tshark_finish(child, sink), "tshark: Input/output error");
}

// A child that somebody else has waited for has ended well as far as can be told.
TEST_F(tshark_test, a_child_that_is_gone_is_not_waited_for)
{
    ASSERT_EQ(tshark_start({}, child), "");
    {
        const failing_call failing(CALL_WAIT, ECHILD);
        EXPECT_EQ(tshark_finish(child, sink), "");
    }
    EXPECT_GT(waitpid(-1, nullptr, 0), 0);
}

/// The first poll asks whether the source is there already, the second one waits.
TEST_F(tshark_test, waiting_for_more_ends_with_the_child)
{
    std::array<int, 2> ends;
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    be("echo line");
    for (const int error : {EINTR, ENOMEM}) {
        printed.clear();
        ASSERT_EQ(tshark_start({}, child), "");
        {
            const failing_call failing(CALL_POLL, error, 2);
            tshark_wait(child, ends[0], sink);
        }
        EXPECT_EQ(printed, error == EINTR ? "line\n" : "");
        EXPECT_EQ(tshark_finish(child, sink), "");
        EXPECT_EQ(printed, "line\n");
    }
    ASSERT_EQ(tshark_start({}, child), "");
    child.out = plenty;
    {
        const failing_call failing(CALL_WRITE, EIO);
        tshark_wait(child, ends[0], sink); // at once: it is gone
    }
    (void)tshark_finish(child, sink);
    close(ends[0]);
    close(ends[1]);
}

TEST_F(tshark_test, a_source_is_read_again_where_that_is_interrupted)
{
    std::ofstream("lines") << "one\n";
    byte_source_t source = {open("lines", O_RDONLY | O_CLOEXEC)};
    std::string_view line;
    {
        const failing_call failing(CALL_READ, EINTR);
        EXPECT_EQ(byte_source_line(source, line), LINE_READ);
        EXPECT_EQ(line, "one");
    }
    const failing_call failing(CALL_READ, EIO);
    EXPECT_EQ(byte_source_line(source, line), LINE_NONE);
    EXPECT_EQ(source.system_error, EIO);
    close(source.fd);
}

} // namespace
