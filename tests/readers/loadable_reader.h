/// Reads a whole loadable pdb into plain structures, and checks that all its parts fit together.
///
/// What the compile made (version, matchers, rules) is read down to the last record and every
/// offset in it is resolved; what it copied (descriptions, aliases, main strings) is handed out as
/// it stands. The reader looks at bytes alone: no length or offset is trusted, a damaged pdb gives
/// an error text that names the place, never a wild read. A reader of single sections on demand
/// was turned down: the questions that tools ask ("which rule owns this item") need all of them.
///
/// All views and texts point into the bytes of the pdb, which must outlive them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "blob_reader.h"
#include "csa_types.h"
#include "file_format.h"
#include "number_reader.h"
#include "pattern_reader.h"

/// Cells of a rule in the protocol map.
constexpr uint32_t LOADABLE_MAX_PATH = 4;
constexpr uint32_t LOADABLE_MAX_SUB_RULES = 2;

/// A string table.
struct loadable_strings_t {
    blob_span_t blob;
    std::vector<uint32_t> starts; ///< offsets at which a text begins, ascending
};

/// One second-level entry of a stream matcher, its flag taken apart.
struct loadable_entry_t {
    uint32_t pub_id = 0;
    uint32_t kind = 0;        ///< matcher_map_kind_t
    uint32_t permutation = 0; ///< from 1; 0 for an entry that is no piece of several
    uint32_t position = 0;    ///< of the piece in its permutation, from 1; the same
    uint32_t nb_pieces = 0;   ///< of that permutation; the same
    std::string_view value;   ///< the complete value, where it is stored
    bool has_value = false;
};

/// One matcher.
struct loadable_matcher_t {
    std::string_view protocol;
    std::string_view attribute;
    uint32_t way = ATTR_WAY_UNKNOWN; ///< ATTR_WAY_CTS or ATTR_WAY_STC
    uint32_t type = file_format::MATCHER_TYPE_UNKNOWN;
    uint32_t min_data = 0;
    number_reader number;                       ///< number family
    pattern_reader_t pattern;                   ///< stream family
    std::vector<loadable_entry_t> second_level; ///< stream family, by private index
};

/// What the rule engine knows of an item; all 0 for an item that no rule owns.
struct loadable_slot_t {
    uint32_t rule_id = 0; ///< sequence number, from 1
    uint32_t flags = 0;   ///< the top four bits of the stored id
    uint32_t priority = 0;
    uint32_t scope = 0;
    uint32_t bitset_full = 0; ///< one bit per item of the rule
    uint32_t bitset_pos = 0;  ///< bit of this item
    bool referer = false;     ///< bit 31: one of several items of the rule is a referer
};

/// One rule: its row of the protocol map and its tags.
struct loadable_rule_t {
    std::vector<std::string_view> path;         ///< the protocol that is classified comes last
    std::vector<std::string_view> bottoms;      ///< of sub-rule 1, if there is one, then 0
    std::vector<std::string_view> real_bottoms; ///< the same
    std::optional<uint32_t> vid;
    std::vector<uint32_t> tags;
};

/// One row of the tag table.
struct loadable_tag_t {
    uint32_t name = 0; ///< offset into the main strings
    uint32_t value = 0;
};

/// One side of an alias, and an alias.
struct loadable_alias_side_t {
    std::string_view protocol;
    std::string_view attribute;
    uint32_t way = ATTR_WAY_UNKNOWN; ///< csa_attr_way_t
};

struct loadable_alias_t {
    loadable_alias_side_t alias;
    loadable_alias_side_t reference;
};

/// A loadable pdb.
struct loadable_pdb_t {
    std::optional<uint32_t> load_state;
    blob_span_t configuration; ///< whole records; empty where there is none
    blob_span_t descriptions;
    blob_span_t tags;
    blob_span_t aliases;
    blob_span_t main_strings;
    bool empty = false; ///< no descriptions: neither version, matchers nor rules
    uint32_t version_major = 0;
    uint32_t version_minor = 0;
    std::string_view version_text;
    std::vector<loadable_tag_t> tag_table;
    std::vector<loadable_alias_t> alias_table;
    std::vector<loadable_matcher_t> matchers; ///< in the order of the file
    std::vector<loadable_rule_t> rules;       ///< by rule id - 1
    std::vector<loadable_slot_t> slots;       ///< by item id
};

/// Reads `bytes` into `pdb`. Returns false, with an `error` that names the place, for a pdb whose
/// records are not those of a loadable pdb in their order, or that holds an offset or a length
/// that leads nowhere.
[[nodiscard]] bool loadable_open(blob_span_t bytes, loadable_pdb_t &pdb, std::string &error);

/// What the compiled pdb may hold. Descriptions that the compiler wrote have two sub-rules per
/// rule at most; the items of further ones have no place in the rule engine.
enum loadable_origin_t {
    LOADABLE_OWN,
    LOADABLE_FOREIGN, ///< an item may belong to no rule, a rule may have no item
};

/// Checks that the parts of an open pdb agree: every item of every matcher belongs to exactly one
/// rule, every item of a rule stands in a matcher, the bits of a rule are used once each, every
/// private id has an entry and every entry but a catch-all is found by an engine, the pieces of
/// a permutation are complete, every tag of a rule stands in the tag table.
[[nodiscard]] bool loadable_check(const loadable_pdb_t &pdb, loadable_origin_t origin,
                                  std::string &error);

/// Opens and checks in one go. Returns an empty text, or the error.
std::string loadable_verify(blob_span_t bytes, loadable_origin_t origin = LOADABLE_OWN);

/// Returns the matcher of that name and direction, or null.
const loadable_matcher_t *loadable_find_matcher(const loadable_pdb_t &pdb,
                                                std::string_view protocol,
                                                std::string_view attribute, uint32_t way);

/// Gives the ids, public and private, that the engines of a matcher can report, each once for
/// every record that holds it. Fails when records overlap or run past their table.
[[nodiscard]] bool loadable_matcher_ids(const loadable_matcher_t &matcher,
                                        std::vector<uint32_t> &ids, std::string &error);

/// Opens a string table: entries back to back, then at most 3 bytes of padding, all padding zero.
[[nodiscard]] bool loadable_strings_open(blob_span_t blob, loadable_strings_t &strings,
                                         std::string &error);

/// Gives the text that begins at `offset`; false when none does.
[[nodiscard]] bool loadable_strings_get(const loadable_strings_t &strings, uint32_t offset,
                                        std::string_view &text);
