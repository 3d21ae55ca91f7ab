/// The descriptions of a pdb, read whole: texts in place of references.
///
/// Reading goes through the checked views, so that a file need not be verified first. Texts point
/// into the file, which must outlive the model.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "pdb_view.h"
#include "view_description.h"

/// What a rule without a virtual id has in its place.
constexpr uint32_t MODEL_VID_NONE = 0xFFFFFFFF;

using text_pair_t = std::pair<std::string_view, std::string_view>;

/// A value of an attribute.
struct model_value_t {
    std::string_view text;
    uint32_t offset = 0; ///< place of a stream's pattern; 0 for none
};

/// An attribute, as it is matched: behind aliases.
struct model_attribute_t {
    std::string_view name;
    uint32_t type = 0; ///< tlv_proto_attr_type_t
    uint32_t way = 0;  ///< csa_attr_way_t
    std::vector<model_value_t> values;
};

struct model_sub_rule_t {
    std::string_view protocol; ///< whose attributes are matched
    std::string_view bottom;   ///< whose attributes were written
    uint32_t cts_mindata = 0;  ///< bytes
    uint32_t stc_mindata = 0;  ///< bytes
    std::vector<model_attribute_t> attributes;
};

struct model_rule_t {
    bool order_significant = false;
    bool fastpass = false;
    bool preempt = false;
    uint32_t priority = 0; ///< range in bits 31 to 24, order in bits 23 to 0
    uint32_t scope = 0;
    uint32_t vid = MODEL_VID_NONE;
    uint32_t reserved = 0;
    uint32_t meta_form = 0;
    uint32_t nameless_tags = 0; ///< rule tags that no main string names
    std::vector<std::string_view> path;
    std::vector<std::string_view> tags;
    std::vector<model_sub_rule_t> sub_rules;
};

struct model_protocol_t {
    uint32_t id = 0;
    std::string_view name;
    std::string_view default_port;
    uint32_t max_trans = 0;
    uint32_t cacheable = 0;
    uint32_t http_reclassify = 0;
    uint32_t version[3] = {}; ///< major, minor, revision
    uint32_t implicit_bottom_layer = 0;
    std::vector<text_pair_t> tags; ///< category and value
    std::vector<text_pair_t> descriptions;
    std::vector<std::string_view> compat;
    std::vector<std::string_view> supported_versions;
    std::vector<std::string_view> altnames;
    std::vector<model_rule_t> rules;
};

/// One side of an alias.
struct model_alias_side_t {
    std::string_view protocol;
    std::string_view attribute;
    uint32_t way = 0; ///< csa_attr_way_t
};

struct model_alias_t {
    model_alias_side_t alias;
    model_alias_side_t reference;
};

/// Everything that the descriptions of a pdb say.
struct description_model_t {
    std::vector<model_protocol_t> protocols; ///< in the order in which they are stored
    std::vector<model_alias_t> aliases;
    std::vector<std::pair<std::string_view, uint32_t>> tag_table;
    uint32_t groups = 0;       ///< protocol groups
    bool main_strings = false; ///< without them aliases, tag table and rule tags have no names
    bool nameless_aliases = false;
    bool nameless_tags = false;
};

/// What the references of a protocol lead to.
struct model_strings_t {
    view_pool_t group;
    view_pool_t main;
    bool has_main = false; ///< without main strings rule tags have no names
};

/// Reads a protocol but for its rules, or rule `index` of one, below their count, in place of what
/// the model held. Return false with `error` for what is damaged. Throw std::bad_alloc.
[[nodiscard]] bool model_protocol_read(const model_strings_t &strings, const view_protocol_t &view,
                                       model_protocol_t &protocol, view_error_t &error);
[[nodiscard]] bool model_rule_read(const model_strings_t &strings, const view_protocol_t &view,
                                   uint32_t index, model_rule_t &rule, view_error_t &error);

/// Reads the descriptions of an open pdb. Returns false with `error` for descriptions that are
/// damaged, and with VIEW_MEMORY when memory runs out.
[[nodiscard]] bool description_model_read(const pdb_view_t &pdb, description_model_t &model,
                                          view_error_t &error);

/// The same for aliases and tag table alone, which description_model_read includes. Throws
/// std::bad_alloc.
[[nodiscard]] bool description_model_parts(const pdb_view_t &pdb, description_model_t &model,
                                           view_error_t &error);
