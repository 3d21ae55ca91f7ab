/*
 * Faults on demand, for any program: preloaded (LD_PRELOAD), it counts what the program asks of the
 * C library from main on, kind by kind, and makes the nth call of one kind fail, fall short, or be
 * the last one.
 *
 *     FAULT_COUNTS  a file of FAULT_DIM words of 64 bits, which receive the counts; it survives
 *                   whatever becomes of the program
 *     FAULT_KIND    index of the kind (fault_kind), and
 *     FAULT_NTH     which call of it, from 1; without them nothing fails
 *
 * Standard input and output go through the same calls as files do: the C library would bypass
 * them. Calls in front of main, and allocations behind it, are never made to fail; allocations in
 * front of it are counted on their own.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

/* The order that run_faults.py knows. */
enum fault_kind {
    FAULT_MEMORY,      /* an allocation: none */
    FAULT_OPEN,        /* "too many open files" */
    FAULT_READ,        /* an error of the device */
    FAULT_READ_SHORT,  /* one byte where more were asked for */
    FAULT_WRITE,       /* a full disk */
    FAULT_WRITE_SHORT, /* one byte is taken */
    FAULT_INTERRUPT,   /* a read or a write that a signal interrupted */
    FAULT_FLUSH,       /* an error of the device */
    FAULT_RENAME,      /* an error of the device */
    FAULT_CLOSE,       /* closed, with an error of the device */
    FAULT_STATUS,      /* what asks for or sets the status of a file: an error of the device */
    FAULT_MAP,         /* no memory to map a file into */
    FAULT_KILL,        /* killed in front of a call that concerns files */
    FAULT_TERMINATE,   /* asked to end there */
    FAULT_KINDS,
    FAULT_EARLY = FAULT_KINDS, /* count alone: allocations in front of main */
    FAULT_HAPPENED,            /* count alone: 1 once the nth call was made to fail */
    FAULT_DIM
};

static _Atomic uint64_t unread_counts[FAULT_DIM];
static _Atomic uint64_t *counts = unread_counts;
static uint64_t chosen_nth;
static enum fault_kind chosen_kind = FAULT_KINDS;
static enum { BEFORE_MAIN, STARTING, WITHIN_MAIN, BEHIND_MAIN } stage;

/* Counts a call. Returns whether it is the one to fail. */
static int is_due(enum fault_kind kind)
{
    if (stage < WITHIN_MAIN)
        return 0;
    const uint64_t nth = atomic_fetch_add(&counts[kind], 1) + 1;
    if (kind != chosen_kind || nth != chosen_nth)
        return 0;
    atomic_store(&counts[FAULT_HAPPENED], 1);
    return 1;
}

/* Counts a call that concerns files, and ends the program where that is due. */
static void pass_end(void)
{
    if (is_due(FAULT_KILL))
        raise(SIGKILL);
    if (is_due(FAULT_TERMINATE))
        raise(SIGTERM);
}

/* Counts a call of `kind`. Returns whether it fails, with `error`. */
static int fails(enum fault_kind kind, int error)
{
    pass_end();
    if (!is_due(kind))
        return 0;
    errno = error;
    return 1;
}

/* ---- Memory --------------------------------------------------------------------------------- */

extern void *__libc_malloc(size_t size);
extern void *__libc_calloc(size_t count, size_t size);
extern void *__libc_realloc(void *block, size_t size);
extern void *__libc_memalign(size_t alignment, size_t size);

static int memory_fails(void)
{
    if (stage == BEFORE_MAIN)
        atomic_fetch_add(&counts[FAULT_EARLY], 1);
    if (stage == BEHIND_MAIN || !is_due(FAULT_MEMORY))
        return 0;
    errno = ENOMEM;
    return 1;
}

void *malloc(size_t size)
{
    return memory_fails() ? NULL : __libc_malloc(size);
}

void *calloc(size_t count, size_t size)
{
    return memory_fails() ? NULL : __libc_calloc(count, size);
}

void *realloc(void *block, size_t size)
{
    return memory_fails() ? NULL : __libc_realloc(block, size);
}

void *aligned_alloc(size_t alignment, size_t size)
{
    return memory_fails() ? NULL : __libc_memalign(alignment, size);
}

int posix_memalign(void **block, size_t alignment, size_t size)
{
    if (memory_fails())
        return ENOMEM;
    *block = __libc_memalign(alignment, size);
    return *block == NULL ? ENOMEM : 0;
}

/* ---- Files ---------------------------------------------------------------------------------- */

/* The operation of this name that stands behind this library. */
#define NEXT(name) ((__typeof__(&(name)))dlsym(RTLD_NEXT, #name))

/* A program whose lines are counted (scripts/coverage) writes the counts at its end, which is no
 * part of it. */
static void leave_counting_of_lines(const char *path)
{
    const size_t length = strlen(path);
    if (length > 5 && strcmp(path + length - 5, ".gcda") == 0)
        stage = STARTING;
}

static int open_it(const char *path, int flags, mode_t mode)
{
    leave_counting_of_lines(path);
    return fails(FAULT_OPEN, EMFILE) ? -1 : (int)syscall(SYS_openat, AT_FDCWD, path, flags, mode);
}

#define OPEN_OPERATION(name)                                                                       \
    int name(const char *path, int flags, ...)                                                     \
    {                                                                                              \
        mode_t mode = 0;                                                                           \
        if ((flags & O_CREAT) != 0) {                                                              \
            va_list arguments;                                                                     \
            va_start(arguments, flags);                                                            \
            mode = va_arg(arguments, mode_t);                                                      \
            va_end(arguments);                                                                     \
        }                                                                                          \
        return open_it(path, flags, mode);                                                         \
    }

OPEN_OPERATION(open)
OPEN_OPERATION(open64)

int __open_2(const char *path, int flags)
{
    return open_it(path, flags, 0);
}

int __open64_2(const char *path, int flags)
{
    return open_it(path, flags, 0);
}

static int is_interrupted(void)
{
    if (!is_due(FAULT_INTERRUPT))
        return 0;
    errno = EINTR;
    return 1;
}

static ssize_t read_it(int fd, void *into, size_t size)
{
    if (fails(FAULT_READ, EIO))
        return -1;
    return syscall(SYS_read, fd, into, size != 0 && is_due(FAULT_READ_SHORT) ? 1 : size);
}

static ssize_t write_it(int fd, const void *from, size_t size)
{
    if (fails(FAULT_WRITE, ENOSPC))
        return -1;
    return syscall(SYS_write, fd, from, size != 0 && is_due(FAULT_WRITE_SHORT) ? 1 : size);
}

ssize_t read(int fd, void *into, size_t size)
{
    return is_interrupted() ? -1 : read_it(fd, into, size);
}

ssize_t __read_chk(int fd, void *into, size_t size, size_t room)
{
    if (size > room)
        abort();
    return read(fd, into, size);
}

ssize_t write(int fd, const void *from, size_t size)
{
    return is_interrupted() ? -1 : write_it(fd, from, size);
}

int fsync(int fd)
{
    return fails(FAULT_FLUSH, EIO) ? -1 : (int)syscall(SYS_fsync, fd);
}

int rename(const char *from, const char *to)
{
    return fails(FAULT_RENAME, EIO) ? -1 : (int)syscall(SYS_rename, from, to);
}

int unlink(const char *path)
{
    pass_end();
    return (int)syscall(SYS_unlink, path);
}

int close(int fd)
{
    const int failed = fails(FAULT_CLOSE, EIO);
    const int result = (int)syscall(SYS_close, fd);
    if (failed)
        errno = EIO;
    return failed ? -1 : result;
}

int fstat(int fd, struct stat *into)
{
    return fails(FAULT_STATUS, EIO) ? -1 : NEXT(fstat)(fd, into);
}

int stat(const char *path, struct stat *into)
{
    return fails(FAULT_STATUS, EIO) ? -1 : NEXT(stat)(path, into);
}

int lstat(const char *path, struct stat *into)
{
    return fails(FAULT_STATUS, EIO) ? -1 : NEXT(lstat)(path, into);
}

int fchmod(int fd, mode_t mode)
{
    return fails(FAULT_STATUS, EIO) ? -1 : (int)syscall(SYS_fchmod, fd, mode);
}

int ftruncate(int fd, off_t size)
{
    return fails(FAULT_STATUS, EIO) ? -1 : (int)syscall(SYS_ftruncate, fd, size);
}

int dup(int fd)
{
    return fails(FAULT_OPEN, EMFILE) ? -1 : (int)syscall(SYS_dup, fd);
}

char *mkdtemp(char *path)
{
    return fails(FAULT_OPEN, EACCES) ? NULL : NEXT(mkdtemp)(path);
}

static void *map_it(void *at, size_t size, int protection, int flags, int fd, off_t offset)
{
    if (fd != -1 && fails(FAULT_MAP, ENOMEM))
        return MAP_FAILED;
    return (void *)syscall(SYS_mmap, at, size, protection, flags, fd, offset);
}

void *mmap(void *at, size_t size, int protection, int flags, int fd, off_t offset)
{
    return map_it(at, size, protection, flags, fd, offset);
}

void *mmap64(void *at, size_t size, int protection, int flags, int fd, off64_t offset)
{
    return map_it(at, size, protection, flags, fd, offset);
}

/* ---- Other programs -------------------------------------------------------------------------- */

int pipe2(int fds[2], int flags)
{
    return fails(FAULT_OPEN, EMFILE) ? -1 : (int)syscall(SYS_pipe2, fds, flags);
}

int posix_spawnp(pid_t *pid, const char *file, const posix_spawn_file_actions_t *actions,
                 const posix_spawnattr_t *attributes, char *const arguments[],
                 char *const environment[])
{
    pass_end();
    if (is_due(FAULT_OPEN))
        return EAGAIN;
    return NEXT(posix_spawnp)(pid, file, actions, attributes, arguments, environment);
}

int poll(struct pollfd *fds, nfds_t count, int milliseconds)
{
    return is_interrupted() ? -1 : NEXT(poll)(fds, count, milliseconds);
}

pid_t waitpid(pid_t pid, int *status, int options)
{
    return is_interrupted() ? -1 : NEXT(waitpid)(pid, status, options);
}

/* ---- Standard input and output --------------------------------------------------------------- */

/* (Never interrupted: a program without handlers is not, and the C library takes it for an end.) */

static ssize_t stream_read(void *cookie, char *into, size_t size)
{
    return read_it(*(const int *)cookie, into, size);
}

static ssize_t stream_write(void *cookie, const char *from, size_t size)
{
    const char *at = from;
    while (at < from + size) {
        const ssize_t taken = write_it(*(const int *)cookie, at, (size_t)(from + size - at));
        if (taken < 0)
            return at - from;
        at += taken;
    }
    return (ssize_t)size;
}

static FILE *first_stdin;

/* Leads standard input and output through this library. */
static void replace_streams(void)
{
    static int input = STDIN_FILENO;
    static int output = STDOUT_FILENO;
    first_stdin = stdin;
    stdin = fopencookie(&input, "r", (cookie_io_functions_t){.read = stream_read});
    stdout = fopencookie(&output, "w", (cookie_io_functions_t){.write = stream_write});
}

/* The streams of C++ keep the standard input that they found. */
static FILE *current_stream(FILE *stream)
{
    return stream == first_stdin ? stdin : stream;
}

int getc(FILE *stream)
{
    return fgetc(current_stream(stream));
}

int ungetc(int c, FILE *stream)
{
    return NEXT(ungetc)(c, current_stream(stream));
}

/* ---- Start ---------------------------------------------------------------------------------- */

static void map_counts(void)
{
    const char *path = getenv("FAULT_COUNTS");
    if (path == NULL)
        return;
    const size_t size = sizeof(uint64_t) * FAULT_DIM;
    const int fd = (int)syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0 || syscall(SYS_ftruncate, fd, size) != 0)
        abort();
    void *map = (void *)syscall(SYS_mmap, NULL, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (map == MAP_FAILED)
        abort();
    memcpy(map, (const void *)unread_counts, size);
    counts = map;
    (void)syscall(SYS_close, fd);
}

static void choose_fault(void)
{
    const char *kind = getenv("FAULT_KIND");
    const char *nth = getenv("FAULT_NTH");
    if (kind == NULL || nth == NULL)
        return;
    chosen_kind = (enum fault_kind)strtoul(kind, NULL, 10);
    chosen_nth = strtoull(nth, NULL, 10);
}

static int (*program_main)(int, char **, char **);

static int counted_main(int argc, char **argv, char **environment)
{
    stage = STARTING;
    map_counts();
    choose_fault();
    replace_streams();
    stage = WITHIN_MAIN;
    const int status = program_main(argc, argv, environment);
    stage = BEHIND_MAIN;
    return status;
}

typedef int start_operation(int (*)(int, char **, char **), int, char **, void (*)(void),
                            void (*)(void), void (*)(void), void *);

/* Stands in front of the operation of the C library that calls main. */
int __libc_start_main(int (*main)(int, char **, char **), int argc, char **argv, void (*init)(void),
                      void (*fini)(void), void (*rtld_fini)(void), void *end)
{
    start_operation *start = (start_operation *)dlsym(RTLD_NEXT, "__libc_start_main");
    program_main = main;
    return start(counted_main, argc, argv, init, fini, rtld_fini, end);
}
