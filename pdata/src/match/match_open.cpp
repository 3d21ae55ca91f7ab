#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "match_database.h"
#include "match_guard.h"
#include "pdb_verify.h"

namespace
{

constexpr size_t READ_STEP = size_t{1} << 20;

__attribute__((format(printf, 4, 5))) pdata_result fail(pdata_failure *failure, pdata_result result,
                                                        int system, const char *format, ...)
{
    if (failure == nullptr)
        return result;
    *failure = {};
    failure->result = result;
    failure->system = system;
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(failure->text, sizeof failure->text, format, arguments);
    va_end(arguments);
    return result;
}

pdata_result fail_view(pdata_failure *failure, const view_error_t &error)
{
    if (error.fault == VIEW_MEMORY)
        return fail(failure, PDATA_R_MEMORY, 0, "%s", pdata_result_text(PDATA_R_MEMORY));
    fail(failure, PDATA_R_DAMAGED, 0, "byte %zu: %s: %s", error.offset,
         view_fault_name(error.fault), error.text);
    if (failure != nullptr)
        failure->offset = error.offset;
    return PDATA_R_DAMAGED;
}

/// A file descriptor that is closed.
struct open_file_t {
    int number = -1;

    explicit open_file_t(const char *path) : number(open(path, O_RDONLY | O_CLOEXEC)) {}
    open_file_t(const open_file_t &) = delete;
    open_file_t &operator=(const open_file_t &) = delete;
    ~open_file_t()
    {
        if (number >= 0)
            close(number);
    }
};

/// Reads a file to its end. Returns 0, or errno.
int read_all(int file, std::vector<uint8_t> &bytes)
{
    size_t size = 0;
    for (;;) {
        if (bytes.size() - size < READ_STEP)
            bytes.resize(std::max(bytes.size() * 2, size + READ_STEP));
        const ssize_t got = read(file, bytes.data() + size, bytes.size() - size);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return errno;
        if (got == 0)
            break;
        size += static_cast<size_t>(got);
    }
    bytes.resize(size);
    return 0;
}

/// Maps a regular file that is not empty; whatever cannot be mapped is read.
int load_file(const char *path, uint32_t flags, match_bytes_t &bytes)
{
    const open_file_t file(path);
    struct stat status;
    if (file.number < 0 || fstat(file.number, &status) != 0)
        return errno;
    if ((flags & PDATA_OPEN_COPY) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
        const auto size = static_cast<size_t>(status.st_size);
        void *map = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.number, 0);
        if (map == MAP_FAILED)
            return errno;
        bytes.map = map;
        bytes.bytes = {static_cast<const uint8_t *>(map), size};
        return 0;
    }
    const int failed = read_all(file.number, bytes.copy);
    bytes.bytes = bytes.copy;
    return failed;
}

bool make_indexes(pdata_db &db, view_error_t &error)
{
    if (!db.view.compiled)
        return true;
    if (!match_index_matchers(db, error) || !match_index_rules(db, error))
        return false;
    match_index_attributes(db);
    match_mark_admitted(db);
    match_mark_preempts(db);
    return true;
}

/// Opens the bytes that a database has.
pdata_result open_database(pdata_db &db, uint32_t flags, pdata_failure *failure)
{
    view_error_t error;
    const bool trusted = (flags & PDATA_OPEN_TRUSTED) != 0;
    if (!(trusted ? pdb_view_open : pdb_verify_open)(db.bytes.bytes, db.view, error))
        return fail_view(failure, error);
    if (!db.view.compiled && !db.view.empty)
        return fail(failure, PDATA_R_NOT_LOADABLE, 0, "%s",
                    pdata_result_text(PDATA_R_NOT_LOADABLE));
    return make_indexes(db, error) ? PDATA_R_OK : fail_view(failure, error);
}

/// Makes a database of what `load` gives it.
template <typename Load>
pdata_result make_database(uint32_t flags, pdata_db **db, pdata_failure *failure, Load &&load)
{
    if (failure != nullptr)
        *failure = {};
    if (db == nullptr)
        return fail(failure, PDATA_R_ARGUMENT, 0, "%s", pdata_result_text(PDATA_R_ARGUMENT));
    *db = nullptr;
    const pdata_result result = match_guarded([&] {
        auto made = std::make_unique<pdata_db>();
        pdata_result opened = load(made->bytes);
        if (opened == PDATA_R_OK)
            opened = open_database(*made, flags, failure);
        if (opened == PDATA_R_OK)
            *db = made.release();
        return opened;
    });
    if (result == PDATA_R_MEMORY)
        fail(failure, result, 0, "%s", pdata_result_text(result));
    return result;
}

} // namespace

match_bytes_t::~match_bytes_t()
{
    if (map != nullptr)
        munmap(map, bytes.size());
}

pdata_result pdata_db_open(const char *path, uint32_t flags, pdata_db **db, pdata_failure *failure)
{
    return make_database(flags, db, failure, [&](match_bytes_t &bytes) {
        if (path == nullptr)
            return fail(failure, PDATA_R_ARGUMENT, 0, "%s", pdata_result_text(PDATA_R_ARGUMENT));
        const int failed = load_file(path, flags, bytes);
        return failed == 0 ? PDATA_R_OK
                           : fail(failure, PDATA_R_FILE, failed, "%s: %s", path, strerror(failed));
    });
}

pdata_result pdata_db_open_memory(const void *memory, size_t size, uint32_t flags, pdata_db **db,
                                  pdata_failure *failure)
{
    return make_database(flags, db, failure, [&](match_bytes_t &bytes) {
        if (memory == nullptr && size != 0)
            return fail(failure, PDATA_R_ARGUMENT, 0, "%s", pdata_result_text(PDATA_R_ARGUMENT));
        const auto *first = static_cast<const uint8_t *>(memory);
        bytes.bytes = {first, size};
        if ((flags & PDATA_OPEN_COPY) != 0) {
            bytes.copy.assign(first, first + size);
            bytes.bytes = bytes.copy;
        }
        return PDATA_R_OK;
    });
}

pdata_db *pdata_db_hold(pdata_db *db)
{
    if (db != nullptr)
        db->holds.fetch_add(1, std::memory_order_relaxed);
    return db;
}

void pdata_db_release(pdata_db *db)
{
    if (db != nullptr && db->holds.fetch_sub(1, std::memory_order_acq_rel) == 1)
        std::default_delete<pdata_db>()(db);
}
