#include "pdata_memory_watch.h"

#include <atomic>

namespace
{

std::atomic<uint64_t> nr_failed_allocation = 0;

/// What operator new calls when there is no memory. There is nothing to give back.
void note_failure()
{
    ++nr_failed_allocation;
    throw std::bad_alloc();
}

} // namespace

pdata_memory_watch_t::pdata_memory_watch_t()
    : handler_before(std::set_new_handler(note_failure)), failed_before(nr_failed_allocation)
{
}

pdata_memory_watch_t::~pdata_memory_watch_t()
{
    std::set_new_handler(handler_before);
}

void pdata_memory_watch_expect(const pdata_memory_watch_t &watch)
{
    if (nr_failed_allocation != watch.failed_before)
        throw std::bad_alloc();
}
