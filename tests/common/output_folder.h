/// Outputs in a folder of their own, disks that are full, and processes without rights.
#pragma once

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "output_file.h"
#include "work_folder.h"

namespace fs = std::filesystem;

using names_t = std::set<std::string>;

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
