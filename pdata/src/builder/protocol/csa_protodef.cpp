#include "csa_protodef.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace
{

struct protodef_row {
    std::string_view name;
    unsigned int id;
};

constexpr protodef_row protodefs[] = {
#include "csa_protodef_table.inc"
};

constexpr bool name_less(const protodef_row &a, const protodef_row &b)
{
    return a.name < b.name;
}

constexpr bool has_unique_names()
{
    for (size_t i = 1; i < std::size(protodefs); ++i)
        if (!name_less(protodefs[i - 1], protodefs[i]))
            return false;
    return true;
}

static_assert(has_unique_names(), "the built-in names must be sorted and unique");

} // namespace

unsigned int dpi_proto_get_id_by_name(const char *proto_name)
{
    if (proto_name == nullptr)
        return 0;
    const std::string_view name = proto_name;
    const auto found = std::lower_bound(std::begin(protodefs), std::end(protodefs),
                                        protodef_row{name, 0}, name_less);
    return found != std::end(protodefs) && found->name == name ? found->id : 0;
}
