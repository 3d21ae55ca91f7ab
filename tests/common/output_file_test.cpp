#include "output_file.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>

#include "failing_alloc.h"
#include "failing_call.h"
#include "output_write.h"
#include "work_folder.h"

namespace
{

namespace fs = std::filesystem;

constexpr uid_t SOMEBODY = 65534;

/// A process without the rights of the superuser while it lives.
class as_somebody
{
public:
    as_somebody() : was_root(geteuid() == 0)
    {
        if (was_root) {
            EXPECT_EQ(seteuid(SOMEBODY), 0);
        }
    }
    ~as_somebody()
    {
        if (was_root) {
            EXPECT_EQ(seteuid(0), 0);
        }
    }
    as_somebody(const as_somebody &) = delete;
    as_somebody &operator=(const as_somebody &) = delete;

private:
    bool was_root;
};

/// A bound on the size of files while it lives: a disk that is full behind so many bytes.
class full_disk
{
public:
    explicit full_disk(rlim_t bytes)
    {
        EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
        const rlimit now = {bytes, before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &now), 0);
    }
    ~full_disk() { EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0); }
    full_disk(const full_disk &) = delete;
    full_disk &operator=(const full_disk &) = delete;

private:
    rlimit before;
};

class output_file : public work_folder
{
protected:
    /// Adds a file with this content, which must live until the set is in place.
    bool add(const char *filename, std::string_view content,
             output_sync_t sync = OUTPUT_LEFT_TO_SYSTEM)
    {
        const std::span<const uint8_t> part = {reinterpret_cast<const uint8_t *>(content.data()),
                                               content.size()};
        return output_add(output, filename, {&part, 1}, sync, error);
    }

    bool put(const char *filename, std::string_view content)
    {
        return add(filename, content) && output_commit(output, error);
    }

    /// The failure that was met: "open a: No such file or directory".
    std::string failure() const
    {
        constexpr const char *kinds[] = {"done", "cannot open", "cannot write"};
        return std::string(kinds[error.failure]) + " " + error.filename + ", " + error.reason;
    }

    /// The names in the working directory, sorted.
    static std::set<std::string> names(const fs::path &in = ".")
    {
        std::set<std::string> found;
        for (const fs::directory_entry &entry : fs::directory_iterator(in))
            found.insert(entry.path().filename());
        return found;
    }

    static mode_t mode_of(const char *name)
    {
        struct stat st = {};
        EXPECT_EQ(stat(name, &st), 0);
        return st.st_mode & 07777;
    }

    output_t output;
    output_error_t error;
};

using names_t = std::set<std::string>;

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

TEST_F(output_file, fails_with_the_call_that_fails)
{
    put_file("out", "old");
    const int fd = open("out", O_RDONLY);
    const std::string name = "/dev/fd/" + std::to_string(fd); // which is written where it is
    const struct {
        call_t call;
        int error;
        const char *failure;
    } cases[] = {
        {CALL_CLOSE, EIO, ", close: Input/output error"},
        {CALL_FTRUNCATE, EIO, ", truncate: Input/output error"},
        {CALL_WRITE, EDQUOT, ", write: Disk quota exceeded"},
        {CALL_WRITE, 0, ", write: No space left on device"},
    };
    for (const auto &one : cases) {
        const failing_call call(one.call, one.error);
        EXPECT_FALSE(put(name.c_str(), "new"));
        EXPECT_EQ(failure(), "cannot write " + name + one.failure);
    }
    close(fd);
}

TEST_F(output_file, is_written_on_after_an_interruption)
{
    for (const call_t interrupted : {CALL_WRITE, CALL_FSYNC}) {
        const failing_call call(interrupted, EINTR);
        ASSERT_TRUE(add("out", "new", OUTPUT_TO_DISK));
        ASSERT_TRUE(output_commit(output, error));
        EXPECT_EQ(file_text("out"), "new");
        fs::remove("out");
    }
}

TEST_F(output_file, need_not_lie_where_files_are_flushed)
{
    for (const int error_number : {EINVAL, ENOSYS}) {
        const failing_call call(CALL_FSYNC, error_number);
        EXPECT_TRUE(add("out", "new", OUTPUT_TO_DISK));
        EXPECT_TRUE(output_commit(output, error));
    }
    const failing_call call(CALL_FSYNC, EIO);
    EXPECT_FALSE(add("out", "newer", OUTPUT_TO_DISK));
    EXPECT_EQ(failure(), "cannot write out, flush: Input/output error");
    output_discard(output);
    EXPECT_EQ(file_text("out"), "new");
}

TEST_F(output_file, does_not_take_a_file_of_another_device)
{
    put_file("out", "old");
    ASSERT_TRUE(add("out", "new"));
    ++output.files.front().device;
    EXPECT_FALSE(output_commit(output, error));
    EXPECT_EQ(failure(), "cannot write out, rename: Stale file handle");
    EXPECT_EQ(file_text("out"), "old");
}

TEST_F(output_file, that_is_replaced_while_it_is_opened_is_written_where_it_was)
{
    const std::function<void()> replacements[] = {
        [] { fs::rename("other", "out"); },
        [] {
            fs::remove("out");
            fs::create_symlink("/dev/null", "out"); // on another device
        },
    };
    for (const std::function<void()> &replace : replacements) {
        put_file("out", "old");
        put_file("other", "other");
        fs::create_hard_link("out", "as_it_was");
        const failing_call call(CALL_STAT, replace);
        ASSERT_TRUE(add("out", "new"));
        ASSERT_TRUE(output_commit(output, error));
        EXPECT_EQ(file_text("as_it_was"), "new");
        EXPECT_NE(file_text("out"), "new");
        fs::remove("out");
        fs::remove("as_it_was");
    }
}

TEST_F(output_file, is_found_behind_as_many_links_as_the_system_follows)
{
    put_file("out", "old");
    std::string name = "out";
    for (int i = 0; i < 40; ++i) {
        const std::string link = "link" + std::to_string(i);
        fs::create_symlink(name, link);
        name = link;
    }
    ASSERT_TRUE(put(name.c_str(), "new"));
    EXPECT_EQ(file_text("out"), "new");
    fs::create_symlink(name, "one_more");
    EXPECT_FALSE(put("one_more", "newer"));
    EXPECT_EQ(failure(), "cannot open one_more, open: Too many levels of symbolic links");
}

TEST_F(output_file, is_found_behind_a_link_in_a_folder_of_unknown_kind)
{
    put_file("out", "old");
    fs::create_symlink("out", "link");
    const failing_call call(CALL_STATFS, EIO);
    ASSERT_TRUE(put("link", "new"));
    EXPECT_TRUE(fs::is_symlink("link"));
    EXPECT_EQ(file_text("out"), "new");
}

TEST_F(output_file, is_written_directly_where_the_folder_refuses_a_file)
{
    for (const int refusal : {EACCES, EPERM, EROFS, EEXIST, ENAMETOOLONG}) {
        put_file("out", "old, and longer");
        const failing_call call(CALL_OPEN, refusal, 2); // behind that of the target
        ASSERT_TRUE(add("out", "new"));
        EXPECT_EQ(output.files.back().refusal, refusal);
        ASSERT_TRUE(output_commit(output, error));
        EXPECT_EQ(file_text("out"), "new");
    }
    for (const call_t failed : {CALL_OPEN, CALL_UNLINK}) {
        const failing_call call(failed, EIO, failed == CALL_OPEN ? 2 : 1);
        EXPECT_FALSE(add("out", "newer"));
        EXPECT_EQ(failure(), "cannot write out, open: Input/output error");
        output_discard(output);
    }
    EXPECT_EQ(file_text("out"), "new");
}

TEST_F(output_file, keeps_its_owner_where_the_process_may)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs two users";
    const std::pair<uid_t, gid_t> owners[] = {{SOMEBODY, SOMEBODY}, {0, SOMEBODY}, {SOMEBODY, 0}};
    for (const auto &[user, group] : owners) {
        put_file("out", "old");
        ASSERT_EQ(chown("out", user, group), 0);
        ASSERT_EQ(chmod("out", 06755), 0);
        ASSERT_TRUE(put("out", "new"));
        struct stat st = {};
        ASSERT_EQ(stat("out", &st), 0);
        EXPECT_EQ(st.st_uid, user);
        EXPECT_EQ(st.st_gid, group);
        EXPECT_EQ(mode_of("out"), 06755U);
    }
}

TEST_F(output_file, is_replaced_by_its_owner_and_by_that_of_its_folder)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs two users";
    ASSERT_EQ(chmod(".", 01777), 0);
    const auto refusal = [&] {
        const as_somebody without_rights;
        EXPECT_TRUE(add("out", "new"));
        const int found = output.files.back().refusal;
        EXPECT_TRUE(output_commit(output, error));
        return found;
    };
    put_file("out", "old");
    fs::permissions("out", fs::perms(0666));
    ASSERT_EQ(chown("out", SOMEBODY, 0), 0);
    EXPECT_EQ(refusal(), 0) << "the owner of the file";
    put_file("out", "old");
    fs::permissions("out", fs::perms(0666));
    ASSERT_EQ(chown("out", 0, 0), 0);
    {
        const as_somebody without_rights;
        const failing_call call(CALL_STAT, EIO, 2); // behind that of the file
        EXPECT_FALSE(put("out", "new"));
        EXPECT_EQ(failure(), "cannot write out, rename: Operation not permitted")
            << "what the folder would have said";
    }
    ASSERT_EQ(chown(".", SOMEBODY, 0), 0);
    EXPECT_EQ(refusal(), 0) << "the owner of the folder";
    EXPECT_EQ(file_text("out"), "new");
}

} // namespace
