// Any bytes as input: the ranges of their dump cover them once, and say no more than they may.
#include <cstdint>
#include <cstdlib>

#include "covered.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (!dump_cover({data, size}).fault.empty())
        std::abort();
    return 0;
}
