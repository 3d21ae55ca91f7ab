#include "tshark.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <thread>
#include <unordered_map>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "csa_cut.h"

namespace
{

/// Bytes that are gathered before the child is given them.
constexpr size_t feed_step = size_t{1} << 16;
/// Longest line of output that is taken, in bytes.
constexpr size_t line_max = size_t{16} << 20;

/// How long lines may wait to be read together, and the room that they have meanwhile, in bytes.
constexpr std::chrono::milliseconds reading_rest(1);
constexpr int output_room = 1 << 20;

constexpr const char *missing =
    "captures are read with tshark, which is not there; Debian has it in the package tshark";

/// The home of those who have none (Debian policy manual): no profile is found there.
constexpr const char *no_home = "/nonexistent";

/// Which descriptors a child gets as its own.
struct child_files_t {
    int input;
    int output;
    int messages;
};

/// Sets the actions up. Returns errno.
int prepare_files(posix_spawn_file_actions_t &actions, const child_files_t &files)
{
    const std::array<int, 3> own = {files.input, files.output, files.messages};
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        if (const int fault =
                posix_spawn_file_actions_adddup2(&actions, own[static_cast<size_t>(fd)], fd);
            fault != 0)
            return fault;
    return 0;
}

/// The pointers that a program is given: to words that outlive them, and a null.
std::vector<char *> pointers_to(const std::vector<std::string> &words)
{
    std::vector<char *> pointers;
    for (const std::string &word : words)
        pointers.push_back(const_cast<char *>(word.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

/// Starts the program. Returns errno.
int spawn(const std::vector<std::string> &arguments, const child_files_t &files, pid_t &pid)
{
    const auto setting = [](const char *name, const char *otherwise) {
        const char *value = std::getenv(name);
        return std::string(name) + "=" + (value == nullptr ? otherwise : value);
    };
    const std::vector<std::string> environment = {
        setting("PATH", "/usr/bin:/bin"), setting("TMPDIR", "/tmp"), std::string("HOME=") + no_home,
        std::string("XDG_CONFIG_HOME=") + no_home, "LC_ALL=C.UTF-8"};
    const std::vector<char *> words = pointers_to(arguments);
    const std::vector<char *> settings = pointers_to(environment);
    posix_spawn_file_actions_t actions;
    if (const int fault = posix_spawn_file_actions_init(&actions); fault != 0)
        return fault;
    int fault = prepare_files(actions, files);
    if (fault == 0)
        fault = posix_spawnp(&pid, words.front(), &actions, nullptr, words.data(), settings.data());
    posix_spawn_file_actions_destroy(&actions);
    return fault;
}

/// Makes both pipes and the file of messages, and says which ends the child gets. Returns errno;
/// what was made until a fault is open.
int open_files(tshark_child_t &child, child_files_t &files)
{
    std::array<int, 2> in;
    std::array<int, 2> out;
    child.messages = files.messages = memfd_create("tshark", MFD_CLOEXEC);
    if (child.messages < 0 || pipe2(in.data(), O_CLOEXEC) != 0)
        return errno;
    child.input = in[1];
    files.input = in[0];
    if (pipe2(out.data(), O_CLOEXEC) != 0)
        return errno;
    child.output = out[0];
    files.output = out[1];
    (void)fcntl(child.output, F_SETPIPE_SZ, output_room); // the system may allow less
    return fcntl(child.input, F_SETFL, O_NONBLOCK) == 0 ? 0 : errno;
}

void close_files(std::initializer_list<int> files)
{
    for (const int fd : files)
        if (fd >= 0)
            close(fd);
}

std::string start(const std::vector<std::string> &arguments, tshark_child_t &child)
{
    child = {};
    child_files_t files = {-1, -1, -1};
    int fault = open_files(child, files);
    if (fault == 0)
        fault = spawn(arguments, files, child.pid);
    close_files({files.input, files.output});
    if (fault == 0)
        return {};
    close_files({child.input, child.output, child.messages});
    return fault == ENOENT ? missing : std::string("tshark: ") + std::strerror(fault);
}

/// Hands on the lines that are complete.
void take_lines(tshark_child_t &child, const tshark_sink_t &sink)
{
    size_t at = 0;
    for (size_t end; (end = child.in.find('\n', at)) != std::string::npos; at = end + 1)
        sink(std::string_view(child.in).substr(at, end - at));
    child.in.erase(0, at);
    if (child.in.size() > line_max)
        child.in.clear();
}

/// Reads once, where something is to be read or will be. Returns false at the end. The child prints
/// line by line: a reader that is not behind rests a little, lest it wakes up for every line.
bool read_some(tshark_child_t &child, const tshark_sink_t &sink)
{
    std::array<char, size_t{1} << 16> bytes;
    if (child.last < bytes.size() / 4)
        std::this_thread::sleep_for(reading_rest);
    const ssize_t count = read(child.output, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR && errno != EAGAIN)
        child.fault = errno;
    if (count < 0)
        return child.fault == 0;
    child.last = static_cast<size_t>(count);
    child.in.append(bytes.data(), child.last);
    take_lines(child, sink);
    return count > 0;
}

/// Writes to a pipe; that its reader is gone is an error and no signal, whatever the process has
/// set up for that signal.
ssize_t write_without_signal(int fd, std::string_view bytes)
{
    sigset_t pipe_signal;
    sigset_t before;
    sigemptyset(&pipe_signal);
    sigaddset(&pipe_signal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe_signal, &before);
    const ssize_t count = write(fd, bytes.data(), bytes.size());
    const int fault = errno;
    const timespec no_time = {};
    if (count < 0 && fault == EPIPE)
        (void)sigtimedwait(&pipe_signal, nullptr, &no_time);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = fault;
    return count;
}

/// Gives the child all of `out`, and takes what it prints meanwhile. Returns false when it is gone.
bool write_all(tshark_child_t &child, const tshark_sink_t &sink)
{
    size_t at = 0;
    while (at < child.out.size()) {
        std::array<pollfd, 2> waiting = {pollfd{child.input, POLLOUT, 0},
                                         pollfd{child.output, POLLIN, 0}};
        if (poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR)
            return false;
        if (waiting[1].revents != 0 && !read_some(child, sink))
            return false;
        if (waiting[0].revents == 0)
            continue;
        const ssize_t count =
            write_without_signal(child.input, std::string_view(child.out).substr(at));
        if (count < 0 && errno != EINTR && errno != EAGAIN)
            return false;
        at += count > 0 ? static_cast<size_t>(count) : 0;
    }
    child.out.clear();
    return true;
}

/// The last of the child's messages that is about the capture.
std::string last_message(int messages)
{
    std::array<char, size_t{1} << 16> bytes;
    const ssize_t count = pread(messages, bytes.data(), bytes.size(), 0);
    std::string_view text(bytes.data(), count > 0 ? static_cast<size_t>(count) : 0);
    std::string_view last;
    while (!text.empty()) {
        const std::string_view line = csa_cut(text, '\n');
        if (!line.empty() && !line.starts_with("Running as user"))
            last = line.substr(0, 512);
    }
    return std::string(last);
}

std::string how_it_ended(int messages, int status)
{
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return {};
    const std::string message = last_message(messages);
    if (!message.empty())
        return message;
    return WIFEXITED(status) ? "tshark ended with status " + std::to_string(WEXITSTATUS(status))
                             : "tshark was ended by signal " + std::to_string(WTERMSIG(status));
}

} // namespace

std::string tshark_ask(std::vector<std::string> &fields, std::vector<std::string> &lacking)
{
    tshark_child_t child;
    const std::string fault = start({"tshark", "-G", "fields"}, child);
    if (!fault.empty())
        return fault;
    std::unordered_map<std::string_view, bool> has;
    for (const std::string &field : fields)
        has[field] = false;
    const std::string ended = tshark_finish(child, [&has](std::string_view line) {
        if (!line.starts_with("F\t"))
            return;
        const size_t begin = line.find('\t', 2) + 1;
        const auto found = has.find(line.substr(begin, line.find('\t', begin) - begin));
        if (found != has.end())
            found->second = true;
    });
    std::ranges::copy_if(fields, std::back_inserter(lacking),
                         [&has](const std::string &field) { return !has[field]; });
    for (const std::string &field : lacking)
        std::erase(fields, field);
    return ended;
}

std::string tshark_start(const std::vector<std::string> &fields, tshark_child_t &child)
{
    // Sequence numbers stay relative, since the dissector of RTMP relies on it: the absolute ones
    // are a field of their own, tcp.seq_raw.
    std::vector<std::string> arguments = {
        "tshark", "-n", "-l", "-Q", "-r", "-", "-T", "ek", "-o", "tcp.reassemble_out_of_order:TRUE",
    };
    for (const std::string &field : fields) {
        arguments.emplace_back("-e");
        arguments.push_back(field);
    }
    return start(arguments, child);
}

bool tshark_feed(tshark_child_t &child, std::string_view bytes, const tshark_sink_t &sink)
{
    child.out += bytes;
    return child.out.size() < feed_step || write_all(child, sink);
}

void tshark_wait(tshark_child_t &child, int source, const tshark_sink_t &sink)
{
    pollfd now = {source, POLLIN, 0};
    if (poll(&now, 1, 0) != 0 || !write_all(child, sink))
        return;
    for (;;) {
        std::array<pollfd, 2> waiting = {pollfd{source, POLLIN, 0},
                                         pollfd{child.output, POLLIN, 0}};
        if (poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR)
            return;
        if (waiting[0].revents != 0 || (waiting[1].revents != 0 && !read_some(child, sink)))
            return;
    }
}

std::string tshark_finish(tshark_child_t &child, const tshark_sink_t &sink)
{
    (void)write_all(child, sink);
    close(child.input);
    while (read_some(child, sink))
        ;
    if (!child.in.empty())
        sink(child.in);
    close(child.output);
    int status = 0;
    while (waitpid(child.pid, &status, 0) < 0 && errno == EINTR)
        ;
    const std::string fault = child.fault != 0
                                  ? std::string("tshark: ") + std::strerror(child.fault)
                                  : how_it_ended(child.messages, status);
    close(child.messages);
    child = {};
    return fault;
}
