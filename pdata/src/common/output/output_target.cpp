#include "output_target.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

namespace
{

/// Links that are followed at most, as many as the system follows.
constexpr int LINKS_MAX = 40;

constexpr mode_t NEW_FILE_MODE = 0666;
constexpr mode_t PERMISSIONS = 07777;

/// Where the folder ends in a name: in front of the last component.
size_t folder_len(const std::string &name)
{
    return name.rfind('/') + 1; // npos + 1 is 0
}

std::string folder_of(const std::string &name)
{
    const size_t len = folder_len(name);
    return len == 0 ? "." : name.substr(0, len);
}

/// Tells whether a name stands in the system's view of processes, whose links lead to what a
/// process has open rather than to names.
bool is_of_process(const std::string &name)
{
    struct statfs fs;
    const std::string folder = folder_of(name);
    return statfs(folder.c_str(), &fs) == 0 && fs.f_type == PROC_SUPER_MAGIC;
}

/// Returns the name behind the symbolic links of the last component; empty behind a link that
/// leads to no name.
std::string follow_links(std::string name)
{
    char link[PATH_MAX];
    for (int i = 0; i < LINKS_MAX; ++i) {
        const ssize_t len = readlink(name.c_str(), link, sizeof(link));
        if (len < 0)
            break;
        if (is_of_process(name))
            return {};
        const std::string text(link, static_cast<size_t>(len));
        name = text.starts_with('/') ? text : name.substr(0, folder_len(name)) + text;
    }
    return name;
}

/// Tells whether only the owner of a file, who this process is not, may replace it.
bool is_held_by_owner(const std::string &name, const output_target_t &target)
{
    struct stat folder;
    const uid_t user = geteuid();
    return target.exists && user != 0 && target.owner != user &&
           stat(folder_of(name).c_str(), &folder) == 0 && (folder.st_mode & S_ISVTX) != 0 &&
           folder.st_uid != user;
}

bool names_file(const std::string &name, const struct stat &file)
{
    struct stat named;
    return stat(name.c_str(), &named) == 0 && named.st_dev == file.st_dev &&
           named.st_ino == file.st_ino;
}

std::string temporary_name(const std::string &target)
{
    const size_t start = folder_len(target);
    const size_t most = NAME_MAX - std::strlen(OUTPUT_SUFFIX);
    return target.substr(0, start + std::min(target.size() - start, most)) + OUTPUT_SUFFIX;
}

/// Tells whether a folder that refuses a new file in this way takes none at all.
bool is_refusal(int error)
{
    return error == EACCES || error == EPERM || error == EROFS || error == EEXIST ||
           error == ENAMETOOLONG;
}

/// Creates the temporary file, in place of one that a killed run left. Returns -1 with errno set.
int create_temporary(const std::string &name, const output_target_t &target)
{
    if (unlink(name.c_str()) != 0 && errno != ENOENT && errno != EISDIR)
        return -1;
    const mode_t mode = target.exists ? target.mode & 0700 : NEW_FILE_MODE;
    return open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
}

/// Gives a temporary file what its target has. The owner is kept as far as the process may.
bool take_over_mode(int fd, const output_target_t &target)
{
    if (!target.exists)
        return true;
    mode_t mode = target.mode;
    struct stat now;
    if (fstat(fd, &now) != 0)
        return false;
    const bool same = now.st_uid == target.owner && now.st_gid == target.group;
    if (!same && fchown(fd, target.owner, target.group) != 0)
        mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);
    return fchmod(fd, mode) == 0;
}

/// Notes which file the temporary one is.
bool note_identity(output_file_t &file)
{
    struct stat st;
    if (fstat(file.fd, &st) != 0)
        return false;
    file.device = st.st_dev;
    file.inode = st.st_ino;
    return true;
}

/// Has the target written directly.
bool fall_back(const output_target_t &target, int refusal, output_file_t &file)
{
    file.refusal = refusal;
    if (target.exists)
        return true;
    file.fd = open(file.target.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, NEW_FILE_MODE);
    file.created = file.fd != -1;
    return file.created;
}

} // namespace

bool output_target_open(const char *filename, output_target_t &target, output_file_t &file)
{
    file.fd = open(filename, O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (file.fd == -1 && errno != ENOENT)
        return false;
    file.regular = true;
    target.exists = file.fd != -1;
    struct stat st = {};
    if (target.exists && fstat(file.fd, &st) != 0)
        return false;
    file.regular = !target.exists || S_ISREG(st.st_mode);
    if (!file.regular)
        return true;
    target.mode = st.st_mode & PERMISSIONS;
    target.owner = st.st_uid;
    target.group = st.st_gid;
    file.target = follow_links(filename);
    if (target.exists) {
        target.replaceable = !file.target.empty() && names_file(file.target, st);
        return true;
    }
    // A name without a last component is a folder that does not exist.
    target.replaceable = folder_len(file.target) < file.target.size();
    errno = ENOENT;
    return target.replaceable;
}

bool output_temporary_open(const output_target_t &target, output_file_t &file)
{
    if (is_held_by_owner(file.target, target))
        return fall_back(target, EPERM, file);
    std::string name = temporary_name(file.target);
    const int fd = create_temporary(name, target);
    if (fd == -1 && (!target.exists || is_refusal(errno)))
        return fall_back(target, errno, file);
    if (fd == -1)
        return false;
    if (target.exists)
        close(file.fd); // nothing was written to it
    file.fd = fd;
    if (note_identity(file) && take_over_mode(fd, target)) {
        file.temporary = std::move(name);
        return true;
    }
    const int error = errno;
    unlink(name.c_str());
    errno = error;
    return false;
}
