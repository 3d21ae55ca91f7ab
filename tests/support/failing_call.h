/// Calls of the system that fail on demand, for tests of what happens when it refuses.
///
/// failing_call.cpp replaces these operations of the C library in the executable that it is linked
/// into; all of them do what they are asked for while no failure is wanted.
#pragma once

#include <functional>

enum call_t {
    CALL_CLOSE, ///< the descriptor is closed all the same
    CALL_FCNTL,
    CALL_FSTAT,
    CALL_FSYNC,
    CALL_FTRUNCATE,
    CALL_GETRANDOM,
    CALL_MEMFD, ///< a file in memory
    CALL_OPEN,
    CALL_PIPE,
    CALL_POLL,
    CALL_READ,
    CALL_STAT, ///< by name
    CALL_STATFS,
    CALL_UNLINK,
    CALL_WAIT,
    CALL_WRITE,
};

/// Changes one call while it lives. There is one at a time.
class failing_call
{
public:
    /// Makes the `nth` call of a kind from now on (1: the next one) fail with `error`; 0 makes it
    /// return 0.
    failing_call(call_t call, int error, int nth = 1);

    /// Runs `before` in front of the `nth` call, which then does what it is asked for.
    failing_call(call_t call, std::function<void()> before, int nth = 1);

    /// A test whose call never came has failed.
    ~failing_call();

    failing_call(const failing_call &) = delete;
    failing_call &operator=(const failing_call &) = delete;
};
