// A pdb as input: verified, and what passes is read through the views that check nothing.
#include <cstdint>
#include <cstdlib>

#include "pdb_verify.h"
#include "view_run.h"

namespace
{

void count(void *context, const view_error_t &fault)
{
    if (fault.fault == VIEW_SOUND || fault.text[0] == '\0')
        std::abort(); // a fault says what it is
    ++*static_cast<size_t *>(context);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    size_t nr_fault = 0;
    const pdb_verdict_t verdict = pdb_verify({data, size}, {count, &nr_fault});
    pdb_view_t view;
    view_error_t error;
    const bool sound = pdb_verify_open({data, size}, view, error);
    if (nr_fault != verdict.nr_unsafe + verdict.nr_unsound || sound != (verdict.nr_unsafe == 0))
        std::abort();
    if (sound)
        (void)run_pdb(view, {reinterpret_cast<const char *>(data), size}); // for the sanitizers
    return 0;
}
