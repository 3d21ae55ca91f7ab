// Expressions: the first byte is the permutation limit, the rest the expression.
#include <cstdint>
#include <string_view>

#include "rexpand.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    rexpand_permutation_list list;
    uint32_t nb = 0;
    const std::string_view expression(reinterpret_cast<const char *>(data + 1), size - 1);
    (void)rexpand_process(expression, data[0], &nb, &list); // a refusal is an answer
    rexpand_permutation_list_destroy(&list);
    return 0;
}
