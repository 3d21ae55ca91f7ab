// Values: the first byte picks an attribute, the second the minimum data, the rest is the text.
// Samples of a short text must find what was decided: tables are large enough for those.
#include <cstdint>
#include <iterator>
#include <string_view>

#include "prove_value.h"

namespace
{

struct picked_t {
    const char *protocol;
    const char *attribute;
};

constexpr picked_t PICKED[] = {{"http", "uri_decoded"}, {"http", "server"}, {"tcp", "stream"},
                               {"tcp", "port"},         {"icmp", "code"},   {"ip", "address"},
                               {"ip6", "address"}};

constexpr size_t SHORT = 24;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    const picked_t &picked = PICKED[data[0] % std::size(PICKED)];
    const std::string_view text(reinterpret_cast<const char *>(data + 2), size - 2);
    prove_value_t value{picked.protocol, picked.attribute, text};
    value.min_size = data[1] % 16;
    value.offset = data[0] >= 128 ? data[1] : 0;
    const prove_verdict_t verdict = prove_value(value);
    if (verdict.is_contradicted && text.size() <= SHORT)
        __builtin_trap();
    return 0;
}
