/// Notices memory that runs out, whoever catches it.
///
/// The compiler says the same of memory that runs out and of a value that is too costly
/// (PDATA_ERR_NO_MEMORY), and some of its readers say of the former that a text is wrong. Who must
/// tell these apart watches while it compiles.
#pragma once

#include <cstdint>
#include <new>

/// Watches the allocations of the process from its making on. Those that live at the same time end
/// in the reverse order of their making.
struct pdata_memory_watch_t {
    pdata_memory_watch_t();
    ~pdata_memory_watch_t();
    pdata_memory_watch_t(const pdata_memory_watch_t &) = delete;
    pdata_memory_watch_t &operator=(const pdata_memory_watch_t &) = delete;

    std::new_handler handler_before;
    uint64_t failed_before;
};

/// Throws std::bad_alloc if an allocation has failed since `watch` was made.
void pdata_memory_watch_expect(const pdata_memory_watch_t &watch);
