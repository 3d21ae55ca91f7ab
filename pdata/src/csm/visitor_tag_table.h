/// The tag-table visitor: fills the tag container.
///
/// A document is an object whose member "tag_table" is an object of members, each a tag's name
/// with its number. Everything outside "tag_table" is ignored. Members of
/// deeper objects are tags as well. Oddity O203.
#pragma once

#include "container_tag_table.h"
#include "visitor_keyed.h"

enum tag_table_state_t : uint32_t {
    TAG_TABLE_STATE_ROOT = 0,
    TAG_TABLE_STATE_TAGS = 1, ///< inside "tag_table"
    TAG_TABLE_STATE_UNKNOWN = 2,
};

using visitor_tag_table_t = visitor_keyed_t<tag_table_t>;

/// Prepares `visitor` to fill `tag_table`, which is emptied and must outlive the walk.
void visitor_tag_table_init(visitor_tag_table_t *visitor, tag_table_t *tag_table);

/// Forgets the container.
void visitor_tag_table_cleanup(visitor_tag_table_t *visitor);
