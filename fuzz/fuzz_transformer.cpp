// Value texts: the first byte chooses the transformer and the inequation, the rest is the text.
// What is read is registered with the number matcher of that width.
#include <cstdint>
#include <vector>

#include "number_build.h"
#include "transformer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const struct {
        transformer_fct transformer;
        matcher_type_t type;
    } rows[] = {
        {transformer_8, MATCHER_TYPE_NUMBER_8},
        {transformer_range16, MATCHER_TYPE_NUMBER_16},
        {transformer_ipv4, MATCHER_TYPE_IP_4},
        {transformer_ipv6, MATCHER_TYPE_IP_6},
    };
    if (size == 0)
        return 0;
    const auto &row = rows[data[0] & 3];
    number_info info;
    info.item_id = 1;
    if (row.transformer(csa_str(reinterpret_cast<const char *>(data + 1), size - 1), data[0] >> 2,
                        info.min, info.max) != 0)
        return 0;
    number_build build;
    if (number_init(build, row.type) == 0 && number_register(build, info) == 0 &&
        number_finalize(build) == 0) {
        std::vector<uint8_t> blob(number_get_size(build));
        if (number_serialize(build, blob) != blob.data() + blob.size())
            __builtin_trap();
    }
    number_clean(build);
    return 0;
}
