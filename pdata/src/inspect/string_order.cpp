#include "string_order.h"

#include "view_references.h"

bool strings_follow_records(const view_group_t &group)
{
    size_t next = 0; // the first string that was not referred to
    bool follow = true;
    view_level_references(FORMAT_LEVEL_PROTOS, group.protocols, FORMAT_PROTOGROUP_STRING,
                          [&](uint32_t offset) {
                              std::string_view text;
                              follow = follow && offset <= next;
                              if (offset == next && view_pool_get(group.pool, offset, text))
                                  next += 2 + text.size() + text.size() % 2;
                          });
    return follow && group.pool.area.size - next < 4; // padding
}
