#include "container_matcher_alias.h"

#include <cstdio>

namespace
{

void dump(const char *label, const json_string_t *string)
{
    if (string != nullptr)
        std::printf("%s: %.*s\n", label, static_cast<int>(string->len), string->str);
}

void dump_side(const char *label, const matcher_alias_side_t &side)
{
    std::printf("%s\n", label);
    dump("| protocol", side.protocol);
    dump("| attr", side.attr);
    dump("| way", side.way);
}

} // namespace

matcher_alias_entry_t &matcher_alias_entry(matcher_alias_container_t *container)
{
    return container->entries[container->nr_entry];
}

int matcher_alias_next(matcher_alias_container_t *container)
{
    if (container->nr_entry == FENCE_MATCHER_ALIAS_NUMBER) {
        std::fputs(REFUSED_MATCHER_ALIAS_FENCE, stderr);
        return -1;
    }
    ++container->nr_entry;
    return 0;
}

void matcher_alias_dump(const matcher_alias_container_t &container)
{
    for (uint32_t i = 0; i < container.nr_entry; ++i) {
        dump_side("alias", container.entries[i].alias);
        dump_side("reference", container.entries[i].reference);
    }
}
