#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

#include "output_target.h"
#include "output_write.h"

namespace
{

/// Fills `error` with the current errno. Returns false.
bool fail(output_error_t &error, output_failure_t failure, const output_file_t &file,
          const char *step)
{
    error.failure = failure;
    error.filename = file.filename;
    std::snprintf(error.reason, sizeof(error.reason), "%s: %s", step, std::strerror(errno));
    return false;
}

/// Holds back what a user or a system ends a program with.
void hold_signals(output_t &output)
{
    if (output.holds_signals)
        return;
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
        sigaddset(&ending, signal);
    output.holds_signals = pthread_sigmask(SIG_BLOCK, &ending, &output.before) == 0;
}

/// Forgets the files, and lets the signals come.
void empty_set(output_t &output)
{
    for (const output_file_t &file : output.files)
        if (file.pin != -1)
            close(file.pin);
    output.files.clear();
    if (output.holds_signals)
        pthread_sigmask(SIG_SETMASK, &output.before, nullptr);
    output.holds_signals = false;
}

/// Writes the file that is open, to its end.
bool write_whole(output_file_t &file, output_error_t &error)
{
    for (const std::span<const uint8_t> part : file.parts)
        if (!output_write_all(file.fd, part))
            return fail(error, OUTPUT_CANNOT_WRITE, file, "write");
    if (file.writer.write != nullptr && !file.writer.write(file.writer.context, file.fd))
        return fail(error, OUTPUT_CANNOT_WRITE, file, "write");
    if (file.regular && file.sync == OUTPUT_TO_DISK && !output_sync_file(file.fd))
        return fail(error, OUTPUT_CANNOT_WRITE, file, "flush");
    if (!file.temporary.empty() && (file.pin = dup(file.fd)) == -1)
        return fail(error, OUTPUT_CANNOT_WRITE, file, "close");
    if (close(std::exchange(file.fd, -1)) != 0)
        return fail(error, OUTPUT_CANNOT_WRITE, file, "close");
    return true;
}

/// Tells whether the temporary file is the one that was written, and not one of another run.
bool is_ours(const output_file_t &file)
{
    struct stat now;
    if (lstat(file.temporary.c_str(), &now) != 0)
        return false;
    errno = ESTALE;
    return now.st_dev == file.device && now.st_ino == file.inode;
}

/// Puts one file in place.
bool put_in_place(output_file_t &file, output_error_t &error)
{
    if (file.temporary.empty()) {
        if (file.regular && ftruncate(file.fd, 0) != 0)
            return fail(error, OUTPUT_CANNOT_WRITE, file, "truncate");
        if (!write_whole(file, error))
            return false;
    } else {
        if (!is_ours(file) || std::rename(file.temporary.c_str(), file.target.c_str()) != 0)
            return fail(error, OUTPUT_CANNOT_WRITE, file, "rename");
        file.temporary.clear();
    }
    file.created = false;
    return true;
}

/// Opens the target of a file, and writes what goes beside it.
bool begin_file(output_t &output, output_file_t &file, output_error_t &error)
{
    output_target_t target;
    if (!output_target_open(file.filename, target, file))
        return fail(error, OUTPUT_CANNOT_OPEN, file, "open");
    if (!target.replaceable)
        return true;
    hold_signals(output);
    if (!output_temporary_open(target, file))
        return fail(error, target.exists ? OUTPUT_CANNOT_WRITE : OUTPUT_CANNOT_OPEN, file, "open");
    if (file.temporary.empty())
        return true;
    return write_whole(file, error);
}

} // namespace

output_t::~output_t()
{
    output_discard(*this);
}

bool output_add(output_t &output, const char *filename, output_parts_t parts, output_sync_t sync,
                output_error_t &error)
{
    output_file_t &file = output.files.emplace_back();
    file.filename = filename;
    file.sync = sync;
    file.parts.assign(parts.begin(), parts.end());
    return begin_file(output, file, error);
}

bool output_add_written(output_t &output, const char *filename, output_writer_t writer,
                        output_sync_t sync, output_error_t &error)
{
    output_file_t &file = output.files.emplace_back();
    file.filename = filename;
    file.sync = sync;
    file.writer = writer;
    return begin_file(output, file, error);
}

bool output_commit(output_t &output, output_error_t &error)
{
    for (const bool directly : {true, false})
        for (output_file_t &file : output.files) {
            if (file.temporary.empty() != directly || put_in_place(file, error))
                continue;
            output_discard(output);
            return false;
        }
    empty_set(output);
    return true;
}

void output_discard(output_t &output)
{
    for (const output_file_t &file : output.files) {
        if (file.fd != -1)
            close(file.fd);
        if (!file.temporary.empty() && is_ours(file))
            unlink(file.temporary.c_str());
        if (file.created)
            unlink(file.target.c_str());
    }
    empty_set(output);
}
