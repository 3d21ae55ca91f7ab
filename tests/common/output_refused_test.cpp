// What outputs do when the system refuses a call, or does less than it was asked for.
#include <fcntl.h>

#include "failing_call.h"
#include "output_folder.h"

namespace
{

class output_refused : public output_file
{
};

TEST_F(output_refused, fails_with_the_call_that_fails)
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

TEST_F(output_refused, is_written_on_after_an_interruption)
{
    for (const call_t interrupted : {CALL_WRITE, CALL_FSYNC}) {
        const failing_call call(interrupted, EINTR);
        ASSERT_TRUE(add("out", "new", OUTPUT_TO_DISK));
        ASSERT_TRUE(output_commit(output, error));
        EXPECT_EQ(file_text("out"), "new");
        fs::remove("out");
    }
}

TEST_F(output_refused, need_not_lie_where_files_are_flushed)
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

TEST_F(output_refused, does_not_take_a_file_of_another_device)
{
    put_file("out", "old");
    ASSERT_TRUE(add("out", "new"));
    ++output.files.front().device;
    EXPECT_FALSE(output_commit(output, error));
    EXPECT_EQ(failure(), "cannot write out, rename: Stale file handle");
    EXPECT_EQ(file_text("out"), "old");
}

TEST_F(output_refused, that_is_replaced_while_it_is_opened_is_written_where_it_was)
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

TEST_F(output_refused, is_found_behind_as_many_links_as_the_system_follows)
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

TEST_F(output_refused, is_found_behind_a_link_in_a_folder_of_unknown_kind)
{
    put_file("out", "old");
    fs::create_symlink("out", "link");
    const failing_call call(CALL_STATFS, EIO);
    ASSERT_TRUE(put("link", "new"));
    EXPECT_TRUE(fs::is_symlink("link"));
    EXPECT_EQ(file_text("out"), "new");
}

TEST_F(output_refused, is_written_directly_where_the_folder_refuses_a_file)
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

TEST_F(output_refused, keeps_its_owner_where_the_process_may)
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

TEST_F(output_refused, is_replaced_by_its_owner_and_by_that_of_its_folder)
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
