// What the library opens besides plain files, and what it says of what it cannot open.
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "failing_call.h"
#include "pdata.hpp"
#include "words.h"
#include "work_folder.h"

namespace
{

class open_match : public work_folder
{
};

/// Opens what cannot be opened; returns why.
pdata_failure failure_of(const char *path)
{
    pdata_db *db = nullptr;
    pdata_failure failure;
    EXPECT_NE(pdata_db_open(path, 0, &db, &failure), PDATA_R_OK) << path;
    EXPECT_EQ(db, nullptr);
    return failure;
}

TEST_F(open_match, a_file_that_is_none_is_told)
{
    const pdata_failure folder_failure = failure_of(".");
    EXPECT_EQ(folder_failure.result, PDATA_R_FILE);
    EXPECT_EQ(folder_failure.system, EISDIR);
    EXPECT_STREQ(folder_failure.text, ".: Is a directory");
    std::ofstream("empty.pdb").close();
    EXPECT_STREQ(failure_of("empty.pdb").text, "byte 0: missing record: no protocol descriptions");
}

TEST_F(open_match, a_file_larger_than_the_address_space_is_told)
{
    char name[] = "/dev/shm/pdata_XXXXXX"; // other file systems have no files of that size
    const int file = mkstemp(name);
    if (file < 0 || ftruncate(file, off_t{1} << 48) != 0)
        GTEST_SKIP() << "no file system in memory";
    const pdata_failure failure = failure_of(name);
    close(file);
    unlink(name);
    EXPECT_EQ(failure.result, PDATA_R_FILE);
    EXPECT_EQ(failure.system, ENOMEM);
}

TEST_F(open_match, a_file_that_tells_nothing_of_itself_is_told)
{
    const failing_call failing(CALL_FSTAT, EIO);
    const pdata_failure failure = failure_of(LOADABLE_PDB);
    EXPECT_EQ(failure.result, PDATA_R_FILE);
    EXPECT_EQ(failure.system, EIO);
}

volatile sig_atomic_t nr_signal = 0;

void count_signal(int)
{
    nr_signal = nr_signal + 1;
}

/// Writes a file into a pipe once its reader was interrupted.
void write_late(const std::string &bytes, pthread_t reader)
{
    const int pipe = open("pipe", O_WRONLY | O_CLOEXEC); // once the reader has opened it
    for (int before = 0; before < 5; ++before) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        pthread_kill(reader, SIGUSR1);
        while (nr_signal == before)
            std::this_thread::yield();
    }
    for (size_t at = 0; at < bytes.size();)
        at += static_cast<size_t>(write(pipe, bytes.data() + at, bytes.size() - at));
    close(pipe);
}

TEST_F(open_match, a_pipe_is_read_to_its_end_whatever_interrupts)
{
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    struct sigaction action = {};
    struct sigaction old_action = {};
    action.sa_handler = count_signal; // what it interrupts is not begun again
    ASSERT_EQ(sigaction(SIGUSR1, &action, &old_action), 0);
    const std::string bytes = file_text(LOADABLE_PDB);
    std::thread writer(write_late, bytes, pthread_self());
    const pdata::database db = pdata::database::open("pipe");
    writer.join();
    sigaction(SIGUSR1, &old_action, nullptr);
    EXPECT_EQ(db.describe().file_bytes, bytes.size());
    EXPECT_EQ(db.describe().nr_rule, pdata::database::open(LOADABLE_PDB).describe().nr_rule);
}

/// The load state of a loadable pdb, and the marker of one that has no descriptions.
TEST_F(open_match, a_pdb_without_descriptions_finds_nothing)
{
    const std::vector<uint8_t> bytes = stored(join({record(12, {0x02000002}), record(7), {0, 0}}));
    const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
    EXPECT_EQ(db.describe().nr_rule, 0u);
    EXPECT_EQ(db.describe().nr_item, 0u);
    EXPECT_EQ(db.attribute("tcp", "port", PDATA_CTS), 0u);
    pdata::flow flow(db, PDATA_FLOW_EXPLAIN);
    flow.add(0, "anything");
    EXPECT_TRUE(flow.rules().empty());
}

} // namespace
