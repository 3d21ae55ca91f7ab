#include <fcntl.h>

#include <atomic>
#include <csignal>

#include "failing_alloc.h"
#include "output_folder.h"
#include "output_write.h"

namespace
{

TEST_F(output_file, is_there_only_once_it_is_whole)
{
    put_file("out", "old");
    ASSERT_TRUE(add("out", "new"));
    EXPECT_EQ(file_text("out"), "old");
    EXPECT_EQ(names(), (names_t{"out", "out.pdata-new"}));
    ASSERT_TRUE(output_commit(output, error));
    EXPECT_EQ(file_text("out"), "new");
    EXPECT_EQ(names(), names_t{"out"});
}

TEST_F(output_file, has_its_parts_one_behind_the_other)
{
    const uint8_t a[] = {'a', 'b'};
    const uint8_t b[] = {0, 'c'};
    const std::span<const uint8_t> parts[] = {a, {}, b};
    ASSERT_TRUE(output_add(output, "out", parts, OUTPUT_TO_DISK, error));
    ASSERT_TRUE(output_commit(output, error));
    EXPECT_EQ(get_bytes("out"), (std::vector<uint8_t>{'a', 'b', 0, 'c'}));
    ASSERT_TRUE(output_add(output, "out", {}, OUTPUT_TO_DISK, error));
    ASSERT_TRUE(output_commit(output, error));
    EXPECT_EQ(file_text("out"), "");
}

TEST_F(output_file, may_be_written_piece_by_piece)
{
    const auto write = [](void *context, int fd) {
        const uint8_t front[] = {'a', 'b'};
        const uint8_t back[] = {'c'};
        const bool whole = output_write_all(fd, front) && output_write_all(fd, back);
        errno = EIO;
        return whole && *static_cast<bool *>(context);
    };
    bool succeeds = true;
    put_file("out", "old");
    ASSERT_TRUE(output_add_written(output, "out", {write, &succeeds}, OUTPUT_TO_DISK, error));
    EXPECT_EQ(file_text("out"), "old");
    ASSERT_TRUE(output_commit(output, error));
    EXPECT_EQ(file_text("out"), "abc");
    succeeds = false;
    EXPECT_FALSE(output_add_written(output, "out", {write, &succeeds}, OUTPUT_TO_DISK, error));
    EXPECT_EQ(error.failure, OUTPUT_CANNOT_WRITE);
    output_discard(output);
    EXPECT_EQ(file_text("out"), "abc");
    EXPECT_EQ(names(), names_t{"out"});
}

TEST_F(output_file, that_is_given_up_leaves_the_old_one)
{
    put_file("out", "old");
    ASSERT_TRUE(add("out", "new"));
    ASSERT_TRUE(add("none", "new"));
    output_discard(output);
    EXPECT_EQ(file_text("out"), "old");
    EXPECT_EQ(names(), names_t{"out"});
    {
        output_t other;
        ASSERT_TRUE(output_add(other, "out", {}, OUTPUT_LEFT_TO_SYSTEM, error));
    }
    EXPECT_EQ(names(), names_t{"out"}) << "the end of a set gives it up";
}

TEST_F(output_file, keeps_nothing_open)
{
    const auto nr_open = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    put_file("out", "old");
    const auto usual = nr_open();
    ASSERT_TRUE(add("out", "new"));
    EXPECT_GT(nr_open(), usual);
    output_discard(output);
    EXPECT_EQ(nr_open(), usual);
    ASSERT_TRUE(add("/dev/null", "new")); // which nothing can lie beside
    EXPECT_GT(nr_open(), usual);
    output_discard(output);
    EXPECT_EQ(nr_open(), usual);
    ASSERT_TRUE(put("out", "new"));
    EXPECT_EQ(nr_open(), usual);
}

TEST_F(output_file, goes_in_place_with_the_others_of_its_set)
{
    put_file("a", "old");
    put_file("b", "old");
    ASSERT_TRUE(add("a", "new a"));
    EXPECT_FALSE(add("nowhere/b", "new b"));
    EXPECT_EQ(failure(), "cannot open nowhere/b, open: No such file or directory");
    output_discard(output);
    EXPECT_EQ(file_text("a"), "old");
    ASSERT_TRUE(add("a", "new a"));
    ASSERT_TRUE(add("b", "new b"));
    ASSERT_TRUE(output_commit(output, error));
    EXPECT_EQ(file_text("a") + file_text("b"), "new anew b");
    EXPECT_EQ(names(), (names_t{"a", "b"}));
}

TEST_F(output_file, goes_in_place_once_those_written_directly_are_whole)
{
    put_file("a", "old");
    ASSERT_TRUE(add("a", "new"));
    ASSERT_TRUE(add("/dev/full", "x"));
    EXPECT_FALSE(output_commit(output, error));
    EXPECT_EQ(failure(), "cannot write /dev/full, write: No space left on device");
    EXPECT_EQ(file_text("a"), "old");
    EXPECT_EQ(names(), names_t{"a"});
    ASSERT_TRUE(add("a", "new"));
    ASSERT_TRUE(add("/dev/null", "x"));
    ASSERT_TRUE(output_commit(output, error));
    EXPECT_EQ(file_text("a"), "new");
}

TEST_F(output_file, that_cannot_be_opened_is_not_begun)
{
    fs::create_directory("folder");
    put_file("file", "old");
    EXPECT_FALSE(put("folder", "x"));
    EXPECT_EQ(failure(), "cannot open folder, open: Is a directory");
    EXPECT_FALSE(put("nowhere/x", "x"));
    EXPECT_EQ(failure(), "cannot open nowhere/x, open: No such file or directory");
    EXPECT_FALSE(put("file/x", "x"));
    EXPECT_EQ(failure(), "cannot open file/x, open: Not a directory");
    EXPECT_FALSE(put("", "x"));
    EXPECT_EQ(failure(), "cannot open , open: No such file or directory");
    EXPECT_FALSE(put("new/", "x"));
    EXPECT_EQ(failure(), "cannot open new/, open: No such file or directory");
    output_discard(output);
    EXPECT_EQ(names(), (names_t{"file", "folder"}));
}

TEST_F(output_file, that_may_not_be_written_is_not_replaced)
{
    put_file("out", "old");
    fs::permissions("out", fs::perms(0444));
    fs::permissions(".", fs::perms(0777));
    const as_somebody without_rights;
    EXPECT_FALSE(put("out", "new"));
    EXPECT_EQ(failure(), "cannot open out, open: Permission denied");
    EXPECT_EQ(file_text("out"), "old");
}

TEST_F(output_file, stays_as_it_was_on_a_full_disk)
{
    const std::string large(100000, 'x');
    put_file("out", "old");
    for (const char *name : {"out", "new"}) {
        const full_disk disk(4096);
        EXPECT_FALSE(add(name, large));
        EXPECT_EQ(failure(), std::string("cannot write ") + name + ", write: File too large");
    }
    output_discard(output);
    EXPECT_EQ(file_text("out"), "old");
    EXPECT_EQ(names(), names_t{"out"});
}

TEST_F(output_file, on_a_full_device_is_a_failure)
{
    ASSERT_TRUE(add("/dev/full", "x"));
    EXPECT_FALSE(output_commit(output, error));
    EXPECT_EQ(failure(), "cannot write /dev/full, write: No space left on device");
    EXPECT_TRUE(put("/dev/null", "x"));
}

TEST_F(output_file, that_cannot_be_renamed_leaves_nothing_behind)
{
    ASSERT_TRUE(add("a", "new"));
    ASSERT_TRUE(add("out", "new"));
    ASSERT_TRUE(add("z", "new"));
    fs::create_directory("out");
    EXPECT_FALSE(output_commit(output, error));
    EXPECT_EQ(failure(), "cannot write out, rename: Is a directory");
    EXPECT_EQ(names(), (names_t{"a", "out"})) << "what came before stays in place";
}

TEST_F(output_file, does_not_take_the_file_of_another_run)
{
    put_file("out", "old");
    ASSERT_TRUE(add("out", "new"));
    fs::remove("out.pdata-new");
    put_file("out.pdata-new", "of another run");
    EXPECT_FALSE(output_commit(output, error));
    EXPECT_EQ(failure(), "cannot write out, rename: Stale file handle");
    EXPECT_EQ(file_text("out"), "old");
    EXPECT_EQ(file_text("out.pdata-new"), "of another run");
}

TEST_F(output_file, replaces_what_a_killed_run_left)
{
    put_file("other", "other");
    put_file("out.pdata-new", "half a f");
    ASSERT_TRUE(put("out", "new"));
    EXPECT_EQ(file_text("out"), "new");
    fs::create_symlink("other", "out.pdata-new");
    ASSERT_TRUE(put("out", "newer"));
    EXPECT_EQ(file_text("out"), "newer");
    EXPECT_EQ(file_text("other"), "other") << "a link is not followed there";
    EXPECT_EQ(names(), (names_t{"other", "out"}));
}

TEST_F(output_file, is_the_one_that_links_lead_to)
{
    fs::create_directory("far");
    put_file("far/out", "old");
    fs::create_symlink("out", "far/link");
    fs::create_symlink("far/link", "near");
    fs::create_symlink(folder / "far/new", "to_nothing");
    ASSERT_TRUE(add("near", "new"));
    EXPECT_EQ(names("far"), (names_t{"link", "out", "out.pdata-new"}));
    ASSERT_TRUE(output_commit(output, error));
    EXPECT_TRUE(fs::is_symlink("near") && fs::is_symlink("far/link"));
    EXPECT_EQ(file_text("far/out"), "new");
    ASSERT_TRUE(put("to_nothing", "made"));
    EXPECT_TRUE(fs::is_symlink("to_nothing"));
    EXPECT_EQ(file_text("far/new"), "made");
}

TEST_F(output_file, is_not_found_behind_links_without_an_end)
{
    fs::create_symlink("b", "a");
    fs::create_symlink("a", "b");
    EXPECT_FALSE(put("a", "x"));
    EXPECT_EQ(failure(), "cannot open a, open: Too many levels of symbolic links");
}

TEST_F(output_file, keeps_the_mode_of_the_old_one)
{
    // Whoever writes without all rights takes the right to run as its owner from a file.
    const mode_t lost = geteuid() == 0 ? mode_t{0} : mode_t{S_ISUID};
    const mode_t usual = umask(027);
    for (const mode_t mode : {0600U, 0640U, 0666U, 0777U, 0200U, 04755U}) {
        put_file("out", "old");
        ASSERT_EQ(chmod("out", mode), 0);
        ASSERT_TRUE(put("out", "new"));
        EXPECT_EQ(mode_of("out"), mode & ~lost);
        fs::remove("out");
    }
    ASSERT_TRUE(put("out", "new"));
    EXPECT_EQ(mode_of("out"), 0640U) << "a new one has what is usual";
    umask(usual);
}

// Whoever writes a program that runs with the rights of another does not become that other.
TEST_F(output_file, takes_no_rights_over_from_another_owner)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs two users";
    put_file("out", "old");
    ASSERT_EQ(chmod("out", 06666), 0);
    ASSERT_EQ(chmod(".", 0777), 0);
    const as_somebody without_rights;
    ASSERT_TRUE(put("out", "new"));
    EXPECT_EQ(mode_of("out"), 0666U);
}

TEST_F(output_file, is_written_directly_where_the_folder_takes_no_new_file)
{
    put_file("out", "old, and longer");
    fs::permissions("out", fs::perms(0666));
    fs::permissions(".", fs::perms(0555));
    {
        const as_somebody without_rights;
        ASSERT_TRUE(add("out", "new"));
        EXPECT_EQ(output.files.back().refusal, EACCES);
        EXPECT_EQ(file_text("out"), "old, and longer") << "not before all of the set is there";
        ASSERT_TRUE(output_commit(output, error));
        EXPECT_FALSE(put("none", "new"));
        EXPECT_EQ(failure(), "cannot open none, open: Permission denied");
    }
    fs::permissions(".", fs::perms(0755));
    EXPECT_EQ(file_text("out"), "new");
    EXPECT_EQ(names(), names_t{"out"});
}

TEST_F(output_file, is_written_directly_where_only_its_owner_may_replace_it)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs two users";
    put_file("out", "old");
    fs::permissions("out", fs::perms(0666));
    ASSERT_EQ(chmod(".", 01777), 0);
    const as_somebody without_rights;
    ASSERT_TRUE(add("out", "new"));
    EXPECT_EQ(output.files.back().refusal, EPERM);
    ASSERT_TRUE(output_commit(output, error));
    EXPECT_EQ(file_text("out"), "new");
}

TEST_F(output_file, is_written_directly_beside_a_folder_of_its_fixed_name)
{
    fs::create_directory("out.pdata-new");
    put_file("out", "old");
    ASSERT_TRUE(put("out", "new"));
    EXPECT_EQ(file_text("out"), "new");
    fs::remove("out");
    ASSERT_TRUE(add("out", "newer"));
    output_discard(output);
    EXPECT_EQ(names(), names_t{"out.pdata-new"}) << "what was made for the run goes with it";
    ASSERT_TRUE(put("out", "newer"));
    EXPECT_EQ(file_text("out"), "newer");
}

TEST_F(output_file, may_have_the_longest_name)
{
    const std::string longest(255, 'n');
    ASSERT_TRUE(put(longest.c_str(), "old"));
    ASSERT_TRUE(add(longest.c_str(), "new"));
    EXPECT_EQ(output.files.back().refusal, 0);
    ASSERT_TRUE(output_commit(output, error));
    EXPECT_EQ(file_text(longest), "new");
    EXPECT_EQ(names(), names_t{longest});
}

TEST_F(output_file, may_be_a_pipe)
{
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const int reader = open("pipe", O_RDONLY | O_NONBLOCK);
    ASSERT_NE(reader, -1);
    ASSERT_TRUE(put("pipe", "through"));
    char text[16] = {};
    EXPECT_EQ(read(reader, text, sizeof(text)), 7);
    EXPECT_STREQ(text, "through");
    ASSERT_TRUE(add("pipe", "through"));
    close(reader);
    EXPECT_FALSE(output_commit(output, error)) << "and no signal ends the process";
    EXPECT_EQ(failure(), "cannot write pipe, write: Broken pipe");
    EXPECT_EQ(names(), names_t{"pipe"});
}

TEST_F(output_file, that_a_process_has_open_is_written_where_it_is)
{
    put_file("out", "old, and longer");
    const int fd = open("out", O_RDONLY);
    ASSERT_TRUE(put(("/dev/fd/" + std::to_string(fd)).c_str(), "new"));
    char text[16] = {};
    EXPECT_EQ(read(fd, text, sizeof(text)), 3);
    EXPECT_STREQ(text, "new") << "the same file, not another of its name";
    close(fd);
    EXPECT_EQ(names(), names_t{"out"});
}

std::atomic<int> nr_signals = 0;

TEST_F(output_file, holds_signals_back_while_something_lies_beside_it)
{
    const auto usual = std::signal(SIGTERM, [](int) { ++nr_signals; });
    ASSERT_TRUE(add("out", "new"));
    ASSERT_TRUE(add("other", "new"));
    std::raise(SIGTERM);
    EXPECT_EQ(nr_signals, 0);
    ASSERT_TRUE(output_commit(output, error));
    EXPECT_EQ(nr_signals, 1) << "it comes when the files are in place";
    ASSERT_TRUE(add("out", "newer"));
    std::raise(SIGTERM);
    output_discard(output);
    EXPECT_EQ(nr_signals, 2);
    std::raise(SIGTERM);
    EXPECT_EQ(nr_signals, 3);
    std::signal(SIGTERM, usual);
}

TEST_F(output_file, leaves_nothing_when_memory_runs_out)
{
    put_file("out", "old");
    const std::string path = (folder / "a_name_that_is_long_enough_to_be_allocated").string();
    failing_alloc_sweep(
        [&] {
            try {
                output_t set;
                (void)output_add(set, path.c_str(), {}, OUTPUT_LEFT_TO_SYSTEM, error);
                (void)output_add(set, "out", {}, OUTPUT_LEFT_TO_SYSTEM, error);
            } catch (const std::bad_alloc &) {
                return 1;
            }
            return 0;
        },
        [&](int code) { EXPECT_EQ(code, 1); });
    EXPECT_EQ(file_text("out"), "old");
    EXPECT_EQ(names(), names_t{"out"});
}

} // namespace
