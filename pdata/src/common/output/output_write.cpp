#include "output_write.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

namespace
{

/// Holds back the signals that a failing write raises beside its error, in this thread.
class write_signals_t
{
public:
    write_signals_t()
    {
        sigemptyset(&raised);
        sigaddset(&raised, SIGPIPE);
        sigaddset(&raised, SIGXFSZ);
        pthread_sigmask(SIG_BLOCK, &raised, &before);
    }
    ~write_signals_t()
    {
        const int kept = errno;
        const timespec at_once = {};
        while (sigtimedwait(&raised, nullptr, &at_once) > 0) {
        }
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        errno = kept;
    }
    write_signals_t(const write_signals_t &) = delete;
    write_signals_t &operator=(const write_signals_t &) = delete;

private:
    sigset_t raised;
    sigset_t before;
};

} // namespace

bool output_write_all(int fd, std::span<const uint8_t> bytes)
{
    const write_signals_t no_signal;
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        if (written == 0) {
            errno = ENOSPC; // a device that takes nothing, and says so no other way
            return false;
        }
        bytes = bytes.subspan(static_cast<size_t>(written));
    }
    return true;
}

bool output_sync_file(int fd)
{
    int result;
    do
        result = fsync(fd);
    while (result != 0 && errno == EINTR);
    return result == 0 || errno == EINVAL || errno == ENOSYS;
}
