#include "failing_call.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <utility>

namespace
{

struct {
    call_t call;
    int countdown = 0; ///< 0: nothing is changed
    int error;
    std::function<void()> before;
} change;

/// Counts a call. Returns whether it fails, with errno set or with 0.
bool fails(call_t call, long *result)
{
    if (change.countdown == 0 || change.call != call || --change.countdown != 0)
        return false;
    if (change.before) {
        change.before();
        return false;
    }
    *result = change.error == 0 ? 0 : -1;
    errno = change.error;
    return true;
}

/// The result of a call, which is changed or done.
template <typename Operation>
long result_of(call_t call, Operation &&operation)
{
    long result;
    return fails(call, &result) ? result : operation();
}

} // namespace

failing_call::failing_call(call_t call, int error, int nth)
{
    change = {call, nth, error, {}};
}

failing_call::failing_call(call_t call, std::function<void()> before, int nth)
{
    change = {call, nth, 0, std::move(before)};
}

failing_call::~failing_call()
{
    EXPECT_EQ(change.countdown, 0) << "the call that was to be changed";
    change.countdown = 0;
}

extern "C" {

int close(int fd)
{
    const auto done = static_cast<int>(syscall(SYS_close, fd));
    return static_cast<int>(result_of(CALL_CLOSE, [&] { return long{done}; }));
}

int fcntl(int fd, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    return static_cast<int>(
        result_of(CALL_FCNTL, [&] { return syscall(SYS_fcntl, fd, command, argument); }));
}

int fstat(int fd, struct stat *into) noexcept
{
    return static_cast<int>(
        result_of(CALL_FSTAT, [&] { return long{fstatat(fd, "", into, AT_EMPTY_PATH)}; }));
}

int fsync(int fd)
{
    return static_cast<int>(result_of(CALL_FSYNC, [&] { return syscall(SYS_fsync, fd); }));
}

int ftruncate(int fd, off_t size) noexcept
{
    return static_cast<int>(
        result_of(CALL_FTRUNCATE, [&] { return syscall(SYS_ftruncate, fd, size); }));
}

ssize_t getrandom(void *into, size_t size, unsigned flags)
{
    return result_of(CALL_GETRANDOM, [&] { return syscall(SYS_getrandom, into, size, flags); });
}

int memfd_create(const char *name, unsigned flags) noexcept
{
    return static_cast<int>(
        result_of(CALL_MEMFD, [&] { return syscall(SYS_memfd_create, name, flags); }));
}

int open(const char *name, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : mode_t{0};
    va_end(arguments);
    return static_cast<int>(
        result_of(CALL_OPEN, [&] { return syscall(SYS_openat, AT_FDCWD, name, flags, mode); }));
}

int pipe2(int *ends, int flags) noexcept
{
    return static_cast<int>(result_of(CALL_PIPE, [&] { return syscall(SYS_pipe2, ends, flags); }));
}

int poll(struct pollfd *files, nfds_t nr, int timeout)
{
    return static_cast<int>(
        result_of(CALL_POLL, [&] { return syscall(SYS_poll, files, nr, timeout); }));
}

ssize_t read(int fd, void *into, size_t size)
{
    return result_of(CALL_READ, [&] { return syscall(SYS_read, fd, into, size); });
}

int stat(const char *name, struct stat *into) noexcept
{
    return static_cast<int>(
        result_of(CALL_STAT, [&] { return long{fstatat(AT_FDCWD, name, into, 0)}; }));
}

int statfs(const char *name, struct statfs *into) noexcept
{
    return static_cast<int>(
        result_of(CALL_STATFS, [&] { return syscall(SYS_statfs, name, into); }));
}

int unlink(const char *name) noexcept
{
    return static_cast<int>(
        result_of(CALL_UNLINK, [&] { return long{unlinkat(AT_FDCWD, name, 0)}; }));
}

pid_t waitpid(pid_t pid, int *status, int options)
{
    return static_cast<pid_t>(
        result_of(CALL_WAIT, [&] { return syscall(SYS_wait4, pid, status, options, nullptr); }));
}

ssize_t write(int fd, const void *from, size_t size)
{
    return result_of(CALL_WRITE, [&] { return syscall(SYS_write, fd, from, size); });
}

} // extern "C"
